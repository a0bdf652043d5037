#include "Module.h"

#include "math/BSpline.h"
#include "pix/ListPoint.h"

#include <sstream>

namespace measuremath::python {

namespace {

using MatchedPoints = py::array_t<MatchedPointInfo, py::array::c_style>;

MatchedPoints arrayOf(std::vector<MatchedPointInfo> const& points)
{
    return MatchedPoints(static_cast<py::ssize_t>(points.size()), points.data());
}

// A fit of the points where they are.
template <double (BSpline::*fit)(std::vector<MatchedPointInfo>&, int)>
double fitInPlace(BSpline& self, MatchedPoints& points, int nbIterMax)
{
    if (points.ndim() != 1) throw py::value_error("matchedPoints must have one dimension");
    MatchedPointInfo* const first = points.mutable_data();
    std::vector<MatchedPointInfo> matched(first, first + points.size());
    double const rms = (self.*fit)(matched, nbIterMax);
    std::copy(matched.begin(), matched.end(), first);
    return rms;
}

// The points of the curve at each step, checked for a number that ends.
template <void (BSpline::*sample)(Pix::ListPoint<double>&, double) const>
Matrix sampled(BSpline const& self, double step)
{
    constexpr double most = 1e8;  // points: 1.6 GB
    if (!(step > 0.0) || !(self.getMaxS() / step <= most))
        throw py::value_error("step must be positive, and no more than 1e8 of them fit the curve");
    Pix::ListPoint<double> list;
    (self.*sample)(list, step);
    Matrix points(list.size(), 2);
    double* to = points.begin();
    for (Pix::Point<double> const& p : list) {
        *to++ = p.x;
        *to++ = p.y;
    }
    return points;
}

std::string display(BSpline const& self)
{
    std::ostringstream out;
    self.display(out);
    return out.str();
}

using BSplineClass = py::class_<BSpline>;

void bindStructure(BSplineClass& c)
{
    c.def("getOrder", &BSpline::getOrder, "k.");
    c.def("getOpen", &BSpline::getOpen, "False: the curve is closed.");
    c.def("getMaxS", &BSpline::getMaxS, "The largest parameter.");
    c.def("getNbSpans", &BSpline::getNbSpans, "Number of spans.");
    c.def("getNbKnots", &BSpline::getNbKnots, "Number of knots.");
    c.def("getNbBSplines", &BSpline::getNbBSplines, "n, the number of control points.");
    c.def("getBreakPoints", &BSpline::getBreakPoints, "The break points.");
    c.def("getKnotMultiplicities", &BSpline::getKnotMultiplicities, "Their multiplicities.");
    c.def("getKnots", &BSpline::getKnots, "The knots; one period on a closed curve.");
    c.def(
        "getControlPoints", [](BSpline const& b) { return rowsOf(b.getControlPoints(), 2); },
        "The control points, n x 2.");
    c.def("setOrChangeControlPoints", &BSpline::setOrChangeControlPoints, py::arg("points"),
          "Sets the control points, n x 2.");
    c.def("setSmoothParam", &BSpline::setSmoothParam, py::arg("smoothParam"),
          "Weight of the bending in a fit, 0.1 by default.");
    c.def("setDiscreteStep", &BSpline::setDiscreteStep, py::arg("discreteStep"),
          "Largest step between the samples that start the search for the nearest point.");
    c.def("getDiscreteStep", &BSpline::getDiscreteStep, "See setDiscreteStep.");
    c.def("getMetricMatrix", &BSpline::getMetricMatrix, "Band of the integrals of N_i N_j, n x k.");
    c.def("getMetricMatrixBis", &BSpline::getMetricMatrixBis,
          "Band of those of N_i'' N_j'', n x k.");
}

void bindEvaluation(BSplineClass& c)
{
    c.def("computeCurvePoint", &BSpline::computeCurvePoint, py::arg("s"), "The point C(s).");
    c.def("computeTangentToCurve", &BSpline::computeTangentToCurve, py::arg("s"),
          "The unit tangent.");
    c.def("computeNormalToCurve", &BSpline::computeNormalToCurve, py::arg("s"),
          "The unit tangent turned by +90 degrees.");
    c.def("splineToCurve", &sampled<&BSpline::splineToCurve>, py::arg("step"),
          "The points at s = 0, step, 2 step, ..., k x 2, and the end point of an open curve.");
    c.def("fastSplineToCurve", &sampled<&BSpline::fastSplineToCurve>, py::arg("step"),
          "The same points, faster, when no span is shorter than step.");
    c.def("display", &display, "The basis as text, to check it.");
}

void bindFit(BSplineClass& c)
{
    c.def(
        "initMatchedPoints",
        [](BSpline const& b, std::vector<Vector> const& points) {
            return arrayOf(b.initMatchedPoints(points));
        },
        py::arg("points"),
        "Matches points (n x 2) to the nearest ones of the curve: an array of records (point, "
        "weight, "
        "s, distance).");
    c.def(
        "initMatchedPointsByChordLength",
        [](BSpline const& b, std::vector<Vector> const& points) {
            return arrayOf(b.initMatchedPointsByChordLength(points));
        },
        py::arg("points"), "Matches a sequence of points (n x 2) by the length of its chords.");
    c.def(
        "refinement", &fitInPlace<&BSpline::refinement>, py::arg("matchedPoints").noconvert(),
        py::arg("nbIterMax") = 100,
        "Fits the control points and matches the points anew, in place; returns the RMS distance.");
    c.def("robustRefinement", &fitInPlace<&BSpline::robustRefinement>,
          py::arg("matchedPoints").noconvert(), py::arg("nbIterMax") = 100,
          "The same among outliers, whose weights become 0.");
}

}  // namespace

void bindSplines(py::module_& m)
{
    PYBIND11_NUMPY_DTYPE(Pix::Point<double>, x, y);
    PYBIND11_NUMPY_DTYPE(MatchedPointInfo, point, weight, s, distance);

    BSplineClass c(m, "BSpline",
                   "Planar B-spline curve over given break points. init comes first.");
    c.def(py::init<>());
    c.def("init", &BSpline::init, py::arg("order"), py::arg("breakPoints"),
          py::arg("knotMultiplicities"), py::arg("open"), "Sets the structure of the curve.");
    bindStructure(c);
    bindEvaluation(c);
    bindFit(c);
    py::class_<BSplineSimple, BSpline>(m, "BSplineSimple",
                                       "Uniform B-spline curve: break points 0, 1, 2, ...")
        .def(py::init<>())
        .def("init", &BSplineSimple::init, py::arg("order"), py::arg("controlPoints"),
             py::arg("open"), "Sets the curve from its control points, n x 2.");
}

}  // namespace measuremath::python
