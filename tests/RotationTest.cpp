#include "math/Rotation.h"

#include "support/HeapCounter.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

namespace {

using std::numbers::pi;

Matrix const identity(3, 3, Matrix::IDENTITY);

// In ulp: what the page of accuracy says of a conversion, and some more for products of three.
constexpr double conversion = 3.0, tolerance = 8.0;

// Modulo full turns; the angles about z and x are as well determined as cos e1 is large.
double eulerError(Vector const& actual, Vector const& expected)
{
    Vector difference(3);
    for (int i = 0; i < 3; ++i) difference[i] = std::remainder(actual[i] - expected[i], 2 * pi);
    return ulps(difference, Vector(3), pi / std::cos(expected[1]));
}

double errorUpToSign(Vector const& actual, Vector const& expected)
{
    return std::min(ulps(actual, expected), ulps(-actual, expected)) / expected.length();
}

TEST(Rotation, ConversionsAgreeWithReferenceValues)
{
    for (auto const& [r, R, q, e] : knownRotations()) {
        SCOPED_TRACE(testing::PrintToString(toStlVector(r)));
        Matrix M = identity;
        vectToMatrix(r, M);
        EXPECT_LT(ulps(M, R), conversion);
        quatToMatrix(3.0 * q, M);
        EXPECT_LT(ulps(M, R), conversion);
        eulerToMatrix(e, M);
        EXPECT_LT(ulps(M, R), conversion);

        Vector v(3), p(4);
        matrixToEuler(R, v);
        EXPECT_LT(eulerError(v, e), conversion);
        matrixToQuat(R, p);
        EXPECT_LT(errorUpToSign(p, q), conversion);
        matrixToVect(R, v);
        double const theta = r.length();
        if (theta == 0) {
            EXPECT_EQ(v, r);
            continue;
        }
        bool const isHalfTurn = theta > pi - 1e-15;  // rounded, its axis has no sign
        EXPECT_LT(isHalfTurn ? errorUpToSign(v, r) : ulps(v, r, theta), conversion);
        vectToQuat(theta, r / theta, p);
        EXPECT_LT(ulps(p, q), conversion);
        double angle = 0;
        quatToVect(2.0 * q, angle, v);
        EXPECT_LT(ulps(angle * v, r, theta), conversion);
    }
}

TEST(Rotation, ExactHalfAndThirdTurnsTakeTheirBranches)
{
    double const a = pi / std::sqrt(2.0);
    double const h = std::sqrt(0.5);
    double const t = 2 * pi / std::sqrt(27.0);
    struct {
        double R[9], r[3], q[4];
    } const turns[] = {
        {{1, 0, 0, 0, -1, 0, 0, 0, -1}, {-pi, 0, 0}, {0, 1, 0, 0}},  // the axis is negative
        {{-1, 0, 0, 0, 1, 0, 0, 0, -1}, {0, -pi, 0}, {0, 0, 1, 0}},
        {{-1, 0, 0, 0, -1, 0, 0, 0, 1}, {0, 0, -pi}, {0, 0, 0, 1}},
        {{0, -1, 0, -1, 0, 0, 0, 0, -1}, {-a, a, 0}, {0, h, -h, 0}},     // ties: x before y in r,
        {{0, 0, -1, 0, -1, 0, -1, 0, 0}, {a, 0, -a}, {0, -h, 0, h}},     // z before x in both,
        {{-1, 0, 0, 0, 0, -1, 0, -1, 0}, {0, -a, a}, {0, 0, -h, h}},     // y before z in r only
        {{0, 1, 0, 0, 0, 1, 1, 0, 0}, {-t, -t, -t}, {-.5, .5, .5, .5}},  // z before q0
    };
    for (auto const& [R, r, q] : turns) {
        Vector v(3), p(4);
        matrixToVect(Matrix(R, 3, 3), v);
        EXPECT_LT(ulps(v, Vector(r, 3), pi), 4) << v << " expected " << Vector(r, 3);
        matrixToQuat(Matrix(R, 3, 3), p);
        EXPECT_LT(ulps(p, Vector(q, 4)), 4) << p << " expected " << Vector(q, 4);
    }
}

TEST(Rotation, MatrixToEulerTreatsOnlyExactGimbalLock)
{
    for (double const sign : {1.0, -1.0}) {
        double const s = std::sin(0.3), c = std::cos(0.3);
        Matrix R = Matrix::of({{0, sign * s, sign * c}, {0, c, -s}, {-sign, 0, 0}});
        Vector e = Vector::of({7, 7, 7});
        matrixToEuler(R, e);
        EXPECT_TRUE(e.equals(Vector::of({0, sign * pi / 2, 0.3}), 1e-15)) << e;
        R[0][0] = -1e-300;
        matrixToEuler(R, e);
        EXPECT_TRUE(e.equals(Vector::of({pi, sign * pi / 2, 0.3 - pi}), 1e-15)) << e;
    }
}

TEST(Rotation, AzimuthElevationRollTurnAboutZXZ)
{
    RandomData random(12);
    for (int i = 0; i < 300; ++i) {
        Vector a = random.vector(3, -pi / 2, 3 * pi / 2);
        a[1] = random.uniform(-1.5, 1.5);
        Matrix R = identity, aboutZ = identity, aboutX = identity, aboutZFirst = identity;
        azElRoToMatrix(a, R);
        eulerToMatrix(Vector::of({a[0], 0, 0}), aboutZ);
        eulerToMatrix(Vector::of({0, 0, pi / 2 + a[1]}), aboutX);
        eulerToMatrix(Vector::of({a[2], 0, 0}), aboutZFirst);
        EXPECT_LT(ulps(R, aboutZ * aboutX * aboutZFirst), tolerance);
        // Arcsines lose digits where azimuth or roll are near ±π/2, and all near the pole.
        double const c = std::cos(a[0]) * std::cos(a[2]) * std::pow(std::cos(a[1]), 2);
        Vector back(3);
        matrixToAzElRo(R, back);
        EXPECT_LT(ulps(back, a, 1 / std::abs(c)), tolerance);
    }
    Vector pole(3);
    matrixToAzElRo(Matrix::of({{1, 0, 0}, {0, 1, 0}, {0, 0, std::nextafter(1.0, 2.0)}}), pole);
    EXPECT_EQ(pole[1], -pi / 2) << "rounding beyond 1 gives no NaN";
}

TEST(Rotation, JacobiansAgreeWithReferenceValues)
{
    for (auto const& row : readReference("jacobians.csv")) {
        Vector const e(&row[0], 3), p(&row[3], 3);
        Matrix const ofInverse(&row[15], 3, 3);
        Matrix J(3, 3);
        dRotdEuler(e, p, J);
        EXPECT_LT(ulps(J, Matrix(&row[6], 3, 3), p.length()), tolerance);
        dEulerRotInvdEulerRot(e, J);  // worse near its singularity, which shows in its size
        double const size = std::pow(ofInverse.frobeniusNorm(), 2);
        EXPECT_LT(ulps(J, ofInverse, size), tolerance);
    }
}

TEST(Rotation, DegenerateInputsGiveTheirFixedResults)
{
    double angle = -1;
    Vector v(3);
    quatToVect(Vector::of({1, 0, 0, 0}), angle, v);
    EXPECT_EQ(angle, 0);
    EXPECT_EQ(v, Vector::of({0, 1, 0}));
    quatToVect(Vector::of({1, 3e-170, 0, 4e-170}), angle, v);
    EXPECT_DOUBLE_EQ(angle, 1e-169) << "the squares of the vector part underflow";

    Matrix R = Matrix::of({{7, 7, 7}, {7, 7, 7}, {7, 7, 7}});
    vectToMatrix(Vector(3), R);
    EXPECT_TRUE(isNear(R, Matrix::of({{1, 7, 7}, {7, 1, 7}, {7, 7, 1}}), 0)) << R;
    quatToMatrix(Vector(4), R);
    EXPECT_TRUE(isNear(R, identity, 0)) << R;
    R[0][0] = -1;
    R[1][1] = std::numeric_limits<double>::quiet_NaN();
    Vector q = Vector::of({1, 2, 3, 4});
    matrixToQuat(R, q);
    EXPECT_EQ(q, Vector::of({1, 2, 3, 4})) << "no branch applies";
}

TEST(Rotation, OutputsAreWrittenInPlaceAndMayBeTheInput)
{
    Matrix transform(4, 4, Matrix::IDENTITY);
    transform[0][3] = 5;
    Vector q = Vector::of({0.5, 0.5, 0.5, 0.5});
    Matrix const sharer = transform;
    Vector const sharerOfQ = q;
    Vector const e = Vector::of({pi / 2, 0, 0});
    double angle = 0;

    HeapCounter heap;
    eulerToMatrix(e, transform);
    quatToVect(q, angle, q);
    EXPECT_LE(heap.blocks(), 2u) << "two private copies";

    EXPECT_TRUE(isNear(
        transform, Matrix::of({{0, -1, 0, 5}, {1, 0, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}), 1e-15));
    EXPECT_TRUE((std::sqrt(3.0) * q(0, 3)).equals(Vector::of({1, 1, 1}), 1e-15)) << q;
    EXPECT_EQ(sharer[0][0] + sharerOfQ[0], 1.5) << "sharers keep their values";
}

}  // namespace
