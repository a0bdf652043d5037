#include "support/PublishedProblems.h"

#include "support/ReferenceValues.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double pi = std::numbers::pi;

using X = Dual const*;    // variables
using T = double const*;  // predictors of one response

struct Model {
    char const* name;
    Dual (*response)(X b, T t);
    int nbPredictors = 1;
};

Dual saturation(X b, T t)
{
    return b[0] * (1.0 - exp(-b[1] * t[0]));
}

Dual chwirut(X b, T t)
{
    return exp(-b[0] * t[0]) / (b[1] + b[2] * t[0]);
}

Dual lanczos(X b, T t)
{
    return b[0] * exp(-b[1] * t[0]) + b[2] * exp(-b[3] * t[0]) + b[4] * exp(-b[5] * t[0]);
}

Dual peak(Dual const& height, Dual const& centre, Dual const& width, double t)
{
    Dual const u = (t - centre) / width;
    return height * exp(-u * u);
}

Dual gauss(X b, T t)
{
    return b[0] * exp(-b[1] * t[0]) + peak(b[2], b[3], b[4], t[0]) + peak(b[5], b[6], b[7], t[0]);
}

Dual cubics(X b, T t)
{
    return (b[0] + t[0] * (b[1] + t[0] * (b[2] + t[0] * b[3]))) /
           (1.0 + t[0] * (b[4] + t[0] * (b[5] + t[0] * b[6])));
}

Dual wave(Dual const& a, Dual const& b, Dual const& period, double t)
{
    Dual const angle = 2.0 * pi * t / period;
    return a * cos(angle) + b * sin(angle);
}

Dual enso(X b, T t)
{
    return b[0] + wave(b[1], b[2], 12.0, t[0]) + wave(b[4], b[5], b[3], t[0]) +
           wave(b[7], b[8], b[6], t[0]);
}

Model const models[] = {
    {"Misra1a", saturation},
    {"Chwirut2", chwirut},
    {"Chwirut1", chwirut},
    {"Lanczos3", lanczos},
    {"Gauss1", gauss},
    {"Gauss2", gauss},
    {"DanWood", [](X b, T t) { return b[0] * pow(t[0], b[1]); }},
    {"Misra1b",
     [](X b, T t) {
         Dual const u = 1.0 + b[1] * t[0] / 2.0;
         return b[0] * (1.0 - 1.0 / (u * u));
     }},
    {"Kirby2",
     [](X b, T t) {
         return (b[0] + t[0] * (b[1] + t[0] * b[2])) / (1.0 + t[0] * (b[3] + t[0] * b[4]));
     }},
    {"Hahn1", cubics},
    {"Nelson", [](X b, T t) { return b[0] - b[1] * t[0] * exp(-b[2] * t[1]); }, 2},
    {"MGH17", [](X b, T t) { return b[0] + b[1] * exp(-t[0] * b[3]) + b[2] * exp(-t[0] * b[4]); }},
    {"Lanczos1", lanczos},
    {"Lanczos2", lanczos},
    {"Gauss3", gauss},
    {"Misra1c", [](X b, T t) { return b[0] * (1.0 - 1.0 / sqrt(1.0 + 2.0 * b[1] * t[0])); }},
    {"Misra1d", [](X b, T t) { return b[0] * b[1] * t[0] / (1.0 + b[1] * t[0]); }},
    {"Roszman1", [](X b, T t) { return b[0] - b[1] * t[0] - atan(b[2] / (t[0] - b[3])) / pi; }},
    {"ENSO", enso},
    {"MGH09", [](X b, T t) { return b[0] * t[0] * (t[0] + b[1]) / (t[0] * (t[0] + b[2]) + b[3]); }},
    {"Thurber", cubics},
    {"BoxBOD", saturation},
    {"Rat42", [](X b, T t) { return b[0] / (1.0 + exp(b[1] - b[2] * t[0])); }},
    {"MGH10", [](X b, T t) { return b[0] * exp(b[1] / (t[0] + b[2])); }},
    {"Eckerle4",
     [](X b, T t) { return peak(b[0] / b[1], b[2], b[1] * std::numbers::sqrt2, t[0]); }},
    {"Rat43", [](X b, T t) { return b[0] / pow(1.0 + exp(b[1] - b[2] * t[0]), 1.0 / b[3]); }},
    {"Bennett5", [](X b, T t) { return b[0] * pow(b[1] + t[0], -1.0 / b[2]); }},
};

std::vector<Problem> readNistProblems()
{
    auto const rows = readReference("nist_strd.csv");
    std::vector<Problem> problems;
    auto row = rows.begin();
    for (Model const& model : models) {
        std::vector<double> y = row[6];
        if (model.nbPredictors == 2)  // Nelson: its response is log(y)
            for (double& yi : y) yi = std::log(yi);
        auto const residuals = [model, t = row[5], y](X b, Dual* f) {
            for (std::size_t i = 0; i < y.size(); ++i)
                f[i] = model.response(b, &t[i * model.nbPredictors]) - y[i];
        };
        problems.push_back({model.name,
                            static_cast<int>(y.size()),
                            {toVector(row[0]), toVector(row[1])},
                            row[4].at(0),
                            residuals,
                            toVector(row[2]),
                            toVector(row[3])});
        row += 7;
    }
    return problems;
}

