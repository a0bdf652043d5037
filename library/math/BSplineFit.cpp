#include "math/BSpline.h"

#include "math/MathError.h"
#include "math/internal/PolynomialCurve.h"
#include "math/internal/SplineFit.h"

#include <algorithm>
#include <cmath>
#include <limits>

using measuremath::CurvePlace;
using measuremath::PlanePoint;
using measuremath::PolynomialCurve;
using measuremath::require;
using measuremath::SplineFit;

namespace {

constexpr char const* invalidPoint = "Invalid measured point";

PlanePoint measured(Vector const& point)
{
    require(point.getSize() >= 2, invalidPoint);
    PlanePoint const p{point[0], point[1]};
    require(std::isfinite(p.x) && std::isfinite(p.y), invalidPoint);
    return p;
}

std::vector<MatchedPointInfo> unmatched(std::vector<Vector> const& points)
{
    std::vector<MatchedPointInfo> matched(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) matched[i].point = measured(points[i]);
    return matched;
}

double distance(PlanePoint a, PlanePoint b)
{
    return std::hypot(b.x - a.x, b.y - a.y);
}

// Places on a curve at most `step` apart, to start a search from.
class CoarseSamples {
public:
    CoarseSamples(PolynomialCurve const& curve, double step)
    {
        constexpr double maxPerSpan = 10000.0;  // whatever the step
        for (int j = 0; j < curve.nbSpans(); ++j) {
            double const length = curve.length(j);
            int const count =
                static_cast<int>(std::clamp(std::ceil(length / step), 1.0, maxPerSpan));
            for (int i = 0; i <= count; ++i) {
                _places.push_back({j, length * (static_cast<double>(i) / count)});
                _points.push_back(curve.at<0>(_places.back()));
            }
        }
    }

    CurvePlace nearest(PlanePoint p) const
    {
        std::size_t best = 0;
        double least = std::numeric_limits<double>::infinity();
        for (std::size_t i = 0; i < _points.size(); ++i) {
            double const dx = _points[i].x - p.x;
            double const dy = _points[i].y - p.y;
            double const squared = dx * dx + dy * dy;
            if (squared < least) {
                least = squared;
                best = i;
            }
        }
        return _places[best];
    }

private:
    std::vector<CurvePlace> _places;
    std::vector<PlanePoint> _points;
};

bool isMeasured(MatchedPointInfo const& info, double from, double to)
{
    return std::isfinite(info.point.x) && std::isfinite(info.point.y) &&
           std::isfinite(info.weight) && info.weight >= 0.0 && info.s >= from && info.s <= to;
}

double rmsDistance(std::vector<MatchedPointInfo> const& points)
{
    double squares = 0.0;
    double weights = 0.0;
    for (MatchedPointInfo const& info : points) {
        squares += info.weight * info.distance * info.distance;
        weights += info.weight;
    }
    return std::sqrt(squares / weights);
}

double huberWeight(double residual)
{
    return residual <= 1.345 ? 1.0 : 1.345 / residual;
}

double tukeyWeight(double residual)
{
    double const t = residual / 4.685;
    return t < 1.0 ? (1.0 - t * t) * (1.0 - t * t) : 0.0;
}

// Distance in units of the standard deviation that the prior weight stands for.
double standardised(MatchedPointInfo const& info, MatchedPointInfo const& prior)
{
    return std::sqrt(prior.weight) * info.distance;
}

// Standard deviation of distances of which less than half are outliers (Rousseeuw and Leroy 1987).
// Never 0, so that points keep their weights where most fit exactly.
double robustScale(std::vector<MatchedPointInfo> const& points,
                   std::vector<MatchedPointInfo> const& prior)
{
    std::vector<double> residuals;
    for (std::size_t i = 0; i < points.size(); ++i)
        if (prior[i].weight > 0.0) residuals.push_back(standardised(points[i], prior[i]));
    auto const middle = residuals.begin() + static_cast<std::ptrdiff_t>(residuals.size() / 2);
    std::nth_element(residuals.begin(), middle, residuals.end());
    return std::max(1.4826 * *middle, std::numeric_limits<double>::min());
}

}  // namespace

