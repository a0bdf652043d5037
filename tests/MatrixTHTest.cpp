#include "math/MatrixTH.h"

#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <type_traits>

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

MatrixTH const sample(VectorR(0.3, -1.2, 2.0), Vector::of({5, -6, 7}));

std::vector<Vector> randomPoints(int count)
{
    return RandomData(31).vectors(count, 3);
}

std::vector<Vector> mapped(MatrixTH const& T, double scale, std::vector<Vector> points)
{
    MatrixTH scaled = T;
    scaled.setMatrixRot(MatrixR(scale * T.getMatrixRot()));
    scaled.mapPoints(points);
    return points;
}

// Columns `first` to `first` + 2 of the lines from `start` on.
std::vector<Vector> pointsOf(std::vector<std::vector<double>> const& rows, std::size_t start,
                             std::size_t first)
{
    std::vector<Vector> points;
    for (std::size_t i = start; i < rows.size(); ++i) points.emplace_back(&rows[i][first], 3);
    return points;
}

TEST(MatrixTH, HoldsRotationAndTranslationOfEveryForm)
{
    Vector const t = Vector::of({1, -2, 3});
    for (auto const& [r, R, q, e] : knownRotations()) {
        MatrixTH const made[] = {{MatrixR(R), t},
                                 {Euler(e), t},
                                 {Quaternion(q), t},
                                 {VectorR(r), t},
                                 {e[0], e[1], e[2], 1, -2, 3}};
        for (MatrixTH const& T : made) {
            for (MatrixR const& back : {T.getMatrixRot(), MatrixR(T.getEuler()),
                                        MatrixR(T.getVectorR()), MatrixR(T.getQuaternion())})
                EXPECT_LT(ulps(back, R), 32);  // two conversions and the rounding of the reference
            EXPECT_EQ(T.getVectorPos(), t);
            EXPECT_EQ(T.getRowVector(3), Vector::of({0, 0, 0, 1}));
            MatrixTH assigned;
            assigned = static_cast<Matrix const&>(T);
            EXPECT_TRUE(isNear(assigned, T, 0) && isNear(MatrixTH(T.begin()), T, 0));
        }
    }
}

TEST(MatrixTH, ComposesAndInvertsAsItMapsPoints)
{
    MatrixTH const other(1, 2, 3, -1, 0.5, 2);
    Vector const p = Vector::of({0.2, -3, 4});
    static_assert(std::is_same_v<decltype(sample * other), MatrixTH>);
    EXPECT_TRUE((sample * other).mapPoint(p).equals(sample.mapPoint(other.mapPoint(p)), 1e-14));
    EXPECT_TRUE((sample * Vector::of({0.2, -3, 4, 1}))(0, 3).equals(sample.mapPoint(p), 1e-14));

    Matrix m = sample;
    m.setRowVector(3, Vector::of({9, 8, 7, 6}));
    MatrixTH T(m);
    Matrix& viaBase = T;
    EXPECT_EQ(&viaBase.invert(), &T);
    EXPECT_EQ(T.getRowVector(3), m.getRowVector(3)) << "the bottom row is never touched";
    EXPECT_TRUE(isNear(T(0, 0, 3, 4), sample.inverse()(0, 0, 3, 4), 0));
    EXPECT_TRUE(isNear(sample * sample.inverse(), MatrixTH(), 1e-14));
    EXPECT_TRUE(isNear(MatrixTH(0, 0, 0, 1, 2, 3).inverse(), MatrixTH(0, 0, 0, -1, -2, -3), 0));
}

TEST(MatrixTH, MapsManyPointsAsOne)
{
    for (int const count : {0, 1, 2, 65}) {
        std::vector<Vector> const points = randomPoints(count);
        std::vector<Vector> const images = mapped(sample, 1, points);
        std::vector<double> packed(1, nan);
        for (Vector const& p : points) packed.insert(packed.end(), p.begin(), p.end());
        packed.push_back(nan);
        sample.mapPoints(packed.data() + 1, points.size());
        for (std::size_t i = 0; i < points.size(); ++i) {
            Vector const expected = sample.mapPoint(points[i]);
            EXPECT_TRUE(images[i].equals(expected, 1e-14));
            EXPECT_TRUE(Vector(&packed[1 + 3 * i], 3).equals(expected, 1e-14));
        }
        EXPECT_TRUE(std::isnan(packed.front()) && std::isnan(packed.back())) << "nothing beyond";
    }
}

