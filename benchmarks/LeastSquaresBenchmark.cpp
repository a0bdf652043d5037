// Overdetermined linear systems: SVDSolver with all its statistics, the steps that give the same by
// hand, and the solutions alone of Eigen and OpenCV.

#include "math/LinearAlgebra.h"
#include "math/SVDSolver.h"

#include "support/Check.h"
#include "support/RandomMatrix.h"

#include <benchmark/benchmark.h>

#include <cmath>

#ifdef MEASUREMATH_HAVE_EIGEN
#include <Eigen/QR>
#endif
#ifdef MEASUREMATH_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace {

// Rows of A, columns of A.
void systems(benchmark::internal::Benchmark* b)
{
    b->ArgNames({"m", "n"})->Args({4, 4})->Args({100, 4})->Args({10000, 6})->Args({100000, 4});
}

struct System {
    explicit System(benchmark::State const& state)
        : A(randomMatrix(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)))),
          b(A.getColVector(0))
    {
    }
    bool isSolvedBy(double const* x) const { return std::abs(x[0] - 1.0) < 1e-8; }

    Matrix A;
    Vector b;  // the solution is the first unit vector
};

void oursSolver(benchmark::State& state)
{
    System const system(state);
    SVDSolver solver;
    for (auto _ : state) {
        solver.solve(system.A, system.b);
        benchmark::DoNotOptimize(solver.getVecSol().begin());
    }
    requireRight(system.isSolvedBy(solver.getVecSol().begin()), state);
}
BENCHMARK(oursSolver)->Name("SvdSolver/ours")->Apply(systems);

// The same results by U for all rows and the pseudo-inverse.
void rawSolver(benchmark::State& state)
{
    System const system(state);
    Matrix const& A = system.A;
    int const m = A.getRow();
    int const n = A.getCol();
    Vector x;
    for (auto _ : state) {
        Matrix U(m, n, Matrix::NO_INIT);
        Matrix V(n, n, Matrix::NO_INIT);
        Matrix cov(n, n);
        Matrix inverse(n, m, Matrix::NO_INIT);
        Vector S(n);
        unsigned int rank = 0;
        double cond = 0.0;
        svd(A, U, S, V);
        singularValuesThreshold(S, rank, cond, -1.0);
        svdCovariance(S, V, cov);
        svdInverse(U, S, V, inverse);
        x = inverse * system.b;
        Vector const residuals = A * x - system.b;
        cov *= residuals.dot(residuals);
        benchmark::DoNotOptimize(cov.begin());
    }
    requireRight(system.isSolvedBy(x.begin()), state);
}
BENCHMARK(rawSolver)->Name("SvdSolver/steps by hand")->Apply(systems);

#ifdef MEASUREMATH_HAVE_EIGEN
void eigenSolver(benchmark::State& state)
{
    System const system(state);
    using Rows = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
    Eigen::MatrixXd const A =
        Eigen::Map<Rows const>(system.A.begin(), system.A.getRow(), system.A.getCol());
    Eigen::VectorXd const b = Eigen::Map<Eigen::VectorXd const>(system.b.begin(), A.rows());
    Eigen::VectorXd x;
    for (auto _ : state) {
        x = Eigen::HouseholderQR<Eigen::MatrixXd>(A).solve(b);
        benchmark::ClobberMemory();
    }
    requireRight(system.isSolvedBy(x.data()), state);
}
BENCHMARK(eigenSolver)->Name("SvdSolver/Eigen QR")->Apply(systems);
#endif

#ifdef MEASUREMATH_HAVE_OPENCV
cv::Mat view(double const* data, int rows, int cols)
{
    return cv::Mat(rows, cols, CV_64F, const_cast<double*>(data));
}

void openCvSolver(benchmark::State& state)
{
    System const system(state);
    cv::Mat const A = view(system.A.begin(), system.A.getRow(), system.A.getCol());
    cv::Mat const b = view(system.b.begin(), system.b.getSize(), 1);
    cv::Mat x;
    for (auto _ : state) cv::solve(A, b, x, cv::DECOMP_QR);
    requireRight(system.isSolvedBy(x.ptr<double>()), state);
}
BENCHMARK(openCvSolver)->Name("SvdSolver/OpenCV QR")->Apply(systems);
#endif

}  // namespace