std::vector<MatchedPointInfo> BSpline::initMatchedPoints(std::vector<Vector> const& points) const
{
    requireCurve();
    require(_discreteStep > 0.0, "Invalid discrete step");
    std::vector<MatchedPointInfo> matched = unmatched(points);

    PolynomialCurve const curve(spans(), _open, _xControlPoints.cbegin(), _yControlPoints.cbegin());
    CoarseSamples const samples(curve, _discreteStep);
    for (MatchedPointInfo& info : matched) {
        CurvePlace const foot = curve.descend(info.point, samples.nearest(info.point));
        info.s = curve.parameterOf(foot);
        info.distance = distance(info.point, curve.at<0>(foot));
    }
    return matched;
}

std::vector<MatchedPointInfo> BSpline::initMatchedPointsByChordLength(
    std::vector<Vector> const& points) const
{
    requireSpanMatrices();
    std::vector<MatchedPointInfo> matched = unmatched(points);
    if (matched.empty()) return matched;

    double length = 0.0;
    for (std::size_t i = 1; i < matched.size(); ++i) {
        length += distance(matched[i - 1].point, matched[i].point);
        matched[i].s = length;
    }
    if (!_open) length += distance(matched.back().point, matched.front().point);
    require(length > 0.0 && std::isfinite(length), "Measured points coincide");

    double const first = _breakPoints.cbegin()[0];
    double const last = _breakPoints.cbegin()[_nbSpans];
    for (MatchedPointInfo& info : matched) info.s = first + (last - first) * (info.s / length);
    if (_open) matched.back().s = last;  // to the last bit: the fit holds it there
    return matched;
}

double BSpline::refinement(std::vector<MatchedPointInfo>& matchedPoints, int nbIterMax)
{
    requireFittable(matchedPoints);

    SplineFit fit(spans(), _open, {_metricMatrix, _metricMatrixBis, _smoothParam}, matchedPoints);
    for (int i = 1; i < nbIterMax; ++i)
        if (!fit.improve()) break;
    setControlCoordinates(fit.x(), fit.y());
    fit.exportMatches(matchedPoints);
    return rmsDistance(matchedPoints);
}

void BSpline::requireFittable(std::vector<MatchedPointInfo> const& points) const
{
    requireSpanMatrices();
    require(_smoothParam >= 0.0 && std::isfinite(_smoothParam), "Invalid smoothing parameter");
    double const from = _breakPoints.cbegin()[0] - eps;
    double const to = _breakPoints.cbegin()[_nbSpans] + eps;
    int nbWeighted = 0;
    for (MatchedPointInfo const& info : points) {
        require(isMeasured(info, from, to), invalidPoint);
        if (info.weight > 0.0) ++nbWeighted;
    }
    // The bending leaves a straight line free: two points.
    require(nbWeighted >= (_smoothParam > 0.0 ? 2 : _nbBSplines),
            "Too few points to fit the BSpline");
}

void BSpline::setControlCoordinates(Vector const& x, Vector const& y)
{
    std::vector<Vector> points;
    points.reserve(x.size());
    for (int i = 0; i < x.getSize(); ++i) points.push_back(Vector::of({x[i], y[i]}));
    _controlPoints.swap(points);
    _xControlPoints = x;
    _yControlPoints = y;
}

double BSpline::robustRefinement(std::vector<MatchedPointInfo>& matchedPoints, int nbIterMax)
{
    constexpr int maxRounds = 50;
    constexpr double settled = 1e-4;  // of the scale
    // Feet slide along the curve only when the outliers have lost their weight: an outlier whose
    // foot slides would draw a spike out of the curve.
    struct {
        double (*weightOf)(double);
        int nbIterMax;
    } const stages[] = {{huberWeight, 1}, {tukeyWeight, 1}, {tukeyWeight, nbIterMax}};

    BSpline curve = *this;
    std::vector<MatchedPointInfo> points = matchedPoints;
    double rms = curve.refinement(points, 1);
    for (auto const& stage : stages) {
        double scale = 0.0;
        for (int round = 0; round < maxRounds; ++round) {
            double const next = robustScale(points, matchedPoints);
            if (std::abs(next - scale) <= settled * next) break;
            scale = next;
            for (std::size_t i = 0; i < points.size(); ++i) {
                MatchedPointInfo const& prior = matchedPoints[i];
                double const residual = standardised(points[i], prior) / scale;
                points[i].weight = prior.weight * stage.weightOf(residual);
            }
            rms = curve.refinement(points, stage.nbIterMax);
        }
    }
    setControlCoordinates(curve._xControlPoints, curve._yControlPoints);
    matchedPoints.swap(points);
    return rms;
}
