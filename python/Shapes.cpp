#include "Module.h"

#include "math/Conic.h"
#include "math/ConvexPolyedron.h"
#include "math/CrossRatio.h"
#include "math/Geometry.h"
#include "math/LineUtils.h"

namespace measuremath::python {

namespace {

void bindConic(py::module_& m)
{
    m.def(
        "ellipticQuadToCartParams",
        [](Vector const& quadParams) {
            Vector cartParams;
            ellipticQuadToCartParams(quadParams, cartParams);
            return cartParams;
        },
        py::arg("quadParams"),
        "(x0, y0, angle, a, b) of the ellipse x^2 + A y^2 + B x y + D x + E y + F = 0; B not 0.");
    m.def(
        "ellipticCartToQuadParams",
        [](Vector const& cartParams) {
            Vector quadParams;
            ellipticCartToQuadParams(cartParams, quadParams);
            return quadParams;
        },
        py::arg("cartParams"), "(A, B, D, E, F) of an ellipse (x0, y0, angle, a, b).");
    m.def(
        "ellipseDecomposition",
        [](Vector const& quadParams) {
            Matrix translation, rotation, scaling;
            ellipseDecomposition(quadParams, translation, rotation, scaling);
            return py::make_tuple(translation, rotation, scaling);
        },
        py::arg("quadParams"),
        "(translation, rotation, scaling), 3 x 3 each, whose product maps the unit circle onto the "
        "ellipse.");
}

py::object intersection(Vector const& planPoint, Vector const& planNormal, Vector const& linePoint,
                        Vector const& lineDir)
{
    Vector point(3);
    bool const meet = planLineIntersection(planPoint, planNormal, linePoint, lineDir, point);
    return meet ? py::cast(point) : py::none();
}

void bindLines(py::module_& m)
{
    m.def("pointToLine3DDist", &pointToLine3DDist, py::arg("linePoint"), py::arg("lineDir"),
          py::arg("point"), "Distance from a point to a line in space.");
    m.def(
        "computePolarLine",
        [](Vector const& p1, Vector const& p2) {
            double theta = 0.0, rho = 0.0;
            computePolarLine(p1, p2, theta, rho);
            return py::make_tuple(theta, rho);
        },
        py::arg("p1"), py::arg("p2"), "(theta, rho) of the line through two points of the plane.");
    m.def("pointToPolarLineDist", &pointToPolarLineDist, py::arg("theta"), py::arg("rho"),
          py::arg("point"), "Distance from a point to the line (theta, rho).");
    m.def("planLineIntersection", &intersection, py::arg("planPoint"), py::arg("planNormal"),
          py::arg("linePoint"), py::arg("lineDir"),
          "The point where a plane and a line meet; None when they are parallel.");
    m.def(
        "lineIntersection",
        [](Vector const& line1, Vector const& line2) {
            Vector point(2);
            lineIntersection(line1, line2, point);
            return point;
        },
        py::arg("line1"), py::arg("line2"), "The point of two lines (a, b, c): a x + b y + c = 0.");
    m.def(
        "ptDir2DToCart2D",
        [](Vector const& point, Vector const& dir) {
            Vector line(3);
            ptDir2DToCart2D(point, dir, line);
            return line;
        },
        py::arg("point"), py::arg("dir"), "(a, b, c) of the line through point along dir.");
    m.def(
        "cart3DToPtDir3D",
        [](Vector const& planes) {
            Vector point(3), dir(3);
            cart3DToPtDir3D(planes, point, dir);
            return py::make_tuple(point, dir);
        },
        py::arg("planes"), "(point, dir) of the line of two planes, 8 coefficients.");
    m.def(
        "ptDir3DToCart3D",
        [](Vector const& point, Vector const& dir) {
            Vector planes(8);
            ptDir3DToCart3D(point, dir, planes);
            return planes;
        },
        py::arg("point"), py::arg("dir"), "Two planes, 8 coefficients, that meet in a line.");
    m.def(
        "pointFromCrossRatio",
        [](double k, Vector const& a, Vector const& b, Vector const& c) {
            Vector d(a.getSize());
            pointFromCrossRatio(k, a, b, c, d);
            return d;
        },
        py::arg("k"), py::arg("a"), py::arg("b"), py::arg("c"),
        "The point d for which the cross ratio of a, b, c, d is k.");
    m.def("crossRatioFromPoint", &crossRatioFromPoint, py::arg("a"), py::arg("b"), py::arg("c"),
          py::arg("d"), "The cross ratio of four points of a line.");
}

void bindPolyhedron(py::module_& m)
{
    py::class_<ConvexPolyedron> c(
        m, "ConvexPolyedron",
        "Convex polyhedron bounded by planes a x + b y + c z + d <= epsilon.");
    c.def(py::init<>());
    c.def("setEpsilon", &ConvexPolyedron::setEpsilon, py::arg("epsilon"), "2^-26 unless set.");
    c.def("getEpsilon", &ConvexPolyedron::getEpsilon, "See setEpsilon.");
    c.def("addPlane", py::overload_cast<Vector const&>(&ConvexPolyedron::addPlane),
          py::arg("plane"), "Adds the plane (a, b, c, d), the normal pointing outward.");
    c.def(
        "addPlane",
        py::overload_cast<Vector const&, Vector const&, Vector const&, double>(
            &ConvexPolyedron::addPlane),
        py::arg("p1"), py::arg("p2"), py::arg("p3"), py::arg("offset"),
        "Adds the plane through three points, anticlockwise from outside, moved inward by offset.");
    c.def("getNbPlanes", &ConvexPolyedron::getNbPlanes, "Number of planes.");
    c.def("getPlane", &ConvexPolyedron::getPlane<long long>, py::arg("i"), "Plane i.");
    c.def(
        "contain", [](ConvexPolyedron const& p, Vector const& point) { return p.contain(point); },
        py::arg("p"), "Whether a point is inside.");
    c.def("contain",
          py::overload_cast<double const&, double const&, double const&>(&ConvexPolyedron::contain,
                                                                         py::const_),
          py::arg("x"), py::arg("y"), py::arg("z"), "Whether the point (x, y, z) is inside.");
    c.def(
        "getTops", [](ConvexPolyedron const& p) { return rowsOf(p.getTops(), 3); },
        "The vertices, k x 3.");
    c.def("getNbTops", &ConvexPolyedron::getNbTops, "Number of vertices.");
    c.def("getTop", &ConvexPolyedron::getTop<long long>, py::arg("i"), "Vertex i.");
    c.def(
        "getTopsOnPlane",
        [](ConvexPolyedron const& p, long long i) { return rowsOf(p.getTopsOnPlane(i), 3); },
        py::arg("i"), "The vertices of face i, k x 3, clockwise from outside.");
    c.def(
        "computeBoundingBox",
        [](ConvexPolyedron const& p) {
            Vector min(3), max(3);
            p.computeBoundingBox(min, max);
            return py::make_tuple(min, max);
        },
        "(min, max) of the vertices.");
    c.def("computeVolume", &ConvexPolyedron::computeVolume, py::arg("step"),
          "Volume from a grid of this step.");
    c.def(
        "computeVolumeAndMaxErr",
        [](ConvexPolyedron const& p, double step) {
            double maxErr = 0.0;
            double const volume = p.computeVolumeAndMaxErr(maxErr, step);
            return py::make_tuple(volume, maxErr);
        },
        py::arg("step"), "(volume, maxErr) with the bound of the error in percent.");
}

}  // namespace

void bindShapes(py::module_& m)
{
    bindConic(m);
    bindLines(m);
    bindPolyhedron(m);
}

}  // namespace measuremath::python