TEST(MatrixTHFrame, ThreePointsGiveARightHandedFrame)
{
    MatrixTH T = sample;
    T.init(Vector::of({1, 1, 1}), Vector::of({2, 1, 1}), Vector::of({1, 5, 1}));
    EXPECT_TRUE(isNear(T, MatrixTH(0, 0, 0, 1, 1, 1), 0));
    for (double const height : {1.0, 1e-3, 1e-9}) {  // down to almost collinear points
        T.init(sample.mapPoint(Vector(3)), sample.mapPoint(Vector::of({3, 0, 0})),
               sample.mapPoint(Vector::of({-20, height, 0})));
        EXPECT_TRUE(isNear(T, sample, 1e-13 / height)) << height;
        Matrix const R = T.getMatrixRot();
        EXPECT_LT(ulps(R.transpose() * R, MatrixR()), 4) << height;
    }
    T.init(Vector(3), Vector(3), Vector::of({1, 2, 3}));
    EXPECT_TRUE(std::isnan(T[0][0]));
}

TEST(MatrixTHRegistration, AgreesWithReferenceValuesFarFromTheOrigin)
{
    auto const rows = readReference("registration.csv");
    std::vector<double> const& expected = rows[0];
    std::vector<Vector> const a = pointsOf(rows, 1, 0), b = pointsOf(rows, 1, 3);
    for (bool const noScale : {false, true}) {
        MatrixTH T;
        double const s = T.init(a.data(), b.data(), a.size(), nullptr, noScale);
        EXPECT_NEAR(s, noScale ? 1 : expected[0], 1e-15);
        EXPECT_LT(ulps(T.getMatrixRot(), Matrix(&expected[1], 3, 3)), 8);
        EXPECT_LT(ulps(T.getVectorPos(), Vector(&expected[noScale ? 13 : 10], 3), 6e6), 8);
    }
}

TEST(MatrixTHRegistration, RecoversEveryRotationAndScale)
{
    constexpr double inputRounding = 1e-14;  // 2^-52 of distances up to 6, a dozen times
    Vector const t = Vector::of({1, -2, 3});
    std::vector<Vector> const triangle = {Vector::of({1, 0, 0}), Vector::of({0, 1, 0}),
                                          Vector::of({0, 0, 1})};
    std::vector<Vector> flat = randomPoints(20);
    for (Vector& p : flat) p[2] = 0;
    for (auto const& [r, R, q, e] : knownRotations())
        for (auto const& a : {triangle, flat, randomPoints(4), randomPoints(200)})
            for (double const scale : {1.0, 2.0, 0.2}) {
                std::vector<Vector> const b = mapped(MatrixTH(MatrixR(R), t), scale, a);
                MatrixTH T;
                EXPECT_NEAR(T.init(a.data(), b.data(), a.size(), nullptr, scale == 1), scale,
                            inputRounding);
                EXPECT_TRUE(isNear(T.getMatrixRot(), R, inputRounding / scale));
                EXPECT_TRUE(isNear(T.getVectorPos(), t, inputRounding));
            }
}

TEST(MatrixTHRegistration, MirroredSetsGiveProperRotations)
{
    // The mirror image of a box fits best when its longest axes do.
    std::vector<Vector> box;
    for (double const side : {-1.0, 1.0})
        for (int const axis : {0, 1, 2}) {
            box.emplace_back(3);
            box.back()[axis] = side * (3 - axis);
        }
    std::vector<Vector> mirrored = box;
    for (Vector& p : mirrored) p[0] = -p[0];
    MatrixTH T;
    T.init(box.data(), mirrored.data(), box.size(), nullptr, true);
    EXPECT_TRUE(isNear(T, MatrixTH(VectorR(0, std::numbers::pi, 0), Vector(3)), 1e-14));
}

TEST(MatrixTHRegistration, ReadsOnlyTheUsedPairs)
{
    std::vector<Vector> a = randomPoints(300);
    std::vector<Vector> b = mapped(sample, 1, a);
    auto const used = std::make_unique<bool[]>(a.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        used[i] = i > 140 && i % 3 == 0;
        if (used[i]) continue;
        a[i] = Vector::of({nan, nan, nan});
        b[i] = Vector();
    }
    MatrixTH T;
    EXPECT_EQ(T.init(a.data(), b.data(), a.size(), used.get(), true), 1);
    EXPECT_TRUE(isNear(T, sample, 1e-14));
}

TEST(MatrixTHRegistration, ReproducesAPublishedDatumTransformation)
{
    auto const rows = readReference("datum_stations.csv");
    std::vector<Vector> const local = pointsOf(rows, 0, 0), wgs84 = pointsOf(rows, 0, 3);
    MatrixTH T;
    double const s = T.init(local.data(), wgs84.data(), local.size(), nullptr, false);

    // The rotation does not depend on the scale: every published digit. Their scale minimises the
    // residuals where ours is the ratio of spreads: 9e-12 apart, which moves t by 4e6 m times that.
    double const arcSecond = std::numbers::pi / 180 / 3600;
    EXPECT_TRUE((T.getVectorR() / arcSecond).equals(Vector::of({0.9985, -0.8937, -0.9931}), 1e-4));
    EXPECT_NEAR(s - 1, 5.5825198e-6, 1e-11);
    EXPECT_TRUE(T.getVectorPos().equals(Vector::of({641.8804, 68.6553, 416.3982}), 1e-4));
}

