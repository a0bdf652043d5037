// Rigid transforms and principal axes, beside Eigen and OpenCV on the same data. They have their
// points packed in a matrix; ours are separate vectors, as measurements come, but for MapPoints.

#include "math/MatrixTH.h"
#include "math/PCAAnalysis.h"

#include "support/Check.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#ifdef MEASUREMATH_HAVE_EIGEN
#include <Eigen/Dense>
#endif
#ifdef MEASUREMATH_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace {

MatrixTH const truth(VectorR(0.3, -1.2, 2.0), Vector::of({5, -6, 7}));
constexpr int compositions = 1000;

std::vector<double> packedPoints(std::size_t n)
{
    std::mt19937 generator(1);
    std::uniform_real_distribution<double> uniform(-10.0, 10.0);
    std::vector<double> xyz(3 * n);
    for (std::size_t i = 0; i < xyz.size(); ++i) xyz[i] = uniform(generator) / double(i % 3 + 1);
    return xyz;
}

std::vector<Vector> pointsOf(std::vector<double> const& xyz)
{
    std::vector<Vector> points;
    points.reserve(xyz.size() / 3);
    for (std::size_t i = 0; i < xyz.size(); i += 3) points.emplace_back(&xyz[i], 3);
    return points;
}

std::vector<double> images(std::vector<double> xyz)
{
    truth.mapPoints(xyz.data(), xyz.size() / 3);
    return xyz;
}

double varianceAlongX(std::vector<double> const& xyz)
{
    double sum = 0.0;
    double squares = 0.0;
    for (std::size_t i = 0; i < xyz.size(); i += 3) {
        sum += xyz[i];
        squares += xyz[i] * xyz[i];
    }
    double const n = static_cast<double>(xyz.size()) / 3;
    return squares / n - std::pow(sum / n, 2);
}

// A small turn composed again and again, as along a chain of measurements.
template <class Transform>
Transform chain(Transform const& step)
{
    Transform all = step;
    for (int i = 1; i < compositions; ++i) all = all * step;
    return all;
}

void compose(benchmark::State& state)
{
    MatrixTH const step(2e-3, 0, 0, 0, 0, 1e-3);
    MatrixTH all;
    for (auto _ : state) benchmark::DoNotOptimize(all = chain(step));
    requireRight(isClose(all, MatrixTH(2, 0, 0, 0, 0, 1)), state);
}

void invert(benchmark::State& state)
{
    Matrix inverse;
    for (auto _ : state) benchmark::DoNotOptimize(inverse = truth.inverse());
    requireRight(isClose(inverse * truth, MatrixTH()), state);
}

void mapPacked(benchmark::State& state)
{
    std::vector<double> xyz = packedPoints(static_cast<std::size_t>(state.range(0)));
    Vector const expected = truth.mapPoint(Vector(&xyz[xyz.size() - 3], 3));
    truth.mapPoints(xyz.data(), xyz.size() / 3);
    requireRight(isClose(Vector(&xyz[xyz.size() - 3], 3), expected), state);
    for (auto _ : state) {
        truth.mapPoints(xyz.data(), xyz.size() / 3);
        benchmark::ClobberMemory();
    }
}

void mapVectors(benchmark::State& state)
{
    std::vector<Vector> points = pointsOf(packedPoints(static_cast<std::size_t>(state.range(0))));
    for (auto _ : state) {
        truth.mapPoints(points);
        benchmark::ClobberMemory();
    }
}

void registerPairs(benchmark::State& state)
{
    std::vector<double> const xyz = packedPoints(static_cast<std::size_t>(state.range(0)));
    std::vector<Vector> const a = pointsOf(xyz);
    std::vector<Vector> const b = pointsOf(images(xyz));
    MatrixTH T;
    for (auto _ : state)
        benchmark::DoNotOptimize(T.init(a.data(), b.data(), a.size(), nullptr, false));
    requireRight(isClose(T, truth), state);
}

void principalAxes(benchmark::State& state)
{
    std::vector<double> const xyz = packedPoints(static_cast<std::size_t>(state.range(0)));
    std::vector<Vector> const points = pointsOf(xyz);
    PCAAnalysis pca;
    for (auto _ : state) pca.computeAnalysis(3, points);
    requireRight(isClose(pca.getCov()[0][0], varianceAlongX(xyz)), state);
}

BENCHMARK(compose)->Name("TransformComposition/ours")->Arg(compositions);
BENCHMARK(invert)->Name("TransformInverse/ours");
BENCHMARK(mapPacked)->Name("MapPoints/ours")->Arg(1000)->Arg(1000000);
BENCHMARK(mapVectors)->Name("MapVectors/ours")->Arg(1000000);
BENCHMARK(registerPairs)->Name("Registration/ours")->Arg(1000)->Arg(1000000);
BENCHMARK(principalAxes)->Name("PrincipalAxes/ours")->Arg(1000)->Arg(100000);

#ifdef MEASUREMATH_HAVE_EIGEN

