#include "Callbacks.h"
#include "Module.h"

#include "math/Kalman.h"

namespace measuremath::python {

namespace {

// The filter over a model whose functions are methods of a Python class.
class PythonKalman : public KalmanIekf {
public:
    using KalmanIekf::KalmanIekf;

    Calls& calls() { return _calls; }

    void stateFct(Vector& params, Vector& ctrl, Vector& predParams) override
    {
        evaluate("stateFct", params, ctrl, predParams);
    }
    void obsFct(Vector& params, Vector& obs, Vector& value) override
    {
        evaluate("obsFct", params, obs, value);
    }

    void stateJacParams(Vector& params, Vector& ctrl, Matrix& F) override
    {
        if (evaluateOwn("stateJacParams", params, ctrl, F)) return;
        Vector f(getDimParams());
        stateFct(params, ctrl, f);
        Jacobien(&Kalman::ptStateFctParams, getDimParams(), params, ctrl, getDimParams(), f, F,
                 0.0);
    }
    void stateJacCtrl(Vector& params, Vector& ctrl, Matrix& G) override
    {
        if (evaluateOwn("stateJacCtrl", params, ctrl, G)) return;
        Vector f(getDimParams());
        stateFct(params, ctrl, f);
        Jacobien(&Kalman::ptStateFctCtrl, getDimCtrl(), ctrl, params, getDimParams(), f, G, 0.0);
    }
    void obsJacParams(Vector& params, Vector& obs, Matrix& H) override
    {
        if (evaluateOwn("obsJacParams", params, obs, H)) return;
        Vector g(getDimObsFct());
        obsFct(params, obs, g);
        Jacobien(&Kalman::ptObsFctParams, getDimParams(), params, obs, getDimObsFct(), g, H, 0.0);
    }
    void obsJacObs(Vector& params, Vector& obs, Matrix& B) override
    {
        if (evaluateOwn("obsJacObs", params, obs, B)) return;
        Vector g(getDimObsFct());
        obsFct(params, obs, g);
        Jacobien(&Kalman::ptObsFctObs, getDimObs(), obs, params, getDimObsFct(), g, B, 0.0);
    }

private:
    void evaluate(char const* name, Vector const& a, Vector const& b, Vector& out)
    {
        py::function const method = overrideOf(static_cast<KalmanIekf const*>(this), name);
        assign(method(arrayOf(a), arrayOf(b)), out, name);
    }

    // False when the Python class has no such method.
    bool evaluateOwn(char const* name, Vector const& a, Vector const& b, Matrix& out)
    {
        py::function const method = py::get_override(static_cast<KalmanIekf const*>(this), name);
        if (method) assign(method(arrayOf(a), arrayOf(b)), out, name);
        return static_cast<bool>(method);
    }

    Calls _calls;
};

// The linear model x' = F x + G u, z = H x: the classical filter.
class KalmanLinear : public KalmanIekf {
public:
    KalmanLinear(Matrix const& F, Matrix const& G, Matrix const& H)
        : KalmanIekf(F.getRow(), H.getRow(), G.getCol(), H.getRow())
    {
        setModel(F, G, H);
    }

    void setModel(Matrix const& F, Matrix const& G, Matrix const& H)
    {
        int const n = getDimParams();
        require(F.getRow() == n && F.getCol() == n && G.getRow() == n &&
                    G.getCol() == getDimCtrl() && H.getRow() == getDimObs() && H.getCol() == n,
                Matrix::badDim);
        _transition = F;
        _input = G;
        _observation = H;
    }

