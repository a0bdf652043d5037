#include "math/Conic.h"
#include "math/MathError.h"
#include "support/LogRecords.h"
#include "support/MathErrorExpectations.h"
#include "support/ReferenceValues.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <utility>

namespace {

constexpr double ulp = std::numeric_limits<double>::epsilon();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double pi = 3.14159265358979323846;

Vector quadOf(Vector const& cart)
{
    Vector quad;
    ellipticCartToQuadParams(cart, quad);
    return quad;
}

// Left-hand side of the ellipse's equation.
double valueAt(Vector const& q, double x, double y)
{
    return x * x + q[0] * y * y + q[1] * x * y + q[2] * x + q[3] * y + q[4];
}

struct Ellipse {
    double centre, ratio, angle;
    Vector cart() const { return Vector::of({centre, -0.7 * centre, angle, 2.0, 2.0 / ratio}); }

    // What five rounded coefficients leave of each parameter, relative to its size. The centre
    // and F = x0² + ... cost the square of their ratio to the minor axis, the axes' own ratio
    // costs its square.
    double precision() const
    {
        double const distance = centre * ratio / 2.0;
        return 32 * ulp * (distance * distance + ratio * ratio);
    }

    // Only the quadratic part counts; a nearly round ellipse has a vague angle.
    double anglePrecision() const { return 16 * ulp * (ratio + 1.0 / (ratio - 1.0)); }
};

template <class Check>
void forManyEllipses(Check check)
{
    for (double const centre : {0.0, 0.1, 1.0, 30.0, 1e3})
        for (double const ratio : {1.01, 2.0, 20.0, 1e3})
            for (int degrees = -89; degrees <= 89; degrees += 2)
                check(Ellipse{centre, ratio, degrees * pi / 180.0});
}

TEST(Conic, CoefficientsHoldForThePointsOfTheEllipseAndGiveItBack)
{
    forManyEllipses([](Ellipse const& e) {
        Vector const c = e.cart(), q = quadOf(c);
        double const size = 1.0 + std::abs(q[0]) + std::abs(q[1]);  // of the quadratic part
        for (int i = 0; i < 12; ++i) {
            double const u = c[3] * std::cos(i), v = c[4] * std::sin(i);
            double const x = c[0] + u * std::cos(c[2]) - v * std::sin(c[2]);
            double const y = c[1] + u * std::sin(c[2]) + v * std::cos(c[2]);
            double const reach = std::abs(x) + std::abs(y) + 2.0;
            EXPECT_NEAR(valueAt(q, x, y), 0.0, 8 * ulp * size * reach * reach) << c;
        }
        Vector params = q;
        ellipticQuadToCartParams(params, params);  // in place
        EXPECT_TRUE(isNear(params(0, 2), c(0, 2), e.precision() * (e.centre + 2.0))) << c;
        EXPECT_NEAR(params[2], c[2], e.anglePrecision()) << c;
        EXPECT_TRUE(isNear(params(3, 2) / c(3, 2), Vector::of({1, 1}), e.precision())) << c;
    });
}

TEST(Conic, AxesComeInOrderAndTinyCrossTermsStillTurnThemButNoneIsRefused)
{
    Vector cart(1);  // gets its size
    ellipticQuadToCartParams(quadOf(Vector::of({1, 2, 0.3 + pi, 1, 3})), cart);
    EXPECT_TRUE(cart.equals(Vector::of({1, 2, 0.3, 3, 1}), 16 * ulp)) << cart;
    ellipticQuadToCartParams(Vector::of({4, 3e-12, 0, 0, -4}), cart);
    EXPECT_NEAR(cart[2], -0.5e-12, 1e-26);  // tan 2θ = B / (1 - A)
    ellipticQuadToCartParams(Vector::of({1, 1e-20, 0, 0, -4}), cart);
    EXPECT_TRUE(cart.equals(Vector::of({0, 0, 0, 2, 2}), 4 * ulp)) << cart;

    Vector const aligned = quadOf(Vector::of({0, 0, 0, 2, 1}));
    EXPECT_EQ(aligned, Vector::of({4, 0, 0, 0, -4}));
    EXPECT_MATH_ERROR(ellipticQuadToCartParams(aligned, cart), "quadParams[1] must not be 0");
    EXPECT_TRUE(cart.equals(Vector::of({0, 0, 0, 2, 2}), 4 * ulp)) << cart;
}

TEST(Conic, DecompositionMapsTheUnitCircleOntoTheEllipse)
{
    forManyEllipses([](Ellipse const& e) {
        if (e.precision() > 1e-3) return;  // nothing to see at the fourth digit
        Vector const q = quadOf(e.cart());
        Matrix T(1, 1), R, S(5, 2);
        ellipseDecomposition(q, T, R, S);

        EXPECT_TRUE(isNear(R.transpose() * R, Matrix(3, 3, Matrix::IDENTITY), 8 * ulp));
        EXPECT_NEAR(R.determinant3x3(), 1.0, 8 * ulp);
        EXPECT_NEAR(S[0][0], 2.0, 2.0 * e.precision());
        for (int i = 0; i < 12; ++i) {
            Vector const p = T * R * S * Vector::of({std::cos(i), std::sin(i), 1.0});
            double const atCentre = valueAt(q, T[0][2], T[1][2]);
            EXPECT_NEAR(valueAt(q, p[0], p[1]) / atCentre, 0.0, 32 * e.precision());
        }
    });
}

TEST(Conic, DecompositionLogsItsStepsAtDebugLevelOnly)
{
    Matrix T, R, S;
    LogRecorder const quiet(g_MathLogger, log4cplus::INFO_LOG_LEVEL);
    ellipseDecomposition(Vector::of({4, 0, 0, 0, -4}), T, R, S);
    EXPECT_THAT(quiet.records(), testing::IsEmpty());

    LogRecorder const log(g_MathLogger, log4cplus::DEBUG_LOG_LEVEL);
    ellipseDecomposition(Vector::of({4, 0, 0, 0, -4}), T, R, S);
    ASSERT_THAT(log.records(), testing::SizeIs(4));
    EXPECT_EQ(log.records()[0].message, "Row(1, 0)\nRow(0, 4)\n(-0, -0)");
    EXPECT_EQ(log.records()[1].message,
              "Translation matrix \nRow(1, 0, 0)\nRow(0, 1, 0)\nRow(0, 0, 1)\n");
    EXPECT_THAT(log.records()[2].message, testing::StartsWith("Rotation matrix \nRow("));
    EXPECT_THAT(log.records()[3].message, testing::StartsWith("Scaling matrix \nRow(2, 0, 0)\n"));
    EXPECT_THAT(log.records()[1].file, testing::EndsWith("math/Conic.cpp"));
}

TEST(Conic, WhatIsNoEllipseIsRefused)
{
    Vector const five = Vector::of({1, 2, 3, 4, 5});
    Vector out = five;
    Matrix T, R, S;
    auto const toCart = [&](double A, double B, double F) {
        ellipticQuadToCartParams(Vector::of({A, B, 0, 0, F}), out);
    };
    auto const decompose = [&](double A, double B, double F) {
        ellipseDecomposition(Vector::of({A, B, 0, 0, F}), T, R, S);
    };
    EXPECT_MATH_ERROR(toCart(1, 1, 1), "Wrong quadParams (K<0), check fonction definition");
    expectMathErrors(
        "Wrong quadParams (D2<=0), check fonction definition",
        {[&] { toCart(-1, 1, -1); }, [&] { toCart(1, 2, -1); }, [&] { toCart(nan, 1, -1); }});
    expectMathErrors("Can't processed : wrong ellipse parameters",
                     {[&] { decompose(-1, 0, -1); }, [&] { decompose(1, 2, -1); },
                      [&] { decompose(nan, 0, -1); }});
    expectMathErrors("Can't processed decomposition, invalid conic",
                     {[&] { decompose(1, 0, 0); }, [&] { decompose(1, 0, 1); }});
    EXPECT_MATH_ERROR(ellipticCartToQuadParams(Vector::of({1, 2, 0, 2, 0}), out),
                      "Wrong quadParams (Q=0), check fonction definition");
    EXPECT_MATH_ERROR(ellipticCartToQuadParams(Vector::of({1, 2, 0, 2, -1}), out),
                      "Wrong cartParams, semi-axes must not be negative");
    Vector const four(4);
    EXPECT_MATH_ERROR(ellipticQuadToCartParams(four, out), "Wrong size of quadParams, must be 5");
    EXPECT_MATH_ERROR(ellipticCartToQuadParams(four, out), "Wrong size of cartParams, must be 5");
    EXPECT_MATH_ERROR(ellipseDecomposition(four, T, R, S),
                      "Wrong size of ellipse parameters, must be 5");
    EXPECT_EQ(out, five);
}

}  // namespace
