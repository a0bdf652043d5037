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
    double limit;  // ulp
    bool hasSign = true;
};

// Levenberg-Marquardt compares sums of squares: their last digit leaves a solution some 1e-8 of its
// standard deviation, which short arcs make large.
constexpr double iterated = 1e7;
constexpr double closed = 200.0;

template <class Type>
std::unique_ptr<Estimator> made()
{
    return std::make_unique<Type>();
}

Model const models[] = {
    {"circle", made<CircleEstimator>, 2, {1, 1, 1}, iterated},
    {"sphere", made<SphereEstimator>, 3, {1, 1, 1, 1}, iterated},
    {"cylinder", made<CylinderEstimator>, 3, {1, 1, 1, 0, 0, 0, 1}, iterated},
    {"conic", made<EllipseEstimator>, 2, {0, 0, 1, 1, 2}, closed},
    {"line", made<LineEstimator>, 2, {0, 1}, closed},
    {"plane", made<PlanEstimator>, 3, {0, 0, 0, 0}, closed, false},
};

std::vector<Vector> pointsOf(std::vector<double> const& coordinates, int dimension)
{
    std::vector<Vector> points;
    for (std::size_t i = 0; i < coordinates.size(); i += static_cast<std::size_t>(dimension))
        points.emplace_back(&coordinates[i], dimension);
    return points;
}

double largestError(Model const& model, Vector params, Vector const& expected, double size)
{
    if (!model.hasSign && params.dot(expected) < 0.0) params = -params;
    double worst = 0.0;
    for (int i = 0; i < params.getSize(); ++i) {
        double const unit = epsilon * std::pow(size, model.powers[static_cast<std::size_t>(i)]);
        double const error = std::abs(params[i] - expected[i]) / unit;
        if (!(error <= worst)) worst = error;
    }
    return worst;
}

}  // namespace

void reportFits(Report& report)
{
    report.section(
        "Fits against 50-digit references",
        "Largest error of a parameter in ulp: of the largest coordinate for lengths, of its square "
        "for\n"
        "the constant of a conic, of 1 for directions and ratios. 24 points with noise of 0.01 on\n"
        "shapes of radius 1.5 to 5, on arcs of 360, 180 and 60 degrees, at the given distance from "
        "the\n"
        "origin. The references are the exact minima for the very same doubles. Circles, spheres "
        "and\n"
        "cylinders come from an iteration that ends when the sum of squares changes no more, "
        "which\n"
        "leaves some 1e-8 of a parameter's standard deviation; the others are solved directly.",
        {"model", "arc", "0", "1e3", "1e6"});
    auto const rows = readReference("fits.csv");
    for (std::size_t k = 0; k < rows.size(); k += 6) {  // three offsets of two lines
        Model const& model = models[static_cast<std::size_t>(rows[k][0])];
        std::vector<std::string> cells = {std::to_string(static_cast<int>(rows[k][1])) + "°"};
        for (std::size_t i = k; i < k + 6; i += 2) {
            auto const& coordinates = rows[i + 1];
            auto const estimator = model.make();
            estimator->setDataColl(pointsOf(coordinates, model.dimension));
            double size = 0.0;
            for (double const c : coordinates) size = std::max(size, std::abs(c));
            Vector const expected(&rows[i][3], static_cast<int>(rows[i].size()) - 3);
            double const error =
                estimator->estim()
                    ? largestError(model, estimator->getEstimParams(), expected, size)
                    : std::nan("");
            cells.push_back(report.error(error, model.limit));
        }
        report.row(model.name, cells);
    }
}
