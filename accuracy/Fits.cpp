#include "Report.h"

#include "math/CircleEstimator.h"
#include "math/CylinderEstimator.h"
#include "math/EllipseEstimator.h"
#include "math/LineEstimator.h"
#include "math/PlanEstimator.h"
#include "math/SphereEstimator.h"
#include "support/ReferenceValues.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr double epsilon = std::numeric_limits<double>::epsilon();

// A model as fits.csv numbers them. An error of a parameter counts relative to size^power, `size`
// being the largest coordinate.
struct Model {
    char const* name;
    std::unique_ptr<Estimator> (*make)();
    int dimension;
    std::vector<int> powers;
    bool isIterated = false;
    bool hasSign = true;
};

template <class Type>
std::unique_ptr<Estimator> made()
{
    return std::make_unique<Type>();
}

Model const models[] = {
    {"circle", made<CircleEstimator>, 2, {1, 1, 1}, true},
    {"sphere", made<SphereEstimator>, 3, {1, 1, 1, 1}, true},
    {"cylinder", made<CylinderEstimator>, 3, {1, 1, 1, 0, 0, 0, 1}, true},
    {"conic", made<EllipseEstimator>, 2, {0, 0, 1, 1, 2}},
    {"line", made<LineEstimator>, 2, {0, 1}},
    {"plane", made<PlanEstimator>, 3, {0, 0, 0, 0}, false, false},
};

std::vector<Vector> pointsOf(std::vector<double> const& coordinates, int dimension)
{
    std::vector<Vector> points;
    for (std::size_t i = 0; i < coordinates.size(); i += static_cast<std::size_t>(dimension))
        points.emplace_back(&coordinates[i], dimension);
    return points;
}

struct FitError {
    double ulps = std::nan("");        // of the worst parameter
    double deviations = std::nan("");  // of their standard deviations, likewise
};

FitError fitError(Model const& model, std::vector<double> const& coordinates,
                  Vector const& expected)
{
    auto const estimator = model.make();
    estimator->setDataColl(pointsOf(coordinates, model.dimension));
    if (!estimator->estim()) return {};
    Vector params = estimator->getEstimParams();
    Vector const variances = estimator->getEstimCov().getDiagVector();
    if (!model.hasSign && params.dot(expected) < 0.0) params = -params;
    double size = 0.0;
    for (double const c : coordinates) size = std::max(size, std::abs(c));
    FitError worst = {0.0, 0.0};
    for (int i = 0; i < params.getSize(); ++i) {
        double const unit = epsilon * std::pow(size, model.powers[static_cast<std::size_t>(i)]);
        double const error = std::abs(params[i] - expected[i]);
        worst.ulps = larger(worst.ulps, error / unit);
        worst.deviations = larger(worst.deviations, error / std::sqrt(variances[i]));
    }
    return worst;
}

}  // namespace

void reportFits(Report& report)
{
    report.section(
        "Fits against 50-digit references",
        R"(Largest error of a parameter in ulp: of the largest coordinate for lengths, of its square for
the constant of a conic, of 1 for directions and ratios. 24 points with noise of 0.01 on
shapes of radius 1.5 to 5, on arcs of 360, 180 and 60 degrees, at the given distance from the
origin. The references are the exact minima for the very same doubles. Circles, spheres and
cylinders come from an iteration that ends when the sum of squares changes no more, in its last
digits; the last column holds what that leaves, in 1e-9 of a parameter's standard deviation. The
other fits are solved directly.)",
        {"model", "arc", "0", "1e3", "1e6", "1e-9 σ"});
    auto const rows = readReference("fits.csv");
    for (std::size_t k = 0; k < rows.size(); k += 6) {  // three offsets of two lines
        Model const& model = models[static_cast<std::size_t>(rows[k][0])];
        std::vector<std::string> cells = {std::to_string(static_cast<int>(rows[k][1])) + "°"};
        double deviations = 0.0;
        for (std::size_t i = k; i < k + 6; i += 2) {
            Vector const expected(&rows[i][3], static_cast<int>(rows[i].size()) - 3);
            FitError const error = fitError(model, rows[i + 1], expected);
            cells.push_back(report.error(error.ulps, model.isIterated ? 1e7 : 200.0));
            deviations = larger(deviations, error.deviations);
        }
        cells.push_back(model.isIterated ? report.error(deviations * 1e9, 3e3) : "");
        report.row(model.name, cells);
    }
}