std::vector<Dual> evaluate(Problem const& problem, double const* x, int n)
{
    std::vector<Dual> variables(x, x + n);
    for (int j = 0; j < n; ++j) variables[j].by[j] = 1.0;
    std::vector<Dual> f(problem.m);
    problem.function(variables.data(), f.data());
    return f;
}

// In the order of the paper: function n of 35 is (n) there.
void rosenbrock(X x, Dual* f, int)  // (1)
{
    f[0] = 10.0 * (x[1] - x[0] * x[0]);
    f[1] = 1.0 - x[0];
}

void powellBadlyScaled(X x, Dual* f, int)  // (3)
{
    f[0] = 1e4 * x[0] * x[1] - 1.0;
    f[1] = exp(-x[0]) + exp(-x[1]) - 1.0001;
}

void helicalValley(X x, Dual* f, int)  // (7)
{
    Dual const turns = atan(x[1] / x[0]) / (2.0 * pi) + (x[0].value < 0.0 ? 0.5 : 0.0);
    f[0] = 10.0 * (x[2] - 10.0 * turns);
    f[1] = 10.0 * (sqrt(x[0] * x[0] + x[1] * x[1]) - 1.0);
    f[2] = x[2];
}

void broydenTridiagonal(X x, Dual* f, int n)  // (30)
{
    for (int i = 0; i < n; ++i)
        f[i] = (3.0 - 2.0 * x[i]) * x[i] - (i > 0 ? x[i - 1] : 0.0) -
               2.0 * (i + 1 < n ? x[i + 1] : 0.0) + 1.0;
}

using MghFunction = void (*)(X x, Dual* f, int n);

std::vector<Dual> evaluate(MghFunction f, double const* x, int n)
{
    return evaluate({"", n, {}, 0.0, [=](X v, Dual* r) { f(v, r, n); }}, x, n);
}

template <MghFunction f>
Problem mghSystem(std::string const& name, Vector const& start)
{
    int const size = start.getSize();
    Problem problem{name, size, {start}, 0.0, [=](X x, Dual* r) { f(x, r, size); }};
    problem.system = [](int* n, double* x, double* fvec, int*) {
        std::vector<Dual> const values = evaluate(f, x, *n);
        for (int i = 0; i < *n; ++i) fvec[i] = values[i].value;
    };
    problem.systemWithJacobian = [](int* n, double* x, double* fvec, double* fjac, int* ldfjac,
                                    int* iflag) {
        std::vector<Dual> const values = evaluate(f, x, *n);
        for (int i = 0; i < *n; ++i) {
            if (*iflag != 2) fvec[i] = values[i].value;
            for (int j = 0; j < *n && *iflag == 2; ++j) fjac[i + j * *ldfjac] = values[i].by[j];
        }
    };
    return problem;
}

}  // namespace

std::vector<Problem> const& nistProblems()
{
    static std::vector<Problem> const problems = readNistProblems();
    return problems;
}

Problem const& nistProblem(std::string const& name)
{
    return *std::ranges::find(nistProblems(), name, &Problem::name);
}

std::vector<Problem> mghSystems()
{
    return {
        mghSystem<rosenbrock>("Rosenbrock", Vector::of({-1.2, 1.0})),
        mghSystem<powellBadlyScaled>("Powell badly scaled", Vector::of({0.0, 1.0})),
        mghSystem<helicalValley>("helical valley", Vector::of({-1.0, 0.0, 0.0})),
        mghSystem<broydenTridiagonal>("Broyden tridiagonal",
                                      Vector::of({-1, -1, -1, -1, -1, -1, -1, -1, -1})),
    };
}

ProblemCostFun::ProblemCostFun(Problem const& problem) : _problem(problem)
{
    initCostFun(static_cast<unsigned int>(problem.m), problem.starts[0].size());
}

void ProblemCostFun::computeFunValue(Vector const& params)
{
    std::vector<Dual> const f = evaluate(_problem, params.begin(), params.getSize());
    std::ranges::transform(f, _funValue.begin(), &Dual::value);
}

void ProblemCostFun::computeAnaJacValue(Vector const& params)
{
    int const n = params.getSize();
    std::vector<Dual> const f = evaluate(_problem, params.begin(), n);
    for (int i = 0; i < _problem.m; ++i) std::copy_n(f[i].by.begin(), n, _jacValue[i]);
}

double correctDigits(Vector const& actual, Vector const& certified)
{
    double digits = 11.0;
    for (int j = 0; j < certified.getSize(); ++j) {
        double const error = std::abs(actual[j] - certified[j]) / std::abs(certified[j]);
        digits = std::min(digits, error < 1.0 ? -std::log10(error) : 0.0);  // NaN: 0
    }
    return digits;
}