TEST(MatrixTHPrincipalAxes, AgreeWithReferenceValuesFarFromTheOrigin)
{
    auto const rows = readReference("principal_axes.csv");
    std::vector<double> const& expected = rows[0];
    std::vector<Vector> const points = pointsOf(rows, 1, 0);
    Matrix const axes(&expected[15], 3, 3);
    for (std::size_t const index : {0u, 1u, 2u, 7u, 299u}) {
        MatrixTH T;
        Vector values;
        T.init(points.data(), points.size(), values, index);
        EXPECT_LT(ulps(values, Vector(&expected[12], 3), expected[14]), 16);
        EXPECT_EQ(T.getVectorPos(), Vector(&expected[0], 3));
        Vector const inFrame = MatrixTH(T.inverse()).mapPoint(points[index]);
        EXPECT_TRUE(inFrame[0] > 0 && inFrame[1] > 0) << "towards the given point";
        EXPECT_NEAR(T.getMatrixRot().determinant3x3(), 1, 1e-14) << "right-handed";
        for (int const i : {0, 1, 2}) {
            Vector const axis = axes.getColVector(2 - i), actual = T.getColVector(i)(0, 3);
            EXPECT_LT(std::min(ulps(actual, axis), ulps(-actual, axis)), 64) << i;
        }
    }
}

TEST(MatrixTH, MisuseLeavesTheTransform)
{
    std::vector<Vector> a = randomPoints(4), mixed = {a[0], Vector(2)};
    std::vector<Vector> const same(4, a[0]);
    Vector const *const p = a.data(), *const q = same.data();
    bool const two[] = {true, false, true, false};
    Vector values = Vector::of({7});
    MatrixTH T = sample;
    char const* const tooFew = "Number of matched points must exceed or equal 3";
    char const* const badSize = "Bad vector dimensions";
    char const* const eigenFailed = "Eigen Values/Vectors computation failed";
    EXPECT_MATH_ERROR(MatrixTH(Matrix(3, 4)), "Bad matrix dimesions");
    EXPECT_MATH_ERROR(T = Matrix(5, 5), "Bad matrix dimesions");
    EXPECT_MATH_ERROR(T.mapPoint(Vector(4)), badSize);
    EXPECT_MATH_ERROR(T.mapPoints(mixed), badSize);
    EXPECT_EQ(mixed[0], a[0]);
    EXPECT_MATH_ERROR(T.init(Vector(2), Vector(2), Vector(2)), badSize);
    EXPECT_MATH_ERROR(T.init(p, p, 4, two, true), tooFew);
    EXPECT_MATH_ERROR(T.init(p, p, 2u, nullptr, true), tooFew);
    EXPECT_MATH_ERROR(T.init(p, p, -5, two, true), tooFew);
    EXPECT_MATH_ERROR(T.init(q, p, 4, nullptr, false),
                      "Matched points coincide, scale is undefined");
    EXPECT_MATH_ERROR(T.init(p, 2, values, 0), "Vector number must exceed or equal 3");
    EXPECT_MATH_ERROR(T.init(p, 4, values, 4), "Bad index value");
    EXPECT_MATH_ERROR(T.init(p, 4u, values, -1), "Bad index value");
    a[3] = Vector(4);
    EXPECT_MATH_ERROR(T.init(q, p, 4, nullptr, true), badSize);
    EXPECT_MATH_ERROR(T.init(p, 4, values, 0), badSize);
    EXPECT_EQ(values, Vector::of({7}));
    a[3] = Vector::of({1, 2, nan});
    EXPECT_MATH_ERROR(T.init(p, q, 4, nullptr, true), eigenFailed);
    EXPECT_MATH_ERROR(T.init(p, 4, values, 0), eigenFailed);
    EXPECT_EQ(values, Vector(3)) << "zeros of the failed decomposition";
    EXPECT_TRUE(isNear(T, sample, 0));

    T.initMatrix(Matrix(2, 2));
    EXPECT_MATH_ERROR(T.getVectorPos(), "Invalid index value");
    EXPECT_MATH_ERROR(T.invert(), "Invalid index value");
    EXPECT_MATH_ERROR(T.init(Vector(3), Vector(3), Vector(3)), "Invalid index value");
}

}  // namespace
