#include "Callbacks.h"
#include "Module.h"

#include "math/CircleEstimator.h"
#include "math/CylinderEstimator.h"
#include "math/EllipseEstimator.h"
#include "math/LMedS.h"
#include "math/LineEstimator.h"
#include "math/MeanEstimator.h"
#include "math/PlanEstimator.h"
#include "math/Ransac.h"
#include "math/SphereEstimator.h"

namespace measuremath::python {

namespace {

// A model whose fit and residuals are methods of a Python class.
class PythonEstimator : public Estimator {
public:
    PythonEstimator(unsigned int nbParams, unsigned int nbMinData) { init(nbParams, nbMinData); }

    void setDataColl(std::vector<Vector> const& dataColl) override
    {
        _calls.requireNone();
        Estimator::setDataColl(dataColl);
        _data = arrayOfRows(dataColl);
    }

protected:
    bool computeEstimation(std::vector<Vector> const& dataColl) override
    {
        char const* const name = "computeEstimation";
        return _calls.during([&] {
            py::object const params = method(name)(arrayOfRows(dataColl));
            if (params.is_none()) return false;
            assign(params, *_estimParams, name);
            return true;
        });
    }

    void computeResiduals(Vector const& params, Vector& residuals) const override
    {
        char const* const name = "computeResiduals";
        _calls.during([&] { assign(method(name)(arrayOf(params), _data), residuals, name); });
    }

private:
    static py::array arrayOfRows(std::vector<Vector> const& points)
    {
        return asArray(py::cast(rowsOf(points, 0)));
    }

    py::function method(char const* name) const
    {
        return overrideOf(static_cast<Estimator const*>(this), name);
    }

