#include "math/LinearAlgebra.h"

#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

constexpr double epsilon = std::numeric_limits<double>::epsilon();

// Bounds on residuals that are scaled by the norm, the size and the epsilon, as LAPACK's own test
// programs use them; correct routines stay far below, a wrong digit exceeds them by far.
constexpr double tolerance = 30.0;
constexpr double eigenTolerance = 60.0;

Matrix diagonal(Vector const& d)
{
    Matrix result(d.size(), d.size());
    result.setDiagVector(d);
    return result;
}

// |actual - expected| in units of the rounding of a sum over the larger dimension of `expected`.
double scaledDifference(Matrix const& actual, Matrix const& expected)
{
    double const difference = (actual - expected).frobeniusNorm();
    double const scale = expected.frobeniusNorm() * std::max(expected.getRow(), expected.getCol());
    return scale == 0.0 ? difference / epsilon : difference / scale / epsilon;
}

double orthonormalityError(Matrix const& Q)
{
    return scaledDifference(Q.transpose() * Q, Matrix(Q.getCol(), Q.getCol(), Matrix::IDENTITY));
}

// Backward error of a solution of A · x = b.
double scaledResidual(Matrix const& A, Vector const& x, Vector const& b)
{
    double const scale = A.frobeniusNorm() * x.length() + b.length();
    double const residual = (A * x - b).length();
    return scale == 0.0 ? residual / epsilon : residual / (scale * A.getRow()) / epsilon;
}

Matrix symmetric(Matrix const& A)
{
    return 0.5 * (A + A.transpose());
}

struct Case {
    std::string name;
    Matrix A;
};

// Five gradings of one matrix, the last two over twelve orders of magnitude.
void addGradings(std::vector<Case>& cases, Matrix const& A, RandomData& random)
{
    auto const grades = [&random](int n) {
        Vector result(n);
        for (double& grade : result) grade = std::pow(10.0, random.uniform(-6.0, 6.0));
        return diagonal(result);
    };
    std::string const shape = std::to_string(A.getRow()) + " x " + std::to_string(A.getCol());
    cases.push_back({shape, A});
    cases.push_back({shape + " tiny", A * 1e-150});
    cases.push_back({shape + " huge", A * 1e150});
    cases.push_back({shape + " graded rows", grades(A.getRow()) * A});
    cases.push_back({shape + " graded columns", A * grades(A.getCol())});
}

std::vector<Case> squareCases()
{
    RandomData random(11);
    std::vector<Case> cases;
    for (int const n : {1, 2, 3, 4, 7, 16, 33, 60}) addGradings(cases, random.matrix(n, n), random);
    return cases;
}

TEST(LinearAlgebra, LuSolvesTheSystem)
{
    for (auto const& [name, A] : squareCases()) {
        SCOPED_TRACE(name);
        Vector const b = A * RandomData(12).vector(A.getRow());
        Vector x(A.getRow());
        ASSERT_TRUE(luSolve(A, b, x));
        EXPECT_LT(scaledResidual(A, x, b), tolerance);
    }
}

TEST(LinearAlgebra, LuInverseIsARightInverse)
{
    for (auto const& [name, A] : squareCases()) {
        SCOPED_TRACE(name);
        int const n = A.getRow();
        Matrix inverse(n, n);
        ASSERT_TRUE(luInverse(A, inverse));
        double const error = (A * inverse - Matrix(n, n, Matrix::IDENTITY)).frobeniusNorm();
        double const scale = n * A.frobeniusNorm() * inverse.frobeniusNorm();
        EXPECT_LT(error / scale / epsilon, tolerance);

        Matrix inPlace = A;
        ASSERT_TRUE(luInverse(inPlace));
        EXPECT_TRUE(std::equal(inverse.cbegin(), inverse.cend(), inPlace.cbegin()));
    }
}

TEST(LinearAlgebra, EigenvectorsDiagonaliseASymmetricMatrix)
{
    for (auto const& [name, square] : squareCases()) {
        SCOPED_TRACE(name);
        Matrix const A = symmetric(square);
        Vector values(A.getRow());
        Matrix vectors(A.getRow(), A.getRow());
        ASSERT_TRUE(eigenValuesVectors(A, values, vectors));
        EXPECT_TRUE(std::is_sorted(values.cbegin(), values.cend()));
        EXPECT_LT(orthonormalityError(vectors), eigenTolerance);
        EXPECT_LT(scaledDifference(vectors * diagonal(values) * vectors.transpose(), A),
                  eigenTolerance);
    }
}

}  // namespace
