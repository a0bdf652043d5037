// Sampling and evaluation of planar B-spline curves of order 4, and their fit to points.

#include "math/BSpline.h"

#include "support/Check.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#ifdef MEASUREMATH_HAVE_EIGEN
#include <Eigen/Core>
#include <unsupported/Eigen/Splines>
#endif

namespace {

constexpr int order = 4;
constexpr int nbControlPoints = 103;  // of an open curve over [0, 100]
constexpr int nbSamples = 100000;
constexpr double step = 100.0 / nbSamples;

std::vector<Vector> controlPoints()
{
    std::mt19937 generator(1);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    std::vector<Vector> points(nbControlPoints);
    for (std::size_t i = 0; i < points.size(); ++i)
        points[i] = Vector::of({static_cast<double>(i) + uniform(generator), uniform(generator)});
    return points;
}

BSplineSimple makeCurve()
{
    BSplineSimple curve;
    curve.init(order, controlPoints(), true);
    return curve;
}

std::vector<double> randomParameters()
{
    std::mt19937 generator(2);
    std::uniform_real_distribution<double> uniform(0.0, 100.0);
    std::vector<double> parameters(1000);
    for (double& s : parameters) s = uniform(generator);
    return parameters;
}

bool isOnCurve(Pix::Point<double> p, double s)
{
    return isClose(Vector::of({p.x, p.y}), makeCurve().computeCurvePoint(s));
}

void sampleOurs(benchmark::State& state)
{
    BSplineSimple const curve = makeCurve();
    Pix::ListPoint<double> list;
    for (auto _ : state) {
        curve.fastSplineToCurve(list, step);
        benchmark::DoNotOptimize(list.begin());
        benchmark::ClobberMemory();
    }
    requireRight(isOnCurve(list[12345], 12345 * step), state);
}
BENCHMARK(sampleOurs)->Name("SplineCurve/ours");

// The cubics of every span, lowest power first.
std::vector<double> cubicsOf(BSpline const& curve)
{
    std::vector<double> coefficients;
    for (int j = 0; j < curve.getNbSpans(); ++j) {
        Matrix const& M = curve.getVectorSpanMatrix()[static_cast<std::size_t>(j)];
        Vector const x = M * curve.getXControlPoints()(j, order);
        Vector const y = M * curve.getYControlPoints()(j, order);
        for (int r = 0; r < order; ++r) coefficients.insert(coefficients.end(), {x[r], y[r]});
    }
    return coefficients;
}

void sampleByHand(benchmark::State& state)
{
    BSplineSimple const curve = makeCurve();
    std::vector<double> const cubics = cubicsOf(curve);
    Pix::ListPoint<double> list;
    for (auto _ : state) {
        list.clear();
        double const* a = cubics.data();
        double start = 0.0;
        for (double s = 0.0; s < 100.0; s += step) {
            if (s >= start + 1.0) {
                start += 1.0;
                a += 2 * order;
            }
            double const u = s - start;
            list.push_back({((a[6] * u + a[4]) * u + a[2]) * u + a[0],
                            ((a[7] * u + a[5]) * u + a[3]) * u + a[1]});
        }
        benchmark::DoNotOptimize(list.begin());
        benchmark::ClobberMemory();
    }
    requireRight(isOnCurve(list[12345], 12345 * step), state);
}
BENCHMARK(sampleByHand)->Name("SplineCurve/Horner");

void evaluateOurs(benchmark::State& state)
{
    BSplineSimple const curve = makeCurve();
    std::vector<double> const parameters = randomParameters();
    for (auto _ : state)
        for (double const s : parameters) benchmark::DoNotOptimize(curve.computeCurvePoint(s));
    Vector const point = curve.computeCurvePoint(3.7);
    requireRight(isClose(point, curve.computeCurvePoint(3.7 + 1e-14)), state);
}
BENCHMARK(evaluateOurs)->Name("SplinePoint/ours");

#ifdef MEASUREMATH_HAVE_EIGEN

using EigenSpline = Eigen::Spline<double, 2, order - 1>;

// Its parameter runs over [0, 1].
EigenSpline makeEigenCurve()
{
    BSplineSimple const curve = makeCurve();
    EigenSpline::KnotVectorType knots(curve.getNbKnots());
    for (int i = 0; i < curve.getNbKnots(); ++i) knots(i) = curve.getKnots()[i] / 100.0;
    EigenSpline::ControlPointVectorType points(2, nbControlPoints);
    for (int i = 0; i < nbControlPoints; ++i)
        points.col(i) << curve.getXControlPoints()[i], curve.getYControlPoints()[i];
    return {knots, points};
}

void sampleEigen(benchmark::State& state)
{
    EigenSpline const curve = makeEigenCurve();
    std::vector<Eigen::Array2d> list;
    for (auto _ : state) {
        list.clear();
        for (double s = 0.0; s < 100.0; s += step) list.push_back(curve(s / 100.0));
        benchmark::DoNotOptimize(list.data());
        benchmark::ClobberMemory();
    }
    requireRight(isOnCurve({list[12345].x(), list[12345].y()}, 12345 * step), state);
}
BENCHMARK(sampleEigen)->Name("SplineCurve/Eigen");

void evaluateEigen(benchmark::State& state)
{
    EigenSpline const curve = makeEigenCurve();
    std::vector<double> const parameters = randomParameters();
    for (auto _ : state) {
        for (double const s : parameters) {
            Eigen::Array2d const point = curve(s / 100.0);
            benchmark::DoNotOptimize(point.data());
        }
    }
}
BENCHMARK(evaluateEigen)->Name("SplinePoint/Eigen");

#endif

// A noisy ring of 2000 points by a closed curve.
void fitOurs(benchmark::State& state)
{
    constexpr double sigma = 0.01;
    std::mt19937 generator(3);
    std::normal_distribution<double> noise(0.0, sigma);
    std::vector<Vector> points;
    for (int i = 0; i < 2000; ++i) {
        double const angle = i * 3.14159265358979323846 / 1000.0;
        double const radius = 5.0 + 0.4 * std::cos(5.0 * angle) + noise(generator);
        points.push_back(Vector::of({radius * std::cos(angle), radius * std::sin(angle)}));
    }
    auto const n = static_cast<std::size_t>(state.range(0));
    double rms = 0.0;
    for (auto _ : state) {
        BSplineSimple curve;
        curve.init(order, std::vector<Vector>(n, Vector(2)), false);
        curve.setSmoothParam(1e-4);
        auto matched = curve.initMatchedPointsByChordLength(points);
        rms = curve.refinement(matched);
    }
    requireRight(isClose(rms, sigma, 0.2), state);
}
BENCHMARK(fitOurs)
    ->Name("SplineFit/ours")
    ->Arg(25)
    ->Arg(50)
    ->Arg(100)
    ->Unit(benchmark::kMillisecond);

}  // namespace
