#include "support/NistProblems.h"

#include "support/ReferenceValues.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

struct Model {
    char const* name;
    double (*plain)(double const* b, double const* x);
    Dual (*dual)(Dual const* b, double const* x);
    int nbPredictors;
};

// A formula for both numbers: `b` are the parameters, `x` the predictor.
template <class Formula>
Model modelOf(char const* name, Formula, int nbPredictors = 1)
{
    return {name, [](double const* b, double const* x) { return Formula()(b, x); },
            [](Dual const* b, double const* x) { return Formula()(b, x); }, nbPredictors};
}

auto const chwirut = [](auto const* b, double const* x) {
    using std::exp;
    return exp(-b[0] * x[0]) / (b[1] + b[2] * x[0]);
};

auto const lanczos = [](auto const* b, double const* x) {
    using std::exp;
    return b[0] * exp(-b[1] * x[0]) + b[2] * exp(-b[3] * x[0]) + b[4] * exp(-b[5] * x[0]);
};

auto const gauss = [](auto const* b, double const* x) {
    using std::exp;
    auto const u = (x[0] - b[3]) / b[4];
    auto const v = (x[0] - b[6]) / b[7];
    return b[0] * exp(-b[1] * x[0]) + b[2] * exp(-u * u) + b[5] * exp(-v * v);
};

auto const saturation = [](auto const* b, double const* x) {
    using std::exp;
    return b[0] * (1.0 - exp(-b[1] * x[0]));
};

auto const cubicRatio = [](auto const* b, double const* x) {
    double const t = x[0];
    return (b[0] + t * (b[1] + t * (b[2] + t * b[3]))) / (1.0 + t * (b[4] + t * (b[5] + t * b[6])));
};

auto const wave = [](auto const& amplitudeOfCos, auto const& amplitudeOfSin, auto const& period,
                     double x) {
    using std::cos;
    using std::sin;
    auto const angle = 2.0 * std::numbers::pi * x / period;
    return amplitudeOfCos * cos(angle) + amplitudeOfSin * sin(angle);
};

std::vector<Model> models()
{
    using std::atan, std::exp, std::pow, std::sqrt;
    return {
        modelOf("Misra1a", saturation),
        modelOf("Chwirut2", chwirut),
        modelOf("Chwirut1", chwirut),
        modelOf("Lanczos3", lanczos),
        modelOf("Gauss1", gauss),
        modelOf("Gauss2", gauss),
        modelOf("DanWood", [](auto const* b, double const* x) { return b[0] * pow(x[0], b[1]); }),
        modelOf("Misra1b",
                [](auto const* b, double const* x) {
                    auto const u = 1.0 + b[1] * x[0] / 2.0;
                    return b[0] * (1.0 - 1.0 / (u * u));
                }),
        modelOf("Kirby2",
                [](auto const* b, double const* x) {
                    double const t = x[0];
                    return (b[0] + t * (b[1] + t * b[2])) / (1.0 + t * (b[3] + t * b[4]));
                }),
        modelOf("Hahn1", cubicRatio),
        modelOf(
            "Nelson",
            [](auto const* b, double const* x) { return b[0] - b[1] * x[0] * exp(-b[2] * x[1]); },
            2),
        modelOf("MGH17",
                [](auto const* b, double const* x) {
                    return b[0] + b[1] * exp(-x[0] * b[3]) + b[2] * exp(-x[0] * b[4]);
                }),
        modelOf("Lanczos1", lanczos),
        modelOf("Lanczos2", lanczos),
        modelOf("Gauss3", gauss),
        modelOf("Misra1c",
                [](auto const* b, double const* x) {
                    return b[0] * (1.0 - 1.0 / sqrt(1.0 + 2.0 * b[1] * x[0]));
                }),
        modelOf("Misra1d",
                [](auto const* b, double const* x) {
                    return b[0] * b[1] * x[0] / (1.0 + b[1] * x[0]);
                }),
        modelOf("Roszman1",
                [](auto const* b, double const* x) {
                    return b[0] - b[1] * x[0] - atan(b[2] / (x[0] - b[3])) / std::numbers::pi;
                }),
        modelOf("ENSO",
                [](auto const* b, double const* x) {
                    return b[0] + wave(b[1], b[2], 12.0, x[0]) + wave(b[4], b[5], b[3], x[0]) +
                           wave(b[7], b[8], b[6], x[0]);
                }),
        modelOf("MGH09",
                [](auto const* b, double const* x) {
                    double const t = x[0];
                    return b[0] * (t * t + t * b[1]) / (t * t + t * b[2] + b[3]);
                }),
        modelOf("Thurber", cubicRatio),
        modelOf("BoxBOD", saturation),
        modelOf("Rat42", [](auto const* b,
                            double const* x) { return b[0] / (1.0 + exp(b[1] - b[2] * x[0])); }),
        modelOf("MGH10",
                [](auto const* b, double const* x) { return b[0] * exp(b[1] / (x[0] + b[2])); }),
        modelOf("Eckerle4",
                [](auto const* b, double const* x) {
                    auto const u = (x[0] - b[2]) / b[1];
                    return b[0] / b[1] * exp(-0.5 * u * u);
                }),
        modelOf("Rat43",
                [](auto const* b, double const* x) {
                    return b[0] / pow(1.0 + exp(b[1] - b[2] * x[0]), 1.0 / b[3]);
                }),
        modelOf("Bennett5", [](auto const* b,
                               double const* x) { return b[0] * pow(b[1] + x[0], -1.0 / b[2]); }),
    };
}

std::vector<NistProblem> readProblems()
{
    auto const rows = readReference("nist_strd.csv");
    std::vector<NistProblem> problems;
    auto row = rows.begin();
    for (Model const& model : models()) {
        problems.push_back({model.name,
                            model.plain,
                            model.dual,
                            model.nbPredictors,
                            {toVector(row[0]), toVector(row[1])},
                            toVector(row[2]),
                            toVector(row[3]),
                            row[4].at(0),
                            row[5],
                            row[6]});
        row += 7;
    }
    auto& nelson = *std::ranges::find(problems, "Nelson", &NistProblem::name);
    for (double& y : nelson.y) y = std::log(y);  // its response is log(y)
    return problems;
}

}  // namespace

std::vector<NistProblem> const& nistProblems()
{
    static std::vector<NistProblem> const problems = readProblems();
    return problems;
}

NistCostFun::NistCostFun(NistProblem const& problem) : _problem(problem)
{
    initCostFun(static_cast<unsigned int>(problem.y.size()), problem.params.size());
}

void NistCostFun::computeFunValue(Vector const& params)
{
    double* const r = _funValue.begin();
    double const* const b = params.begin();
    for (int i = 0; i < _funValue.getSize(); ++i)
        r[i] = _problem.model(b, predictor(i)) - _problem.y[std::size_t(i)];
}

void NistCostFun::computeAnaJacValue(Vector const& params)
{
    int const n = params.getSize();
    std::vector<Dual> b;
    for (int j = 0; j < n; ++j) b.push_back(Dual::variable(params[j], j));
    for (int i = 0; i < _jacValue.getRow(); ++i)
        std::copy_n(_problem.dualModel(b.data(), predictor(i)).by.begin(), n, _jacValue[i]);
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
