#include "math/LineEstimator.h"

#include <cmath>

namespace {

constexpr double pi = 3.141592653589793;

struct Line {
    double theta;
    double rho;
};

struct LineDistance {
    explicit LineDistance(Line const& line)
        : cosTheta(std::cos(line.theta)), sinTheta(std::sin(line.theta)), rho(line.rho)
    {
    }
    double operator()(double x, double y) const { return cosTheta * y - sinTheta * x - rho; }

    double cosTheta;
    double sinTheta;
    double rho;
};

// The centroid and the second moments about it, divided by the number of data.
struct Scatter {
    double x = 0.0, y = 0.0;
    double sxx = 0.0, syy = 0.0, sxy = 0.0;
};

Scatter scatterOf(std::vector<Vector> const& coll)
{
    double const n = static_cast<double>(coll.size());
    Vector const& first = coll.front();  // sums about it: a far origin costs no digits
    Scatter s;
    for (Vector const& datum : coll) {
        s.x += datum[0] - first[0];
        s.y += datum[1] - first[1];
    }
    s.x = first[0] + s.x / n;
    s.y = first[1] + s.y / n;
    for (Vector const& datum : coll) {
        double const dx = datum[0] - s.x;
        double const dy = datum[1] - s.y;
        s.sxx += dx * dx;
        s.syy += dy * dy;
        s.sxy += dx * dy;
    }
    s.sxx /= n;
    s.syy /= n;
    s.sxy /= n;
    return s;
}

// The line in this direction, modulo π, through the centroid.
Line lineThrough(Scatter const& s, double direction)
{
    double theta = direction - std::floor(direction / pi) * pi;
    if (theta > pi / 2) theta -= pi;
    return {theta, std::cos(theta) * s.y - std::sin(theta) * s.x};
}

double sumOfSquares(Line const& line, std::vector<Vector> const& coll)
{
    LineDistance const distance(line);
    double sum = 0.0;
    for (Vector const& datum : coll) {
        double const r = distance(datum[0], datum[1]);
        sum += r * r;
    }
    return sum;
}

}  // namespace

LineEstimator::LineEstimator() { init(2, 2); }

void LineEstimator::setDataColl(std::vector<Vector> const& dataColl)
{
    requireDataSize(dataColl, 2);
    Estimator::setDataColl(dataColl);
}

bool LineEstimator::computeEstimation(std::vector<Vector> const& dataColl)
{
    Scatter const s = scatterOf(dataColl);
    double const diff = s.sxx - s.syy;
    bool const isotropic = diff == 0.0 && s.sxy == 0.0;
    if (isotropic || !std::isfinite(diff) || !std::isfinite(s.sxy)) return false;

    // The directions of least and of largest scatter are a quarter turn apart: try both.
    double const alpha = diff == 0.0 ? pi / 4 : 0.5 * std::atan2(2.0 * s.sxy / diff, 1.0);
    Line const along = lineThrough(s, alpha);
    Line const across = lineThrough(s, alpha + pi / 2);
    bool const alongIsBetter = sumOfSquares(along, dataColl) < sumOfSquares(across, dataColl);
    Line const& best = alongIsBetter ? along : across;

    *_estimParams = Vector::of({best.theta, best.rho});
    return true;
}

void LineEstimator::computeResiduals(Vector const& params, Vector& residuals) const
{
    LineDistance const distance({params[0], params[1]});
    double const* const x = getPackedCoordinate(0);
    double const* const y = getPackedCoordinate(1);
    double* const r = residuals.begin();
    unsigned int const n = residuals.size();
    for (unsigned int i = 0; i < n; ++i) r[i] = distance(x[i], y[i]);
}

void LineEstimator::computeResiduals(Vector const& params, std::vector<Vector> const& coll,
                                     Vector& residuals)
{
    measuremath::require(residuals.size() == coll.size(), "Uncompatible vector/coll sizes");
    measuremath::require(params.size() == 2, "Invalid parameters vector size");
    requireDataSize(coll, 2);

    LineDistance const distance({params[0], params[1]});
    double* r = residuals.begin();
    for (Vector const& datum : coll) *r++ = distance(datum[0], datum[1]);
}