using Points = Eigen::Matrix3Xd;

Points eigenPoints(std::vector<double> const& xyz)
{
    return Eigen::Map<Points const>(xyz.data(), 3, static_cast<Eigen::Index>(xyz.size() / 3));
}

Eigen::Matrix4d eigenTransform(MatrixTH const& T)
{
    return Eigen::Map<Eigen::Matrix<double, 4, 4, Eigen::RowMajor> const>(T.data());
}

template <class EigenMatrix>
void composeEigen(benchmark::State& state)
{
    EigenMatrix const step = eigenTransform(MatrixTH(2e-3, 0, 0, 0, 0, 1e-3));
    EigenMatrix all = step;
    for (auto _ : state) {
        all = chain(step);
        benchmark::ClobberMemory();
    }
    requireRight(isClose(all(2, 3), 1.0), state);
}

void mapEigenLoop(benchmark::State& state)
{
    std::vector<double> const xyz = packedPoints(static_cast<std::size_t>(state.range(0)));
    Points points = eigenPoints(xyz);
    Eigen::Isometry3d const T(eigenTransform(truth));
    for (auto _ : state) {
        for (Eigen::Index i = 0; i < points.cols(); ++i) points.col(i) = T * points.col(i);
        benchmark::ClobberMemory();
    }
}

void mapEigenWhole(benchmark::State& state)
{
    std::vector<double> const xyz = packedPoints(static_cast<std::size_t>(state.range(0)));
    Points points = eigenPoints(xyz);
    Eigen::Isometry3d const T(eigenTransform(truth));
    for (auto _ : state) {
        points = (T.linear() * points).colwise() + T.translation();
        benchmark::ClobberMemory();
    }
}

void registerEigen(benchmark::State& state)
{
    std::vector<double> const xyz = packedPoints(static_cast<std::size_t>(state.range(0)));
    Points const a = eigenPoints(xyz);
    Points const b = eigenPoints(images(xyz));
    Eigen::Matrix4d T = Eigen::Matrix4d::Identity();
    for (auto _ : state) {
        T = Eigen::umeyama(a, b, true);
        benchmark::ClobberMemory();
    }
    requireRight(T.isApprox(eigenTransform(truth)), state);
}

void principalAxesEigen(benchmark::State& state)
{
    std::vector<double> const xyz = packedPoints(static_cast<std::size_t>(state.range(0)));
    Points const points = eigenPoints(xyz);
    Eigen::Matrix3d covariance = Eigen::Matrix3d::Zero();
    for (auto _ : state) {
        Points const centred = points.colwise() - points.rowwise().mean();
        covariance = centred * centred.transpose() / double(points.cols());
        benchmark::DoNotOptimize(Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d>(covariance));
    }
    requireRight(isClose(covariance(0, 0), varianceAlongX(xyz)), state);
}

BENCHMARK(composeEigen<Eigen::MatrixXd>)->Name("TransformComposition/Eigen")->Arg(compositions);
BENCHMARK(composeEigen<Eigen::Matrix4d>)
    ->Name("TransformComposition/Eigen fixed")
    ->Arg(compositions);
BENCHMARK(mapEigenLoop)->Name("MapPoints/Eigen")->Arg(1000)->Arg(1000000);
BENCHMARK(mapEigenWhole)->Name("MapPoints/Eigen whole")->Arg(1000)->Arg(1000000);
BENCHMARK(registerEigen)->Name("Registration/Eigen")->Arg(1000)->Arg(1000000);
BENCHMARK(principalAxesEigen)->Name("PrincipalAxes/Eigen")->Arg(1000)->Arg(100000);

#endif

#ifdef MEASUREMATH_HAVE_OPENCV

void mapOpenCv(benchmark::State& state)
{
    std::vector<double> xyz = packedPoints(static_cast<std::size_t>(state.range(0)));
    cv::Mat points(static_cast<int>(xyz.size() / 3), 1, CV_64FC3, xyz.data());
    cv::Mat const T = cv::Mat(4, 4, CV_64F, const_cast<double*>(truth.data())).rowRange(0, 3);
    for (auto _ : state) {
        cv::transform(points, points, T);
        benchmark::ClobberMemory();
    }
}

void principalAxesOpenCv(benchmark::State& state)
{
    cv::setNumThreads(1);
    std::vector<double> xyz = packedPoints(static_cast<std::size_t>(state.range(0)));
    cv::Mat const points(static_cast<int>(xyz.size() / 3), 3, CV_64F, xyz.data());
    cv::PCA pca;
    for (auto _ : state) pca(points, cv::noArray(), cv::PCA::DATA_AS_ROW);
    requireRight(isClose(cv::norm(pca.eigenvectors), std::sqrt(3.0)), state);
}

BENCHMARK(mapOpenCv)->Name("MapPoints/OpenCV")->Arg(1000)->Arg(1000000);
BENCHMARK(principalAxesOpenCv)->Name("PrincipalAxes/OpenCV")->Arg(1000)->Arg(100000);

#endif

}  // namespace
