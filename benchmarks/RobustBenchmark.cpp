// Robust fits to large collections, beside a loop written by hand over packed data that does the
// same number of trials: sample, residual array, count, and a closed-form refit.

#include "math/Buckets.h"
#include "math/CircleEstimator.h"
#include "math/EllipseEstimator.h"
#include "math/LMedS.h"
#include "math/LineEstimator.h"
#include "math/PlanEstimator.h"
#include "math/Random.h"
#include "math/Ransac.h"
#include "math/SphereEstimator.h"

#include "support/MeasuredPoints.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

template <class Controller, class Model>
void fitRobustly(benchmark::State& state, int dimension)
{
    Model model;
    model.setDataColl(measuredPoints(static_cast<int>(state.range(0)), dimension));
    Controller controller;
    controller.setEstimator(&model);
    controller.setOutliersRatio(outlierShare);
    if constexpr (std::is_same_v<Controller, Ransac>) controller.setOutliersThreshold(threshold);
    for (auto _ : state) {
        initRandGene(7);
        benchmark::DoNotOptimize(controller.robustEstimation());
    }
    requireAbout(controller.getInlierRms(), sigma, 0.3 * sigma, state);
}

// What the hand-written loops work on.
struct Packed {
    explicit Packed(std::vector<Vector> const& points)
    {
        for (Vector const& p : points) {
            x.push_back(p[0]);
            y.push_back(p[1]);
            z.push_back(p.size() == 3 ? p[2] : 0.0);
        }
        residuals.resize(points.size());
    }
    std::size_t size() const { return x.size(); }

    std::vector<double> x, y, z, residuals;
};

struct PlaneModel {
    double n[3], d;
};

PlaneModel planeThrough(Packed const& p, std::size_t i, std::size_t j, std::size_t k)
{
    double const u[] = {p.x[j] - p.x[i], p.y[j] - p.y[i], p.z[j] - p.z[i]};
    double const v[] = {p.x[k] - p.x[i], p.y[k] - p.y[i], p.z[k] - p.z[i]};
    PlaneModel m = {
        {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]}, 0};
    double const length = std::sqrt(m.n[0] * m.n[0] + m.n[1] * m.n[1] + m.n[2] * m.n[2]);
    for (double& c : m.n) c /= length;
    m.d = m.n[0] * p.x[i] + m.n[1] * p.y[i] + m.n[2] * p.z[i];
    return m;
}

PlaneModel samplePlane(Packed& p)
{
    std::size_t const n = p.size();
    auto const draw = [n] { return static_cast<std::size_t>(std::rand()) % n; };
    PlaneModel const m = planeThrough(p, draw(), draw(), draw());
    for (std::size_t i = 0; i < n; ++i)
        p.residuals[i] = p.x[i] * m.n[0] + p.y[i] * m.n[1] + p.z[i] * m.n[2] - m.d;
    return m;
}

// z = a + b x + c y over the inliers: enough of a refit for a plane that is nearly level.
double refitLevel(Packed const& p, PlaneModel const& m)
{
    double s[6] = {};
    double r[3] = {};
    for (std::size_t i = 0; i < p.size(); ++i) {
        if (std::abs(p.x[i] * m.n[0] + p.y[i] * m.n[1] + p.z[i] * m.n[2] - m.d) >= threshold)
            continue;
        s[0] += 1;
        s[1] += p.x[i];
        s[2] += p.y[i];
        s[3] += p.x[i] * p.x[i];
        s[4] += p.x[i] * p.y[i];
        s[5] += p.y[i] * p.y[i];
        r[0] += p.z[i];
        r[1] += p.z[i] * p.x[i];
        r[2] += p.z[i] * p.y[i];
    }
    Matrix const normal = Matrix::of({{s[0], s[1], s[2]}, {s[1], s[3], s[4]}, {s[2], s[4], s[5]}});
    return (normal.inverse() * Vector(r, 3))[0];
}

void tightPlane(benchmark::State& state)
{
    Packed p(measuredPoints(static_cast<int>(state.range(0)), 3));
    double height = 0.0;
    for (auto _ : state) {
        std::srand(7);
        PlaneModel best = {};
        std::size_t bestCount = 0;
        for (int trial = 0; trial < planeTrials; ++trial) {
            PlaneModel const m = samplePlane(p);
            std::size_t count = 0;
            for (double const r : p.residuals) count += std::abs(r) < threshold ? 1 : 0;
            if (count > bestCount) {
                bestCount = count;
                best = m;
            }
        }
        benchmark::DoNotOptimize(height = refitLevel(p, best));
    }
    requireAbout(height, 1.0, 0.01, state);
}

void tightMedianPlane(benchmark::State& state)
{
    Packed p(measuredPoints(static_cast<int>(state.range(0)), 3));
    double height = 0.0;
    for (auto _ : state) {
        std::srand(7);
        PlaneModel best = {};
        double bestMedian = 1e300;
        for (int trial = 0; trial < planeTrials; ++trial) {
            PlaneModel const m = samplePlane(p);
            for (double& r : p.residuals) r *= r;
            auto const middle = p.residuals.begin() + static_cast<std::ptrdiff_t>(p.size() / 2);
            std::nth_element(p.residuals.begin(), middle, p.residuals.end());
            if (*middle < bestMedian) {
                bestMedian = *middle;
                best = m;
            }
        }
        benchmark::DoNotOptimize(height = refitLevel(p, best));
    }
    requireAbout(height, 1.0, 0.01, state);
}

