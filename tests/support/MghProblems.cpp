#include "support/MghProblems.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <type_traits>

namespace {

std::vector<Dual> variables(double const* x, int n)
{
    std::vector<Dual> result;
    for (int j = 0; j < n; ++j) result.push_back(Dual::variable(x[j], j));
    return result;
}

template <class Formula>
void system(int* n, double* x, double* fvec, int*)
{
    Formula()(x, fvec, *n);
}

template <class Formula>
void systemWithJacobian(int* n, double* x, double* fvec, double* fjac, int* ldfjac, int* iflag)
{
    if (*iflag != 2) return Formula()(x, fvec, *n);
    std::vector<Dual> const variable = variables(x, *n);
    std::vector<Dual> f(variable.size());
    Formula()(variable.data(), f.data(), *n);
    for (int i = 0; i < *n; ++i)
        for (int j = 0; j < *n; ++j) fjac[i + j * *ldfjac] = f[std::size_t(i)].by[std::size_t(j)];
}

template <class Formula>
MghProblem problem(char const* name, int m, Vector const& start, double minimum, Formula)
{
    return {name,
            m,
            start,
            minimum,
            [](double const* x, double* f, int n) { Formula()(x, f, n); },
            [](Dual const* x, Dual* f, int n) { Formula()(x, f, n); },
            &system<Formula>,
            &systemWithJacobian<Formula>};
}

auto const rosenbrock = [](auto const* x, auto* f, int) {
    f[0] = 10.0 * (x[1] - x[0] * x[0]);
    f[1] = 1.0 - x[0];
};

double valueOf(double x)
{
    return x;
}
double valueOf(Dual const& x)
{
    return x.value;
}

auto const helicalValley = [](auto const* x, auto* f, int) {
    using std::atan, std::sqrt;
    double const side = valueOf(x[0]) < 0.0 ? 0.5 : 0.0;
    f[0] = 10.0 * (x[2] - 10.0 * (atan(x[1] / x[0]) / (2.0 * std::numbers::pi) + side));
    f[1] = 10.0 * (sqrt(x[0] * x[0] + x[1] * x[1]) - 1.0);
    f[2] = x[2];
};

auto const powellBadlyScaled = [](auto const* x, auto* f, int) {
    using std::exp;
    f[0] = 1e4 * x[0] * x[1] - 1.0;
    f[1] = exp(-x[0]) + exp(-x[1]) - 1.0001;
};

auto const freudensteinRoth = [](auto const* x, auto* f, int) {
    f[0] = x[0] - 13.0 + ((5.0 - x[1]) * x[1] - 2.0) * x[1];
    f[1] = x[0] - 29.0 + ((x[1] + 1.0) * x[1] - 14.0) * x[1];
};

auto const beale = [](auto const* x, auto* f, int) {
    f[0] = 1.5 - x[0] * (1.0 - x[1]);
    f[1] = 2.25 - x[0] * (1.0 - x[1] * x[1]);
    f[2] = 2.625 - x[0] * (1.0 - x[1] * x[1] * x[1]);
};

auto const jennrichSampson = [](auto const* x, auto* f, int) {
    using std::exp;
    for (int i = 1; i <= 10; ++i)
        f[i - 1] = 2.0 + 2.0 * i - (exp(double(i) * x[0]) + exp(double(i) * x[1]));
};

auto const bard = [](auto const* x, auto* f, int) {
    constexpr double y[] = {0.14, 0.18, 0.22, 0.25, 0.29, 0.32, 0.35, 0.39,
                            0.37, 0.58, 0.73, 0.96, 1.34, 2.10, 4.39};
    for (int i = 1; i <= 15; ++i) {
        double const v = 16 - i;
        f[i - 1] = y[i - 1] - (x[0] + double(i) / (v * x[1] + std::min<double>(i, v) * x[2]));
    }
};

auto const brownDennis = [](auto const* x, auto* f, int) {
    for (int i = 1; i <= 20; ++i) {
        double const t = i / 5.0;
        auto const a = x[0] + t * x[1] - std::exp(t);
        auto const b = x[2] + std::sin(t) * x[3] - std::cos(t);
        f[i - 1] = a * a + b * b;
    }
};

auto const watson = [](auto const* x, auto* f, int n) {
    for (int i = 1; i <= 29; ++i) {
        double const t = i / 29.0;
        std::remove_cvref_t<decltype(x[0])> sum = 0.0, slope = 0.0;
        for (int j = n - 1; j >= 0; --j) {
            slope = slope * t + (j + 1 < n ? (j + 1) * x[j + 1] : 0.0);
            sum = sum * t + x[j];
        }
        f[i - 1] = slope - sum * sum - 1.0;
    }
    f[29] = x[0];
    f[30] = x[1] - x[0] * x[0] - 1.0;
};

auto const brownAlmostLinear = [](auto const* x, auto* f, int n) {
    std::remove_cvref_t<decltype(x[0])> sum = -(n + 1.0), product = 1.0;
    for (int j = 0; j < n; ++j) {
        sum = sum + x[j];
        product = product * x[j];
    }
    for (int i = 0; i < n - 1; ++i) f[i] = x[i] + sum;
    f[n - 1] = product - 1.0;
};

auto const discreteBoundaryValue = [](auto const* x, auto* f, int n) {
    double const h = 1.0 / (n + 1);
    for (int i = 0; i < n; ++i) {
        auto const u = x[i] + (i + 1) * h + 1.0;
        f[i] = 2.0 * x[i] - (i > 0 ? x[i - 1] : 0.0) - (i + 1 < n ? x[i + 1] : 0.0) +
               h * h / 2.0 * u * u * u;
    }
};

auto const broydenTridiagonal = [](auto const* x, auto* f, int n) {
    for (int i = 0; i < n; ++i)
        f[i] = (3.0 - 2.0 * x[i]) * x[i] - (i > 0 ? x[i - 1] : 0.0) -
               2.0 * (i + 1 < n ? x[i + 1] : 0.0) + 1.0;
};

auto const broydenBanded = [](auto const* x, auto* f, int n) {
    for (int i = 0; i < n; ++i) {
        f[i] = x[i] * (2.0 + 5.0 * x[i] * x[i]) + 1.0;
        for (int j = std::max(0, i - 5); j <= std::min(n - 1, i + 1); ++j)
            if (j != i) f[i] = f[i] - x[j] * (1.0 + x[j]);
    }
};

Vector filled(int n, double value)
{
    Vector v(n);
    for (double& x : v) x = value;
    return v;
}

Vector discreteStart(int n)
{
    Vector v(n);
    for (int j = 0; j < n; ++j) v[j] = (j + 1.0) / (n + 1) * ((j + 1.0) / (n + 1) - 1.0);
    return v;
}

}  // namespace