    py::array _data;  // the collection
    mutable Calls _calls;
};

void bindEstimator(py::module_& m)
{
    py::class_<Estimator, PythonEstimator> c(
        m, "Estimator",
        "A model with parameters that is fitted to data, n x d.\n\n"
        "A model of your own derives from it, calls Estimator.__init__(self, nbParams, nbMinData), "
        "and\n"
        "defines computeEstimation(self, data), which returns the parameters, or None where the "
        "data\n"
        "are degenerate, and computeResiduals(self, params, data), one residual a datum.");
    c.def(py::init([](unsigned int nbParams, unsigned int nbMinData) {
              return new PythonEstimator(nbParams, nbMinData);
          }),
          py::arg("nbParams"), py::arg("nbMinData"));
    c.def("getNbMinData", &Estimator::getNbMinData, "Size of a minimal sample.");
    c.def("getNbParams", &Estimator::getNbParams, "Number of parameters.");
    c.def("getNbData", &Estimator::getNbData, "Number of data in the collection.");
    c.def("setDataColl", &Estimator::setDataColl, py::arg("dataColl"), "Copies the data, n x d.");
    c.def("estim", py::overload_cast<>(&Estimator::estim),
          "Fits the model to the data; false when they are degenerate.");
    c.def("getEstimParams", &Estimator::getEstimParams, "Parameters of the last fit.");
    c.def("getEstimCov", &Estimator::getEstimCov,
          "Covariance of the parameters, where the model has one; otherwise the identity.");
    c.def(
        "getResiduals",
        [](Estimator const& e, Vector const& params) {
            Vector residuals(e.getNbData());
            e.getResiduals(params, residuals);
            return residuals;
        },
        py::arg("params"), "One residual a datum, for the model params.");
}

void bindModels(py::module_& m)
{
    py::class_<MeanEstimator, Estimator>(m, "MeanEstimator",
                                         "Mean of points; the residual is the distance to it.")
        .def(py::init<>())
        .def("setDataSize", &MeanEstimator::setDataSize, py::arg("d"), "Dimension of the points.");
    py::class_<LineEstimator, Estimator>(
        m, "LineEstimator",
        "Line in the plane (theta, rho): cos(theta) y - sin(theta) x = rho, orthogonal regression.")
        .def(py::init<>());
    py::class_<PlanEstimator, Estimator>(
        m, "PlanEstimator",
        "Plane (a, b, c, d): a x + b y + c z = d; the residual is the signed distance.")
        .def(py::init<>())
        .def("getNormal", &PlanEstimator::getNormal, "(a, b, c), not normalised.")
        .def("getDistToOrigin", &PlanEstimator::getDistToOrigin, "d, not normalised.")
        .def("getRMS3D", &PlanEstimator::getRMS3D, "RMS distance of the last fit.");
    py::class_<EllipseEstimator, Estimator>(
        m, "EllipseEstimator",
        "Conic x^2 + p0 y^2 + p1 x y + p2 x + p3 y + p4 = 0; the residual is its value, not a "
        "distance.\n"
        "ellipticQuadToCartParams gives centre, angle and axes.")
        .def(py::init<>());
}

template <class Round>
void bindRound(py::module_& m, char const* name, char const* text)
{
    py::class_<Round, Estimator>(m, name, text)
        .def(py::init<>())
        .def("getCenter", &Round::getCenter, "Centre.")
        .def("getRadius", &Round::getRadius, "Radius.");
}

void bindRoundModels(py::module_& m)
{
    bindRound<CircleEstimator>(m, "CircleEstimator", "Circle (cx, cy, r) by orthogonal distances.");
    bindRound<SphereEstimator>(m, "SphereEstimator",
                               "Sphere (cx, cy, cz, r) by orthogonal distances.");
    py::class_<CylinderEstimator, Estimator>(
        m, "CylinderEstimator",
        "Cylinder (px, py, pz, dx, dy, dz, r): point and unit direction of the axis, radius.")
        .def(py::init<>())
        .def("getAxisPoint", &CylinderEstimator::getAxisPoint,
             "Point of the axis nearest to the mean.")
        .def("getAxisDirection", &CylinderEstimator::getAxisDirection,
             "Unit direction of the axis.")
        .def("getRadius", &CylinderEstimator::getRadius, "Radius.");
}

// A controller with its flags in the open.
template <class Controller>
class Flagging : public Keeping<Controller> {
public:
    py::array_t<bool> flags() const
    {
        this->getNbOutliers();  // throws before a run
        std::vector<bool> const& outliers = *this->_outlierFlags;
        py::array_t<bool> result(static_cast<py::ssize_t>(outliers.size()));
        std::copy(outliers.begin(), outliers.end(), result.mutable_data());
        return result;
    }
};

Keeper& keeperOf(RobustCtrl& controller)
{
    auto& keeper = dynamic_cast<Keeper&>(controller);
    keeper.calls.requireNone();
    return keeper;
}

void setEstimator(RobustCtrl& self, py::object const& estimator)
{
    Keeper& keeper = keeperOf(self);
    self.setEstimator(pointerTo<Estimator>(estimator));
    keeper.kept = estimator;
}

void bindRobustCtrl(py::module_& m)
{
    py::class_<RobustCtrl> c(m, "RobustCtrl", "Fits an Estimator to data that contain outliers.");
    c.def("setEstimator", &setEstimator, py::arg("estimator"),
          "The model to fit, with its data set.");
    c.def(
        "setSuccessRatio",
        [](RobustCtrl& self, double ratio) {
            keeperOf(self);
            self.setSuccessRatio(ratio);
        },
        py::arg("ratio"), "Wanted probability that a sample is free of outliers, 0.99 by default.");
    c.def("getSuccessRatio", &RobustCtrl::getSuccessRatio, "See setSuccessRatio.");
    c.def(
        "setOutliersRatio",
        [](RobustCtrl& self, double ratio) {
            keeperOf(self);
            self.setOutliersRatio(ratio);
        },
        py::arg("ratio"), "Assumed share of outliers.");
    c.def("getOutliersRatio", &RobustCtrl::getOutliersRatio, "See setOutliersRatio.");
    c.def(
        "robustEstimation",
        [](RobustCtrl& self) {
            return keeperOf(self).calls.during([&] { return self.robustEstimation(); });
        },
        "Flags the outliers and refits to the inliers; false when no model was found.");
    c.def("getEstimParams", &RobustCtrl::getEstimParams, "Parameters of the fit to the inliers.");
    c.def("getInlierRms", &RobustCtrl::getInlierRms, "RMS of the inliers' residuals.");
    c.def("getNbOutliers", &RobustCtrl::getNbOutliers, "Number of outliers.");
    c.def("isOutlier", &RobustCtrl::isOutlier, py::arg("i"), "Whether datum i is an outlier.");
    c.def(
        "getInlierColl",
        [](RobustCtrl const& self) {
            std::vector<Vector> inliers;
            self.getInlierColl(inliers);
            return rowsOf(inliers, 0);
        },
        "The data that are no outliers, k x d.");
}

template <class Controller>
py::class_<Controller, RobustCtrl, Flagging<Controller>> bindController(py::module_& m,
                                                                        char const* name,
                                                                        char const* text)
{
    py::class_<Controller, RobustCtrl, Flagging<Controller>> c(m, name, text);
    c.def(py::init_alias<>());
    c.def(
        "getOutlierFlags",
        [](Controller const& self) {
            return dynamic_cast<Flagging<Controller> const&>(self).flags();
        },
        "An array of bool, true for outliers.");
    return c;
}

}  // namespace

void bindEstimators(py::module_& m)
{
    bindEstimator(m);
    bindModels(m);
    bindRoundModels(m);
    bindRobustCtrl(m);
    bindController<Ransac>(m, "Ransac", "Random sample consensus; the threshold is on |residual|.")
        .def(
            "setOutliersThreshold",
            [](Ransac& self, double t) {
                keeperOf(self);
                self.setOutliersThreshold(t);
            },
            py::arg("t"), "An inlier has |residual| < t.")
        .def("getOutliersThreshold", &Ransac::getOutliersThreshold, "See setOutliersThreshold.")
        .def(
            "setSupportThreshold",
            [](Ransac& self, unsigned int nbInliers) {
                keeperOf(self);
                self.setSupportThreshold(nbInliers);
            },
            py::arg("nbInliers"), "Number of inliers at which the search stops; 0: all data.")
        .def("getSupportThreshold", &Ransac::getSupportThreshold, "See setSupportThreshold.");
    bindController<LMedS>(m, "LMedS",
                          "Least median of squares; finds its threshold, on residual^2.")
        .def("getOutliersThreshold", &LMedS::getOutliersThreshold,
             "An inlier has residual^2 < this.");
}

}  // namespace measuremath::python