    void stateFct(Vector& params, Vector& ctrl, Vector& predParams) override
    {
        predParams = _transition * params + _input * ctrl;
    }
    void obsFct(Vector& params, Vector& obs, Vector& value) override
    {
        value = _observation * params - obs;
    }
    void stateJacParams(Vector&, Vector&, Matrix& F) override { F = _transition; }
    void stateJacCtrl(Vector&, Vector&, Matrix& G) override { G = _input; }
    void obsJacParams(Vector&, Vector&, Matrix& H) override { H = _observation; }
    void obsJacObs(Vector&, Vector&, Matrix& B) override
    {
        B = -Matrix(getDimObs(), getDimObs(), Matrix::IDENTITY);
    }

private:
    Matrix _transition, _input, _observation;
};

// The filter, for a change that is none of its functions' business.
KalmanIekf& idle(KalmanIekf& self)
{
    if (auto* const filter = dynamic_cast<PythonKalman*>(&self)) filter->calls().requireNone();
    return self;
}

template <void (KalmanIekf::*step)()>
void run(KalmanIekf& self)
{
    auto* const filter = dynamic_cast<PythonKalman*>(&idle(self));
    if (filter)
        filter->calls().during([&] { (self.*step)(); });
    else
        (self.*step)();
}

using KalmanClass = py::class_<KalmanIekf, PythonKalman>;

void bindSteps(KalmanClass& c)
{
    c.def(
        "setParams", [](KalmanIekf& k, Vector const& x) { idle(k).setParams(x); }, py::arg("x"),
        "Both the estimate and the predicted state.");
    c.def(
        "setParamsCov", [](KalmanIekf& k, Matrix const& P) { idle(k).setParamsCov(P); },
        py::arg("P"), "Covariance of both.");
    c.def(
        "setCtrl", [](KalmanIekf& k, Vector const& u, Matrix const& Qu) { idle(k).setCtrl(u, Qu); },
        py::arg("u"), py::arg("Qu"), "Control and its covariance.");
    c.def(
        "setObs", [](KalmanIekf& k, Vector const& z, Matrix const& R) { idle(k).setObs(z, R); },
        py::arg("z"), py::arg("R"), "Observation and its covariance.");
    c.def(
        "checkObsCov", [](KalmanIekf& k, double v) { idle(k).checkObsCov(v); }, py::arg("v"),
        "Raises variances of the observation that are below v to it.");
    c.def("predict", &run<&KalmanIekf::predict>, "From the estimate to the predicted state.");
    c.def("update", &run<&KalmanIekf::update>, "From the predicted state to the estimate.");
}

void bindResults(KalmanClass& c)
{
    c.def(
        "getParams", [](KalmanIekf const& k) { return k.getParams(); }, "The estimate, n.");
    c.def(
        "getParamsCov", [](KalmanIekf const& k) { return k.getParamsCov(); }, "Its covariance.");
    c.def(
        "getPredParams", [](KalmanIekf const& k) { return k.getPredParams(); },
        "The predicted state, n.");
    c.def(
        "getPredParamsCov", [](KalmanIekf const& k) { return k.getPredParamsCov(); },
        "Its covariance.");
    c.def(
        "getObs", [](KalmanIekf const& k) { return k.getObs(); }, "The observation, m.");
    c.def(
        "getObsCov", [](KalmanIekf const& k) { return k.getObsCov(); }, "Its covariance.");
    c.def(
        "setNbIterMax", [](KalmanIekf& k, int nbIterMax) { idle(k).setNbIterMax(nbIterMax); },
        py::arg("nbIterMax"), "Most passes of an update, 50 by default.");
    c.def(
        "setTolerance", [](KalmanIekf& k, double tolerance) { idle(k).setTolerance(tolerance); },
        py::arg("tolerance"), "On |x' - x|^2 / |x|^2, 2^-26 by default.");
    c.def("getNbIter", &KalmanIekf::getNbIter, "Passes of the last update.");
    c.def("getStatus", &KalmanIekf::getStatus, "How the last step ended; KL_OK is good.");
    c.def("getStatusMessage", &KalmanIekf::getStatusMessage, "The same in words.");
    c.def("getDimParams", &KalmanIekf::getDimParams, "n.");
    c.def("getDimObs", &KalmanIekf::getDimObs, "m.");
    c.def("getDimCtrl", &KalmanIekf::getDimCtrl, "c.");
    c.def("getDimObsFct", &KalmanIekf::getDimObsFct, "p.");
}

}  // namespace

void bindKalman(py::module_& m)
{
    KalmanClass c(
        m, "KalmanIekf",
        "Iterated extended Kalman filter: n parameters x, m observations z, c controls u.\n\n"
        "Derive from it, call KalmanIekf.__init__(self, n, m, c, p), and define stateFct(self, x, "
        "u),\n"
        "the next state, and obsFct(self, x, z), p values that are 0 where z fits x. The "
        "Jacobians\n"
        "stateJacParams, stateJacCtrl, obsJacParams and obsJacObs, of the same arguments, are\n"
        "optional: forward differences serve. A step that fails raises nothing: see getStatus.");
    py::enum_<Kalman::KlStatus>(c, "KlStatus", "How a step ended.")
        .value("KL_OK", Kalman::KL_OK)
        .value("KL_BAD_ARGUMENT", Kalman::KL_BAD_ARGUMENT)
        .value("KL_NB_ITERATIONS", Kalman::KL_NB_ITERATIONS)
        .value("KL_MATRIX_INVERSION", Kalman::KL_MATRIX_INVERSION)
        .value("KL_MEMORY_ALLOCATION", Kalman::KL_MEMORY_ALLOCATION)
        .export_values();
    c.def(py::init([](int nbParams, int nbObs, int nbCtrl, int nbObsFct) {
              return new PythonKalman(nbParams, nbObs, nbCtrl, nbObsFct);
          }),
          py::arg("nbParams"), py::arg("nbObs"), py::arg("nbCtrl"), py::arg("nbObsFct"));
    bindSteps(c);
    bindResults(c);

    py::class_<KalmanLinear, KalmanIekf>(m, "KalmanLinear",
                                         "Linear Kalman filter: x' = F x + G u, z = H x.")
        .def(py::init<Matrix const&, Matrix const&, Matrix const&>(), py::arg("F"), py::arg("G"),
             py::arg("H"), "F: n x n, G: n x c, H: m x n.")
        .def("setModel", &KalmanLinear::setModel, py::arg("F"), py::arg("G"), py::arg("H"),
             "Other matrices of the same sizes, for a time step of another length.");
}

}  // namespace measuremath::python