std::vector<MghProblem> mghLeastSquares()
{
    return {
        problem("Rosenbrock", 2, Vector::of({-1.2, 1.0}), 0.0, rosenbrock),
        problem("Freudenstein-Roth", 2, Vector::of({0.5, -2.0}), 48.9842, freudensteinRoth),
        problem("Powell badly scaled", 2, Vector::of({0.0, 1.0}), 0.0, powellBadlyScaled),
        problem("Beale", 3, Vector::of({1.0, 1.0}), 0.0, beale),
        problem("Jennrich-Sampson", 10, Vector::of({0.3, 0.4}), 124.362, jennrichSampson),
        problem("helical valley", 3, Vector::of({-1.0, 0.0, 0.0}), 0.0, helicalValley),
        problem("Bard", 15, Vector::of({1.0, 1.0, 1.0}), 8.21487e-3, bard),
        problem("Brown-Dennis", 20, Vector::of({25.0, 5.0, -5.0, -1.0}), 85822.2, brownDennis),
        problem("Watson", 31, Vector(6), 2.28767e-3, watson),
    };
}

std::vector<MghProblem> mghSystems()
{
    return {
        problem("Rosenbrock", 2, Vector::of({-1.2, 1.0}), 0.0, rosenbrock),
        problem("Powell badly scaled", 2, Vector::of({0.0, 1.0}), 0.0, powellBadlyScaled),
        problem("helical valley", 3, Vector::of({-1.0, 0.0, 0.0}), 0.0, helicalValley),
        problem("Brown almost-linear", 7, filled(7, 0.5), 0.0, brownAlmostLinear),
        problem("discrete boundary value", 9, discreteStart(9), 0.0, discreteBoundaryValue),
        problem("Broyden tridiagonal", 9, filled(9, -1.0), 0.0, broydenTridiagonal),
        problem("Broyden banded", 9, filled(9, -1.0), 0.0, broydenBanded),
    };
}

MghCostFun::MghCostFun(MghProblem const& problem) : _problem(problem)
{
    initCostFun(static_cast<unsigned int>(problem.m), problem.start.size());
}

void MghCostFun::computeFunValue(Vector const& params)
{
    _problem.function(params.begin(), _funValue.begin(), params.getSize());
}

void MghCostFun::computeAnaJacValue(Vector const& params)
{
    int const n = params.getSize();
    std::vector<Dual> const x = variables(params.begin(), n);
    std::vector<Dual> f(std::size_t(_problem.m));
    _problem.dualFunction(x.data(), f.data(), n);
    for (int i = 0; i < _problem.m; ++i) std::copy_n(f[std::size_t(i)].by.begin(), n, _jacValue[i]);
}
