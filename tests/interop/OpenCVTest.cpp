#include "math/interop/OpenCV.h"

#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

using measuremath::asOpenCV;
using measuremath::toMatrix;

TEST(OpenCV, ViewsReadInPlaceInRowMajorOrder)
{
    RandomData random(1);
    for (auto const& [rows, cols] : {std::pair{0, 0}, {1, 1}, {1, 4}, {4, 1}, {3, 5}, {6, 2}}) {
        Matrix const m = random.matrix(rows, cols);
        auto const view = asOpenCV(m);
        ASSERT_EQ(view.rows, rows);
        ASSERT_EQ(view.cols, cols);
        EXPECT_EQ(view.ptr<double>(), m.begin());
        for (int r = 0; r < rows; ++r) {
            for (int c = 0; c < cols; ++c) EXPECT_EQ(view(r, c), m[r][c]);
        }
    }
    Vector const v = random.vector(5);
    EXPECT_EQ(asOpenCV(v)(4, 0), v[4]);
    EXPECT_EQ(asOpenCV(v).cols, 1);
}

TEST(OpenCV, WritingThroughAViewLeavesThoseThatSharedAlone)
{
    Matrix m = Matrix::of({{1, 2, 3}, {4, 5, 6}});
    Matrix const shared = m;
    asOpenCV(m).col(1) *= 10.0;
    EXPECT_EQ(m, Matrix::of({{1, 20, 3}, {4, 50, 6}}));
    EXPECT_EQ(shared, Matrix::of({{1, 2, 3}, {4, 5, 6}}));

    // An output of the right shape and type is filled in place.
    Matrix product(2, 2);
    cv::gemm(asOpenCV(shared), asOpenCV(shared), 1.0, cv::noArray(), 0.0, asOpenCV(product),
             cv::GEMM_2_T);
    EXPECT_EQ(product, Matrix::of({{14, 32}, {32, 77}}));
}

TEST(OpenCV, ArraysOfAnyTypeAndStepBecomeOurs)
{
    cv::Mat_<unsigned char> const image =
        (cv::Mat_<unsigned char>(3, 3) << 1, 2, 3, 4, 5, 6, 7, 8, 255);
    EXPECT_EQ(toMatrix(image(cv::Rect(1, 1, 2, 2))), Matrix::of({{5, 6}, {8, 255}}));
    EXPECT_EQ(measuremath::toVector(image.col(2)), Vector::of({3, 6, 255}));
    EXPECT_EQ(measuremath::toVector(image.row(0)), Vector::of({1, 2, 3}));
    EXPECT_EQ(toMatrix(cv::Mat()).getLength(), 0);

    std::vector<cv::Point3d> const points = {{1, 2, 3}, {4, 5, 6}};
    Matrix const rows = Matrix::of({{1, 2, 3}, {4, 5, 6}});
    EXPECT_EQ(toMatrix(points), rows);
    EXPECT_EQ(toMatrix(cv::Mat(points)), rows);
    EXPECT_EQ(measuremath::toVector(cv::Mat(points).row(1)), Vector::of({4, 5, 6}));
}

TEST(OpenCV, ShapesThatAreNoneOfOursAreRefused)
{
    int const cube[] = {2, 2, 2};
    EXPECT_MATH_ERROR(toMatrix(cv::Mat(3, cube, CV_64F)), "Bad matrix dimensions");
    EXPECT_MATH_ERROR(toMatrix(cv::Mat(2, 2, CV_8UC3)), "Bad matrix dimensions");
    EXPECT_MATH_ERROR(measuremath::toVector(cv::Mat::zeros(2, 2, CV_32F)), "Bad vector dimensions");
}

}  // namespace