void tightLine(benchmark::State& state)
{
    Packed p(measuredPoints(static_cast<int>(state.range(0)), 2));
    std::size_t const n = p.size();
    std::size_t bestCount = 0;
    for (auto _ : state) {
        std::srand(7);
        bestCount = 0;
        for (int trial = 0; trial < lineTrials; ++trial) {
            std::size_t const i = static_cast<std::size_t>(std::rand()) % n;
            std::size_t const j = static_cast<std::size_t>(std::rand()) % n;
            double const theta = std::atan2(p.y[j] - p.y[i], p.x[j] - p.x[i]);
            double const c = std::cos(theta);
            double const s = std::sin(theta);
            double const rho = c * p.y[i] - s * p.x[i];
            for (std::size_t k = 0; k < n; ++k) p.residuals[k] = c * p.y[k] - s * p.x[k] - rho;
            std::size_t count = 0;
            for (double const r : p.residuals) count += std::abs(r) < threshold ? 1 : 0;
            bestCount = std::max(bestCount, count);
        }
        benchmark::DoNotOptimize(bestCount);
    }
    requireAbout(static_cast<double>(bestCount), 0.7 * static_cast<double>(n),
                 0.1 * static_cast<double>(n), state);
}

template <class Model>
void fitDirectly(benchmark::State& state, int dimension, double minor)
{
    g_MathLogger.setLogLevel(log4cplus::OFF_LOG_LEVEL);
    Model model;
    model.setDataColl(roundPoints(static_cast<int>(state.range(0)), dimension, minor, 0.0));
    for (auto _ : state) benchmark::DoNotOptimize(model.estim());
    Vector residuals(model.getNbData());
    model.getResiduals(model.getEstimParams(), residuals);
    double const expected = std::is_same_v<Model, EllipseEstimator> ? 2.0 * 4.0 * sigma : sigma;
    requireAbout(residuals.length() / std::sqrt(residuals.size()), expected, 0.5 * expected, state);
}

template <class Model>
void fitRoundRobustly(benchmark::State& state, int dimension)
{
    g_MathLogger.setLogLevel(log4cplus::OFF_LOG_LEVEL);
    Model model;
    model.setDataColl(roundPoints(static_cast<int>(state.range(0)), dimension, 4.0, 0.4));
    Ransac ransac;
    ransac.setEstimator(&model);
    ransac.setOutliersRatio(0.5);
    ransac.setOutliersThreshold(threshold);
    for (auto _ : state) {
        initRandGene(7);
        benchmark::DoNotOptimize(ransac.robustEstimation());
    }
    requireAbout(model.getRadius(), 4.0, 0.01, state);
}

void bucketedDraw(benchmark::State& state)
{
    Buckets buckets;
    buckets.init(2);
    buckets.setDataColl(roundPoints(static_cast<int>(state.range(0)), 2, 2.5, 0.4));
    std::vector<Vector> sample;
    for (auto _ : state) buckets.getDataRandomSample(sample, 5);
    requireAbout(static_cast<double>(sample.size()), 5.0, 0.0, state);
}

void ellipseFit(benchmark::State& state)
{
    fitDirectly<EllipseEstimator>(state, 2, 2.5);
}
void sphereFit(benchmark::State& state)
{
    fitDirectly<SphereEstimator>(state, 3, 4.0);
}
void ransacCircle(benchmark::State& state)
{
    fitRoundRobustly<CircleEstimator>(state, 2);
}
void ransacSphere(benchmark::State& state)
{
    fitRoundRobustly<SphereEstimator>(state, 3);
}

BENCHMARK(ellipseFit)
    ->Name("EllipseFit/ours")
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(sphereFit)->Name("SphereFit/ours")->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(bucketedDraw)->Name("BucketedDraw/ours")->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(ransacCircle)
    ->Name("RansacCircle/ours")
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(ransacSphere)
    ->Name("RansacSphere/ours")
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMicrosecond);

void ransacPlane(benchmark::State& state)
{
    fitRobustly<Ransac, PlanEstimator>(state, 3);
}
void lmedsPlane(benchmark::State& state)
{
    fitRobustly<LMedS, PlanEstimator>(state, 3);
}
void ransacLine(benchmark::State& state)
{
    fitRobustly<Ransac, LineEstimator>(state, 2);
}

BENCHMARK(ransacPlane)
    ->Name("RansacPlane/ours")
    ->Arg(100000)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(tightPlane)
    ->Name("RansacPlane/by hand")
    ->Arg(100000)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(ransacLine)->Name("RansacLine/ours")->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(tightLine)->Name("RansacLine/by hand")->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(lmedsPlane)->Name("LMedSPlane/ours")->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(tightMedianPlane)->Name("LMedSPlane/by hand")->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
