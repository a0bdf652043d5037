#include "math/interop/Eigen.h"

#include "support/RandomData.h"
#include "support/ReferenceValues.h"

#include <gtest/gtest.h>
#include <Eigen/QR>

#include <utility>

namespace {

using measuremath::asEigen;
using measuremath::toMatrix;

constexpr double tolerance = 1e-13;  // some products of numbers below 1, far from ill-conditioned

TEST(Eigen, MapsReadInPlaceInRowMajorOrder)
{
    RandomData random(1);
    for (auto const& [rows, cols] : {std::pair{0, 0}, {1, 1}, {1, 4}, {4, 1}, {3, 5}, {6, 2}}) {
        Matrix const m = random.matrix(rows, cols);
        auto const map = asEigen(m);
        EXPECT_EQ(map.data(), m.begin());
        ASSERT_EQ(map.rows(), rows);
        ASSERT_EQ(map.cols(), cols);
        for (int r = 0; r < rows; ++r) {
            for (int c = 0; c < cols; ++c) EXPECT_EQ(map(r, c), m[r][c]);
        }
    }
    Vector const v = random.vector(5);
    EXPECT_EQ(asEigen(v).data(), v.begin());
    EXPECT_EQ(asEigen(v).size(), 5);
}

TEST(Eigen, WritingThroughAMapLeavesThoseThatSharedAlone)
{
    Matrix m = Matrix::of({{1, 2, 3}, {4, 5, 6}});
    Matrix const sharedMatrix = m;
    asEigen(m).col(1) *= 10.0;
    EXPECT_EQ(m, Matrix::of({{1, 20, 3}, {4, 50, 6}}));
    EXPECT_EQ(sharedMatrix, Matrix::of({{1, 2, 3}, {4, 5, 6}}));

    Vector v = Vector::of({1, 2});
    Vector const sharedVector = v;
    asEigen(v) << 7, 8;
    EXPECT_EQ(v, Vector::of({7, 8}));
    EXPECT_EQ(sharedVector, Vector::of({1, 2}));
}

TEST(Eigen, ExpressionsOfEitherStorageOrderBecomeOurs)
{
    Eigen::MatrixXd const columnMajor = Eigen::MatrixXd::Random(3, 4);
    Matrix const m = toMatrix(columnMajor);
    EXPECT_EQ(m[2][1], columnMajor(2, 1));
    Matrix const gram = toMatrix(columnMajor.transpose() * columnMajor);
    Matrix mt = m;
    EXPECT_TRUE(isNear(gram, mt.transpose() * m, tolerance));

    EXPECT_EQ(measuremath::toVector(columnMajor.col(2)), m.getColVector(2));
    EXPECT_EQ(measuremath::toVector(columnMajor.row(1) * 2.0), m.getRowVector(1) * 2.0);
    EXPECT_TRUE(measuremath::toVector(Eigen::VectorXd()).empty());
    EXPECT_EQ(toMatrix(Eigen::MatrixXd(0, 3)).getCol(), 3);
}

TEST(Eigen, SolvesOurSystemInPlace)
{
    RandomData random(2);
    Matrix const A = random.matrix(8, 8);
    Vector const b = random.vector(8);
    Vector const x = measuremath::toVector(asEigen(A).householderQr().solve(asEigen(b)));
    EXPECT_LT((A * x - b).length(), tolerance * b.length());
}

}  // namespace
