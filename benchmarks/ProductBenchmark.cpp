// Matrix products and the composition of rigid transforms.

#include "math/Matrix.h"

#include "support/Check.h"

#include <benchmark/benchmark.h>
#include <cblas.h>

#include <cmath>
#include <random>
#include <vector>

#ifdef MEASUREMATH_HAVE_EIGEN
#include <Eigen/Dense>
#endif

namespace {

// Element (i, j) of a matrix of any of the libraries.
double& element(Matrix& m, int i, int j)
{
    return m[i][j];
}
double element(Matrix const& m, int i, int j)
{
    return m[i][j];
}
#ifdef MEASUREMATH_HAVE_EIGEN
template <class M>
double& element(Eigen::MatrixBase<M>& m, int i, int j)
{
    return m(i, j);
}
template <class M>
double element(Eigen::MatrixBase<M> const& m, int i, int j)
{
    return m(i, j);
}
#endif

template <class M>
M randomMatrix(int n, unsigned int seed)
{
    std::mt19937 generator(seed);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    M m(n, n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) element(m, i, j) = uniform(generator);
    return m;
}

// The last element of the product is the one that a loop cut short would miss.
template <class M>
bool isProduct(M const& c, M const& a, M const& b, int n)
{
    double sum = 0.0;
    for (int k = 0; k < n; ++k) sum += element(a, n - 1, k) * element(b, k, n - 1);
    return std::abs(element(c, n - 1, n - 1) - sum) <= 1e-15 * n * n;
}

template <class M>
void product(benchmark::State& state)
{
    int const n = static_cast<int>(state.range(0));
    M const a = randomMatrix<M>(n, 1);
    M const b = randomMatrix<M>(n, 2);
    requireRight(isProduct<M>(a * b, a, b, n), state);
    for (auto _ : state) {
        M const c = a * b;
        benchmark::DoNotOptimize(&c);
        benchmark::ClobberMemory();
    }
}

void dgemm(benchmark::State& state)
{
    int const n = static_cast<int>(state.range(0));
    Matrix const a = randomMatrix<Matrix>(n, 1);
    Matrix const b = randomMatrix<Matrix>(n, 2);
    Matrix c(n, n);
    double const* const pa = a.begin();
    double const* const pb = b.begin();
    double* const pc = c.begin();
    for (auto _ : state) {
        cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, n, n, n, 1.0, pa, n, pb, n, 0.0, pc,
                    n);
        benchmark::ClobberMemory();
    }
    requireRight(isProduct(c, a, b, n), state);
}

double stepAngle(std::int64_t i)
{
    return 0.001 * static_cast<double>(i % 17);
}

// A small turn about z and a small shift.
template <class M>
M makeStep(std::int64_t i)
{
    M step(4, 4);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) element(step, r, c) = r == c ? 1.0 : 0.0;
    element(step, 0, 0) = element(step, 1, 1) = std::cos(stepAngle(i));
    element(step, 1, 0) = std::sin(stepAngle(i));
    element(step, 0, 1) = -std::sin(stepAngle(i));
    element(step, 2, 3) = 0.5;
    return step;
}

// The pose after many steps, each the product of 4 × 4 matrices.
template <class M>
void compose(benchmark::State& state)
{
    std::vector<M> steps;
    double turn = 0.0;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        steps.push_back(makeStep<M>(i));
        turn += stepAngle(i);
    }
    M pose(4, 4);
    for (auto _ : state) {
        pose = steps.front();
        for (std::size_t i = 1; i < steps.size(); ++i) pose = pose * steps[i];
        benchmark::DoNotOptimize(&pose);
        benchmark::ClobberMemory();
    }
    M const& result = pose;
    requireRight(std::abs(element(result, 1, 0) - std::sin(turn)) < 1e-12, state);
    requireRight(element(result, 2, 3) == 0.5 * static_cast<double>(state.range(0)), state);
}

BENCHMARK(product<Matrix>)->Name("Product/ours")->Arg(3)->Arg(4)->Arg(16)->Arg(64)->Arg(512);
BENCHMARK(dgemm)->Name("Product/dgemm")->Arg(3)->Arg(4)->Arg(16)->Arg(64)->Arg(512);
BENCHMARK(compose<Matrix>)->Name("Composition/ours")->Arg(1000);

#ifdef MEASUREMATH_HAVE_EIGEN
BENCHMARK(product<Eigen::MatrixXd>)
    ->Name("Product/Eigen")
    ->Arg(3)
    ->Arg(4)
    ->Arg(16)
    ->Arg(64)
    ->Arg(512);
BENCHMARK(product<Eigen::Matrix3d>)->Name("Product/Eigen fixed")->Arg(3);
BENCHMARK(product<Eigen::Matrix4d>)->Name("Product/Eigen fixed")->Arg(4);
BENCHMARK(compose<Eigen::MatrixXd>)->Name("Composition/Eigen")->Arg(1000);
BENCHMARK(compose<Eigen::Matrix4d>)->Name("Composition/Eigen fixed")->Arg(1000);
#endif

}  // namespace
