// The decompositions beside the LAPACK calls that do their work, each with its workspace query and
// a copy of the input.

#include "math/LinearAlgebra.h"

#include "support/RandomMatrix.h"

#include <benchmark/benchmark.h>
#include <lapack.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// A positive definite matrix, and outputs of all kinds for both sides. The raw calls copy the input
// to their output where they work in place, and to new storage where they do not.
struct Square {
    explicit Square(int order)
        : n(order),
          G(randomMatrix(n, n)),
          A(G.transpose() * G + Matrix(n, n, Matrix::IDENTITY)),
          M(n, n),
          N(n, n),
          b(n),
          v(n),
          u(A.size()),
          vt(A.size()),
          s(b.size())
    {
    }

    std::vector<double> inputCopy() const { return {A.cbegin(), A.cend()}; }
    void copyInputToOutput() { std::copy(A.cbegin(), A.cend(), u.begin()); }
    static std::vector<int> integers(int count)
    {
        return std::vector<int>(static_cast<std::size_t>(count));
    }

    int n;
    Matrix G, A, M, N;
    Vector b, v;
    std::vector<double> u, vt, s;
    int info = 0;
};

template <class Routine>
void withWorkspace(Routine routine)
{
    double size = 0.0;
    routine(&size, -1);
    std::vector<double> work(static_cast<std::size_t>(size));
    routine(work.data(), static_cast<int>(size));
}

bool isClose(Matrix const& actual, Matrix const& expected)
{
    return (actual - expected).frobeniusNorm() <= 1e-8 * expected.frobeniusNorm();
}

struct Svd : Square {
    using Square::Square;
    void ours() { svd(A, M, v, N); }
    void raw()
    {
        std::vector<double> a = inputCopy();
        char const job = 'S';
        withWorkspace([&](double* work, int lwork) {
            LAPACK_dgesvd(&job, &job, &n, &n, a.data(), &n, s.data(), u.data(), &n, vt.data(), &n,
                          work, &lwork, &info);
        });
    }
    bool isRight() const
    {
        Matrix S(n, n);
        S.setDiagVector(v);
        return isClose(M * S * N.transpose(), A);
    }
};

struct Qr : Square {
    using Square::Square;
    void ours() { qr(A, M, N); }
    void raw()
    {
        copyInputToOutput();
        std::vector<double> tau(s.size());
        withWorkspace([&](double* work, int lwork) {
            LAPACK_dgeqrf(&n, &n, u.data(), &n, tau.data(), work, &lwork, &info);
        });
        withWorkspace([&](double* work, int lwork) {
            LAPACK_dorgqr(&n, &n, &n, u.data(), &n, tau.data(), work, &lwork, &info);
        });
    }
    bool isRight() const { return isClose(M * N, A); }
};

struct LuSolve : Square {
    using Square::Square;
    void ours() { luSolve(A, b, v); }
    void raw()
    {
        std::vector<double> a = inputCopy();
        char const trans = 'T';
        int const one = 1;
        std::copy(b.cbegin(), b.cend(), s.begin());
        std::vector<int> pivots = integers(n);
        LAPACK_dgetrf(&n, &n, a.data(), &n, pivots.data(), &info);
        LAPACK_dgetrs(&trans, &n, &one, a.data(), &n, pivots.data(), s.data(), &n, &info);
    }
    bool isRight() const { return (A * v - b).length() <= 1e-8; }
};

struct LuInverse : Square {
    using Square::Square;
    void ours() { luInverse(A, M); }
    void raw()
    {
        copyInputToOutput();
        std::vector<int> pivots = integers(n);
        LAPACK_dgetrf(&n, &n, u.data(), &n, pivots.data(), &info);
        withWorkspace([&](double* work, int lwork) {
            LAPACK_dgetri(&n, u.data(), &n, pivots.data(), work, &lwork, &info);
        });
    }
    bool isRight() const { return isClose(A * M, Matrix(n, n, Matrix::IDENTITY)); }
};

