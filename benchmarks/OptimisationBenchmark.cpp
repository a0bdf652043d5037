// Least squares and equation systems beside MINPACK called by hand with the same evaluations: the two
// at either end for the statistics, and one in each iteration for the progress.

#include "math/LMMinPack.h"
#include "math/Powell.h"
#include "support/Check.h"
#include "support/LeastSquaresModels.h"

#include <cminpack.h>
#include <minpack.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

template <class Model>
class ModelCostFun : public CostFun {
public:
    explicit ModelCostFun(Model const& model) : _model(model)
    {
        initCostFun(static_cast<unsigned int>(model.m()), Model::n);
    }

protected:
    void computeFunValue(Vector const& p) override
    {
        _model.residuals(p.begin(), _funValue.begin());
    }
    void computeAnaJacValue(Vector const& p) override
    {
        _model.jacobian(p.begin(), {_jacValue.begin(), Model::n, 1});
    }

private:
    Model const& _model;
};

template <class Model>
void minimiseOurs(benchmark::State& state)
{
    Model const model(static_cast<int>(state.range(0)));
    ModelCostFun<Model> costFun(model);
    LMMinPack solver;
    solver.setCostFun(&costFun);
    for (auto _ : state) {
        solver.setInitVecSol(Model::start());
        solver.solve();
        benchmark::DoNotOptimize(solver.getRMSAfter());
    }
    requireRight(isClose(solver.getVecSol(), Model::truth(), 0.05), state);
}

// MINPACK by hand, with workspace that is kept.
template <class Model>
class ByHand {
public:
    static constexpr int n = Model::n;

    explicit ByHand(Model const& model)
        : _model(model),
          _scratch(model.m()),
          _fvec(model.m()),
          _fjac(std::size_t(model.m()) * n),
          _work(5 * n + model.m())
    {
    }

    double rms(double const* x)
    {
        _model.residuals(x, _scratch.data());
        return enorm(_model.m(), _scratch.data()) / std::sqrt(_model.m());
    }

    void minimise(double* x)
    {
        int const m = _model.m();
        double* const wa = _work.data();
        int pivots[n], nfev = 0, njev = 0;
        _statistics = {rms(x), rms(x)};
        lmder(&ByHand::call, this, m, n, x, _fvec.data(), _fjac.data(), m, tolerance, tolerance,
              0.0, 100 * (n + 1), wa, 1, 100.0, 0, &nfev, &njev, pivots, wa + n, wa + 2 * n,
              wa + 3 * n, wa + 4 * n, wa + 5 * n);
        covar(n, _fjac.data(), m, pivots, tolerance, wa);
        _statistics.insert(_statistics.end(), {rms(x), rms(x)});
    }

private:
    static int call(void* self, int m, int, double const* x, double* fvec, double* fjac, int,
                    int iflag)
    {
        auto& byHand = *static_cast<ByHand*>(self);
        if (iflag == 1) {
            byHand._model.residuals(x, fvec);
        } else {
            byHand._model.jacobian(x, {fjac, 1, m});
            byHand._statistics.push_back(byHand.rms(x));
        }
        return 0;
    }

    Model const& _model;
    std::vector<double> _scratch;
    std::vector<double> _fvec;
    std::vector<double> _fjac;
    std::vector<double> _work;
    std::vector<double> _statistics;
};

template <class Model>
void minimiseByHand(benchmark::State& state)
{
    Model const model(static_cast<int>(state.range(0)));
    ByHand<Model> byHand(model);
    Vector x;
    for (auto _ : state) {
        x = Model::start();
        byHand.minimise(x.begin());
    }
    requireRight(isClose(x, Model::truth(), 0.05), state);
}

BENCHMARK(minimiseOurs<Exponential>)->Name("LmExponential/ours")->Arg(100)->Arg(1000);
BENCHMARK(minimiseByHand<Exponential>)->Name("LmExponential/cminpack")->Arg(100)->Arg(1000);
BENCHMARK(minimiseOurs<Rational>)->Name("LmRational/ours")->Arg(151)->Arg(1000);
BENCHMARK(minimiseByHand<Rational>)->Name("LmRational/cminpack")->Arg(151)->Arg(1000);
BENCHMARK(minimiseOurs<Pose>)->Name("LmPose/ours")->Arg(1000);
BENCHMARK(minimiseByHand<Pose>)->Name("LmPose/cminpack")->Arg(1000);
BENCHMARK(minimiseOurs<Sphere>)->Name("LmSphere/ours")->Arg(10000);
BENCHMARK(minimiseByHand<Sphere>)->Name("LmSphere/cminpack")->Arg(10000);

// The tridiagonal function of Broyden and Rosenbrock's function, as in J. J. Moré, B. S. Garbow,
// K. E. Hillstrom, Testing Unconstrained Optimization Software, 1981.
void broyden(int* n, double* x, double* f, int*)
{
    for (int i = 0; i < *n; ++i)
        f[i] = (3.0 - 2.0 * x[i]) * x[i] - (i > 0 ? x[i - 1] : 0.0) -
               (i + 1 < *n ? 2.0 * x[i + 1] : 0.0) + 1.0;
}

void rosenbrock(int*, double* x, double* f, int*)
{
    f[0] = 10.0 * (x[1] - x[0] * x[0]);
    f[1] = 1.0 - x[0];
}

template <NumPowell::Function function>
Vector systemStart(int n)
{
    if (function == &rosenbrock) return Vector::of({-1.2, 1.0});
    Vector x(n);
    for (double& xi : x) xi = -1.0;
    return x;
}

template <NumPowell::Function function>
void solveOurs(benchmark::State& state)
{
    int const n = static_cast<int>(state.range(0));
    Vector const start = systemStart<function>(n);
    NumPowell solver(n, function);
    for (auto _ : state) {
        solver.setParams(start);
        solver.compute();
        benchmark::DoNotOptimize(solver.getRmsAfter());
    }
    requireRight(solver.getInfo() == 1 && solver.getRmsAfter() < 1e-6, state);
}

template <NumPowell::Function function>
void solveByHand(benchmark::State& state)
{
    int n = static_cast<int>(state.range(0));
    Vector const start = systemStart<function>(n);
    std::vector<double> f(n), work(n * (3 * n + 13) / 2);
    double after = 0.0;
    for (auto _ : state) {
        Vector solution = start;
        double* const x = solution.begin();
        int iflag = 0;
        function(&n, x, f.data(), &iflag);
        benchmark::DoNotOptimize(enorm(n, f.data()));
        int const size = static_cast<int>(work.size());
        int info = 0;
        hybrd1_(reinterpret_cast<minpack_func_nn>(function), &n, x, f.data(), &tolerance, &info,
                work.data(), &size);
        function(&n, x, f.data(), &iflag);
        after = enorm(n, f.data());
    }
    requireRight(after < 1e-6, state);
}

BENCHMARK(solveOurs<rosenbrock>)->Name("PowellRosenbrock/ours")->Arg(2);
BENCHMARK(solveByHand<rosenbrock>)->Name("PowellRosenbrock/cminpack")->Arg(2);
BENCHMARK(solveOurs<broyden>)->Name("PowellBroyden/ours")->Arg(10)->Arg(100);
BENCHMARK(solveByHand<broyden>)->Name("PowellBroyden/cminpack")->Arg(10)->Arg(100);

}  // namespace
