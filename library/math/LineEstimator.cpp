#include "math/LineEstimator.h"

#include "math/internal/PointViews.h"

#include <cmath>
#include <typeinfo>

using measuremath::CollectionView;
using measuremath::Coordinates;
using measuremath::InlierView;

namespace {

constexpr double pi = 3.141592653589793;

struct Line {
    double theta;
    double rho;
};

struct LineDistance {
    explicit LineDistance(Line const& line)
        : cosTheta(std::cos(line.theta)),
          sinTheta(std::sin(line.theta)),
          rho(line.rho)
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

template <class Points>
Scatter scatterOf(Points const& points)
{
    double const n = static_cast<double>(points.size());
    Coordinates<2> const origin = points.front();  // sums about it: a far origin costs no digits
    Scatter s;
    points.forEach([&](Coordinates<2> const& p) {
        s.x += p[0] - origin[0];
        s.y += p[1] - origin[1];
    });
    s.x = origin[0] + s.x / n;
    s.y = origin[1] + s.y / n;
    points.forEach([&](Coordinates<2> const& p) {
        double const dx = p[0] - s.x;
        double const dy = p[1] - s.y;
        s.sxx += dx * dx;
        s.syy += dy * dy;
        s.sxy += dx * dy;
    });
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

// Whether the squared distances to `a` have the smaller sum.
template <class Points>
bool isCloser(Line const& a, Line const& b, Points const& points)
{
    LineDistance const distanceToA(a), distanceToB(b);
    double sumA = 0.0, sumB = 0.0;
    points.forEach([&](Coordinates<2> const& p) {
        double const toA = distanceToA(p[0], p[1]);
        double const toB = distanceToB(p[0], p[1]);
        sumA += toA * toA;
        sumB += toB * toB;
    });
    return sumA < sumB;
}

}  // namespace

LineEstimator::LineEstimator()
{
    init(2, 2);
}

void LineEstimator::setDataColl(std::vector<Vector> const& dataColl)
{
    requireDataSize(dataColl, 2);
    Estimator::setDataColl(dataColl);
}

bool LineEstimator::computeEstimation(std::vector<Vector> const& dataColl)
{
    return fit(CollectionView<2>(dataColl));
}

bool LineEstimator::estimInliers(std::vector<bool> const& isOutlier)
{
    // A derived class may have steps of its own, on the collection.
    if (typeid(*this) != typeid(LineEstimator)) return Estimator::estimInliers(isOutlier);

    InlierView<2> const inliers(isOutlier, {getPackedCoordinate(0), getPackedCoordinate(1)});
    beginEstim(inliers.size());
    _isEstimated = fit(inliers);
    return _isEstimated;
}

template <class Points>
bool LineEstimator::fit(Points const& points)
{
    Scatter const s = scatterOf(points);
    double const diff = s.sxx - s.syy;
    bool const isotropic = diff == 0.0 && s.sxy == 0.0;
    if (isotropic || !std::isfinite(diff) || !std::isfinite(s.sxy)) return false;

    // The directions of least and of largest scatter are a quarter turn apart: try both.
    double const alpha = diff == 0.0 ? pi / 4 : 0.5 * std::atan2(2.0 * s.sxy / diff, 1.0);
    Line const along = lineThrough(s, alpha);
    Line const across = lineThrough(s, alpha + pi / 2);
    Line const& best = isCloser(along, across, points) ? along : across;

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