struct Eigen : Square {
    using Square::Square;
    void ours() { eigenValuesVectors(A, v, M); }
    void raw()
    {
        std::vector<double> a = inputCopy();
        std::vector<int> support = integers(2 * n);
        double const unused = 0.0;
        double const tolerance = -1.0;
        int const index = 0;
        int found = 0;
        auto const call = [&](double* work, int lwork, int* iwork, int liwork) {
            LAPACK_dsyevr("V", "A", "L", &n, a.data(), &n, &unused, &unused, &index, &index,
                          &tolerance, &found, s.data(), u.data(), &n, support.data(), work, &lwork,
                          iwork, &liwork, &info);
        };
        double size = 0.0;
        int integerSize = 0;
        call(&size, -1, &integerSize, -1);
        std::vector<double> work(static_cast<std::size_t>(size));
        std::vector<int> iwork = integers(integerSize);
        call(work.data(), static_cast<int>(size), iwork.data(), integerSize);
    }
    bool isRight() const
    {
        Matrix D(n, n);
        D.setDiagVector(v);
        return isClose(M * D * M.transpose(), A);
    }
};

struct Cholesky : Square {
    using Square::Square;
    void ours() { posDefDecomp(A, M); }
    void raw()
    {
        copyInputToOutput();
        LAPACK_dpotrf("L", &n, u.data(), &n, &info);
    }
    bool isRight() const { return isClose(M.transpose() * M, A); }
};

struct CholeskyInverse : Square {
    using Square::Square;
    void ours() { posDefInverse(A, M); }
    void raw()
    {
        copyInputToOutput();
        LAPACK_dpotrf("L", &n, u.data(), &n, &info);
        LAPACK_dpotri("L", &n, u.data(), &n, &info);
    }
    bool isRight() const { return isClose(A * M, Matrix(n, n, Matrix::IDENTITY)); }
};

template <class Work>
void ours(benchmark::State& state)
{
    Work work(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        work.ours();
        benchmark::ClobberMemory();
    }
    if (!work.isRight()) state.SkipWithError("wrong result");
}

template <class Work>
void raw(benchmark::State& state)
{
    Work work(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        work.raw();
        benchmark::ClobberMemory();
    }
    if (work.info != 0) state.SkipWithError("LAPACK reports a failure");
}

void sizes(benchmark::internal::Benchmark* b)
{
    for (int const n : {3, 6, 16, 64, 256}) b->Arg(n);
}

BENCHMARK(ours<Svd>)->Name("Svd/ours")->Apply(sizes);
BENCHMARK(raw<Svd>)->Name("Svd/LAPACK")->Apply(sizes);
BENCHMARK(ours<Qr>)->Name("Qr/ours")->Apply(sizes);
BENCHMARK(raw<Qr>)->Name("Qr/LAPACK")->Apply(sizes);
BENCHMARK(ours<LuSolve>)->Name("LuSolve/ours")->Apply(sizes);
BENCHMARK(raw<LuSolve>)->Name("LuSolve/LAPACK")->Apply(sizes);
BENCHMARK(ours<LuInverse>)->Name("LuInverse/ours")->Apply(sizes);
BENCHMARK(raw<LuInverse>)->Name("LuInverse/LAPACK")->Apply(sizes);
BENCHMARK(ours<Eigen>)->Name("Eigen/ours")->Apply(sizes);
BENCHMARK(raw<Eigen>)->Name("Eigen/LAPACK")->Apply(sizes);
BENCHMARK(ours<Cholesky>)->Name("Cholesky/ours")->Apply(sizes);
BENCHMARK(raw<Cholesky>)->Name("Cholesky/LAPACK")->Apply(sizes);
BENCHMARK(ours<CholeskyInverse>)->Name("CholeskyInverse/ours")->Apply(sizes);
BENCHMARK(raw<CholeskyInverse>)->Name("CholeskyInverse/LAPACK")->Apply(sizes);

}  // namespace
