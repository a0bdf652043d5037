#include "math/Matrix.h"

#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>

namespace {

void expectSame(Matrix const& actual, Matrix const& expected)
{
    EXPECT_EQ(actual.getRow(), expected.getRow());
    EXPECT_EQ(actual.getCol(), expected.getCol());
    EXPECT_TRUE(isNear(actual, expected, 0)) << actual << "expected\n" << expected;
}

TEST(Matrix, InitialContents)
{
    expectSame(Matrix(2, 3, Matrix::IDENTITY), Matrix::of({{1, 0, 0}, {0, 1, 0}}));
    expectSame(Matrix(2U, 2, Matrix::ZERO), Matrix::of({{0, 0}, {0, 0}}));
    expectSame(Matrix(3, 2, Matrix::NO_INIT).setIdentity(), Matrix::of({{1, 0}, {0, 1}, {0, 0}}));
    Matrix const m = Matrix::of({{1, 2, 3}, {4, 5, 6}});
    expectSame(Matrix().initMatrix(m.begin(), 3, 2), Matrix::of({{1, 2}, {3, 4}, {5, 6}}));
    EXPECT_NE(Matrix().initMatrix(m).cbegin(), m.cbegin());
    EXPECT_MATH_ERROR(Matrix::of({{1, 2}, {3}}), "Bad matrix dimensions");
}

TEST(Matrix, ProductsOfAllShapesMatchTheDefinition)
{
    RandomData random(1);
    int const sizes[] = {0, 1, 2, 3, 4, 5, 11, 12, 13, 40};
    for (int const m : sizes) {
        for (int const k : sizes) {
            for (int const n : sizes) {
                SCOPED_TRACE(testing::Message() << m << " x " << k << " x " << n);
                Matrix const a = random.matrix(m, k), b = random.matrix(k, n);
                Matrix expected(m, n);
                for (int i = 0; i < m * n; ++i) {
                    long double sum = 0.0L;
                    for (int l = 0; l < k; ++l)
                        sum += static_cast<long double>(a[i / n][l]) * b[l][i % n];
                    expected[i / n][i % n] = static_cast<double>(sum);
                }
                double const tolerance = k * 2.2e-16;  // one rounding a term of magnitude 1
                Matrix const c = a * b;
                ASSERT_EQ(c.getRow(), m);
                ASSERT_TRUE(isNear(c, expected, tolerance));
                if (n == 0) continue;
                Vector const v = a * b.getColVector(n - 1);
                ASSERT_TRUE(isNear(v, expected.getColVector(n - 1), tolerance));
            }
        }
    }
}

TEST(Matrix, MultiplyAssignWritesInPlaceAlsoByItself)
{
    RandomData random(2);
    for (int const n : {1, 2, 3, 4, 7, 20}) {
        Matrix m = random.matrix(n, n);
        Matrix const original = m;
        Matrix const square = original * original;
        m *= m;
        expectSame(m, square);
        double const* const own = m.cbegin();
        m *= original;
        EXPECT_EQ(m.cbegin(), own);
        expectSame(m, square * original);
    }
}

TEST(Matrix, SumsAndScalars)
{
    RandomData random(3);
    for (int const n : {0, 1, 3, 8}) {
        Matrix const a = random.matrix(n, n + 1), b = random.matrix(n, n + 1);
        Matrix sum = a, difference = a;
        sum += b;
        difference -= b;
        for (Matrix const& s : {a + b, -(-a) + b, a + -(-b), -(-a) + -(-b), a - -b})
            expectSame(s, sum);
        for (Matrix const& d : {a - b, -(-a) - b, a - -(-b), -(-a) - -(-b), a + -b})
            expectSame(d, difference);
        expectSame(2.0 * a, a + a);
        expectSame(a * 2.0, a + a);
        if (n != 0) {
            EXPECT_EQ(sum[n - 1][n], a[n - 1][n] + b[n - 1][n]);
        }
    }
    Matrix const m = Matrix::of({{1, 2}, {3, 4}});
    Matrix scaled = m;
    scaled *= 1.0;
    scaled /= 0.0;
    EXPECT_EQ(scaled.cbegin(), m.cbegin());
    scaled /= 2.0;
    expectSame(scaled, Matrix::of({{0.5, 1}, {1.5, 2}}));
    expectSame(m, Matrix::of({{1, 2}, {3, 4}}));
}

TEST(Matrix, PartsAreCopiedOutAndIn)
{
    Matrix m = Matrix::of({{1, 2, 3}, {4, 5, 6}});
    EXPECT_TRUE(m.getRowVector(1) == Vector::of({4, 5, 6}));
    EXPECT_TRUE(m.getColVector(2U) == Vector::of({3, 6}));
    EXPECT_TRUE(m.getDiagVector() == Vector::of({1, 5}));
    expectSame(m(0, 1U, 2, std::size_t{2}), Matrix::of({{2, 3}, {5, 6}}));
    m.setRowVector(0, Vector::of({7, 8, 9})).setColVector(std::size_t{1}, Vector::of({-1, -2}));
    m.setDiagVector(Vector::of({0, 0.5}));
    expectSame(m, Matrix::of({{0, -1, 9}, {4, 0.5, 6}}));
    expectSame(m(0, 1, m(0, 0, 2, 2)), Matrix::of({{0, 0, -1}, {4, 4, 0.5}}));
    expectSame(m(0, 0, m), Matrix::of({{0, 0, -1}, {4, 4, 0.5}}));
}

TEST(Matrix, TransposesEveryShape)
{
    RandomData random(4);
    for (int const rows : {0, 1, 3, 16, 17, 40}) {
        for (int const cols : {0, 1, 4, 33}) {
            Matrix const m = random.matrix(rows, cols);
            Matrix expected(cols, rows), own = m;
            for (int r = 0; r < rows; ++r)
                for (int c = 0; c < cols; ++c) expected[c][r] = m[r][c];
            expectSame(m.transpose(), expected);
            expectSame(own.transposeMyself(), expected);
        }
    }
}

TEST(Matrix, DeterminantAndNorm)
{
    EXPECT_EQ(Matrix(3, 3, Matrix::IDENTITY).determinant3x3(), 1.0);
    EXPECT_EQ(Matrix::of({{2, -3, 1}, {2, 0, -1}, {1, 4, 5}}).determinant3x3(), 49.0);
    EXPECT_DOUBLE_EQ(Matrix::of({{3e200, 0}, {0, 4e200}}).frobeniusNorm(), 5e200);
    EXPECT_EQ(Matrix().frobeniusNorm(), 0.0);
}

TEST(Matrix, EqualityTestsEachElement)
{
    Matrix const zero(20, 20);
    Matrix const tenths = zero + 0.1 * Matrix(20, 20, Matrix::IDENTITY);
    EXPECT_EQ(zero.equals(tenths, 0.1), 1);
    EXPECT_EQ(zero.equals(tenths, 0.0999), 0);
    EXPECT_TRUE(zero != tenths);
    EXPECT_TRUE(tenths == tenths);
    EXPECT_EQ(zero.equals(zero * std::nan(""), 0.0), 1) << "a NaN does not count as exceeding";
}

TEST(Matrix, InvertLeavesZerosWhenSingularAndInverseLeavesTheMatrix)
{
    Matrix const m = Matrix::of({{4, 7}, {2, 6}});
    EXPECT_TRUE(isNear(m.inverse(), Matrix::of({{0.6, -0.7}, {-0.2, 0.4}}), 1e-15));
    expectSame(m, Matrix::of({{4, 7}, {2, 6}}));

    Matrix singular = Matrix::of({{1, 2}, {2, 4}});
    EXPECT_MATH_ERROR(singular.inverse(), "Singular Matrix, can't inverse");
    expectSame(singular, Matrix::of({{1, 2}, {2, 4}}));
    Matrix const sharer = singular;
    EXPECT_MATH_ERROR(singular.invert(), "Singular Matrix, can't inverse");
    expectSame(singular, Matrix(2, 2));
    expectSame(sharer, Matrix::of({{1, 2}, {2, 4}}));
    EXPECT_MATH_ERROR(Matrix(2, 3).inverse(), "Invalid matrix size, need square matrix");
}

TEST(Matrix, MisuseThrowsAndChangesNothing)
{
    Matrix m = Matrix::of({{1, 2, 3}, {4, 5, 6}});
    Matrix const sharer = m;
    Matrix const transposed(3, 2);
    char const* const badDim = "Bad matrix dimensions";
    EXPECT_MATH_ERROR(m += transposed, badDim);
    EXPECT_MATH_ERROR(m -= transposed, badDim);
    EXPECT_MATH_ERROR(m + transposed, badDim);
    EXPECT_MATH_ERROR(-m - transposed, badDim);
    EXPECT_MATH_ERROR(m + Matrix(2, 4), badDim);
    EXPECT_MATH_ERROR(m * m, badDim);
    EXPECT_MATH_ERROR(static_cast<void>(m.equals(transposed, 1.0)), badDim);
    EXPECT_MATH_ERROR(static_cast<void>(m == transposed), badDim);
    EXPECT_MATH_ERROR(m *= m, "Not a square matrix");
    EXPECT_MATH_ERROR(m * Vector(2), "Bad vector and matrix dimensions");
    EXPECT_MATH_ERROR(m.getRowVector(2), "Bad row indice");
    EXPECT_MATH_ERROR(m.getColVector(3U), "Bad column indice");
    EXPECT_MATH_ERROR(m.setRowVector(2, Vector(2)), "Bad row indice");
    EXPECT_MATH_ERROR(m.setRowVector(1, Vector(2)), "Bad vector size");
    EXPECT_MATH_ERROR(m.setColVector(3, Vector(3)), "Bad col indice");
    EXPECT_MATH_ERROR(m.setColVector(0, Vector(3)), "Bad vector size");
    EXPECT_MATH_ERROR(m.setDiagVector(Vector(3)), "Invalid diagonal vector size");
    EXPECT_MATH_ERROR(m(1, 0, 2, 1), "Bad start indices");
    EXPECT_MATH_ERROR(m(0U, 4294967295U, 1U, 2U), "Bad start indices");
    EXPECT_MATH_ERROR(m(0, 0, transposed), "Bad start indices");
    EXPECT_MATH_ERROR(m(0, 3, Matrix(1, 1)), "Bad start indices");
    EXPECT_MATH_ERROR(Matrix(3, 4).determinant3x3(), "The matrix have to be 3x3");
    EXPECT_EQ(m.cbegin(), sharer.cbegin());
    expectSame(m, Matrix::of({{1, 2, 3}, {4, 5, 6}}));
}

TEST(Matrix, PrintsARowALine)
{
    std::ostringstream text;
    text << Matrix::of({{1, -2.5}, {0, 1e10}});
    EXPECT_EQ(text.str(), "Row(1, -2.5)\nRow(0, 1e+10)\n");
}

}  // namespace
