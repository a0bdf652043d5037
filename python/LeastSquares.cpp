#include "Callbacks.h"
#include "Module.h"

#include "math/CostFun.h"
#include "math/LMMinPack.h"

namespace measuremath::python {

namespace {

// A residual function in Python: given as functions, or as methods of a subclass.
class PythonCostFun : public CostFun {
public:
    PythonCostFun(unsigned int nbEquations, unsigned int nbVariables, py::object function,
                  py::object jacobian)
        : _function(std::move(function)),
          _jacobian(std::move(jacobian))
    {
        initCostFun(nbEquations, nbVariables);
    }

protected:
    void computeFunValue(Vector const& params) override
    {
        char const* const name = "computeFunValue";
        py::object const function = _function.is_none() ? overrideOf(this, name) : _function;
        assign(function(arrayOf(params)), _funValue, name);
    }

    // Without a Jacobian of the user's, numeric derivatives.
    void computeAnaJacValue(Vector const& params) override
    {
        char const* const name = "computeAnaJacValue";
        py::object jacobian = _jacobian;
        if (jacobian.is_none()) jacobian = py::get_override(this, name);
        if (jacobian)
            assign(jacobian(arrayOf(params)), _jacValue, name);
        else
            computeNumJacValue(params);
    }

private:
    py::object _function;
    py::object _jacobian;
};

void bindCostFun(py::module_& m)
{
    py::class_<PythonCostFun> c(
        m, "CostFun",
        "Residual function r(x) of n variables, m equations.\n\n"
        "Either give computeFunValue(x), which returns the m residuals, and computeAnaJacValue(x), "
        "which\n"
        "returns the m x n Jacobian, or derive from CostFun and define them as methods. Without a\n"
        "Jacobian, forward differences serve. x comes as an array.");
    c.def(py::init<unsigned int, unsigned int, py::object, py::object>(), py::arg("nbEquations"),
          py::arg("nbVariables"), py::arg("computeFunValue") = py::none(),
          py::arg("computeAnaJacValue") = py::none());
    c.def("getFunValue", &PythonCostFun::getFunValue, py::arg("x"), "Residuals at x.");
    c.def("getJacValue", &PythonCostFun::getJacValue, py::arg("x"), "Jacobian at x, m x n.");
    c.def("setBoolAnaDer", &PythonCostFun::setBoolAnaDer, py::arg("analytic"),
          "False for forward differences in any case.");
    c.def("getBoolAnaDer", &PythonCostFun::getBoolAnaDer, "See setBoolAnaDer.");
    c.def("getNbEquations", &PythonCostFun::getNbEquations, "m.");
    c.def("getNbVariables", &PythonCostFun::getNbVariables, "n.");
    c.def("getRMS", &PythonCostFun::getRMS, py::arg("x"),
          "Root mean square of the residuals at x.");
    c.def("getSEUW", &PythonCostFun::getSEUW, py::arg("x"),
          "Standard error of unit weight at x; -1 when m <= n.");
}

using Solver = Keeping<LMMinPack>;
using SolverClass = py::class_<LMMinPack, Solver>;

// The solver, for a change that is none of its callbacks' business.
Solver& idle(LMMinPack& self)
{
    auto& solver = dynamic_cast<Solver&>(self);
    solver.calls.requireNone();
    return solver;
}

void setCostFun(LMMinPack& self, py::object const& costFun)
{
    Solver& solver = idle(self);
    solver.setCostFun(pointerTo<PythonCostFun>(costFun));
    solver.kept = costFun;
}

bool callBack(LMSolver const& solver)
{
    auto const& self = dynamic_cast<Solver const&>(solver);
    py::object const answer = self.callback(py::cast(static_cast<LMMinPack const*>(&self)));
    return answer.is_none() || answer.cast<bool>();
}

void setCallBackFcn(LMMinPack& self, py::object const& callBackFcn)
{
    Solver& solver = idle(self);
    solver.callback = callBackFcn;
    solver.setCallBackFcn(callBackFcn.is_none() ? nullptr : &callBack);
}

void bindSettings(SolverClass& c)
{
    c.def("setCostFun", &setCostFun, py::arg("costFun"), "The function to minimise; comes first.");
    c.def(
        "setInitVecSol", [](LMMinPack& s, Vector const& x) { idle(s).setInitVecSol(x); },
        py::arg("x"), "The start, n elements.");
    c.def(
        "setTolerance", [](LMMinPack& s, double tolerance) { idle(s).setTolerance(tolerance); },
        py::arg("tolerance"), "Relative tolerance on |r|^2 and x, 2^-26 by default.");
    c.def("getTolerance", &LMMinPack::getTolerance, "See setTolerance.");
    c.def(
        "setNbMaxIter",
        [](LMMinPack& s, unsigned int nbMaxIter) { idle(s).setNbMaxIter(nbMaxIter); },
        py::arg("nbMaxIter"), "Limit of residual evaluations.");
    c.def("getNbMaxIter", &LMMinPack::getNbMaxIter, "See setNbMaxIter.");
    c.def(
        "setInitialStepBound",
        [](LMMinPack& s, double bound) { idle(s).setInitialStepBound(bound); },
        py::arg("initialStepBound"),
        "Bound of the first step, 100 by default; 0.1 for careful ones.");
    c.def(
        "setCallBackFcn", &setCallBackFcn, py::arg("callBackFcn"),
        "Function called with the solver after each Jacobian; it stops the run by returning False. "
        "None for none.");
}

void bindResults(SolverClass& c)
{
    c.def("getCurVec", &LMMinPack::getCurVec, "The current vector; in the callback only.");
    c.def("getCurRMS", &LMMinPack::getCurRMS, "The current RMS; in the callback only.");
    c.def("getNbIter", &LMMinPack::getNbIter, "Number of Jacobians so far.");
    c.def("getNbVariables", &LMMinPack::getNbVariables, "n.");
    c.def("getNbEquations", &LMMinPack::getNbEquations, "m.");
    c.def("getVecSol", &LMMinPack::getVecSol, "The solution.");
    c.def("getCov", &LMMinPack::getCov,
          "(J'J)^-1 at the solution; times getSEUWAfter()**2 the covariance of the solution.");
    c.def("getEndFlag", &LMMinPack::getEndFlag, "How the run ended.");
    c.def("getEndReason", &LMMinPack::getEndReason, "The same in words.");
    c.def("getJacRank", &LMMinPack::getJacRank, "Rank of the covariance.");
    c.def("getRMSBefore", &LMMinPack::getRMSBefore, "RMS at the start.");
    c.def("getSEUWBefore", &LMMinPack::getSEUWBefore,
          "Standard error of unit weight at the start.");
    c.def("getRMSAfter", &LMMinPack::getRMSAfter, "RMS at the solution.");
    c.def("getSEUWAfter", &LMMinPack::getSEUWAfter,
          "Standard error of unit weight at the solution.");
}

}  // namespace

void bindLeastSquares(py::module_& m)
{
    bindCostFun(m);
    SolverClass c(m, "LMMinPack", "Levenberg-Marquardt: minimises |r(x)|^2 of a CostFun.");
    py::enum_<LMSolver::EndFlag>(c, "EndFlag", "How a run ended.")
        .value("NormalEnd", LMSolver::NormalEnd)
        .value("WarningEnd", LMSolver::WarningEnd)
        .value("ErrorEnd", LMSolver::ErrorEnd)
        .value("UserEnd", LMSolver::UserEnd)
        .export_values();
    c.def(py::init_alias<>());
    bindSettings(c);
    c.def(
        "solve",
        [](LMMinPack& self) {
            Solver& solver = idle(self);
            solver.calls.during([&] { solver.solve(); });
        },
        "Minimises from the start. What the functions raise comes out as it was raised.");
    bindResults(c);
}

}  // namespace measuremath::python
