#include "math/Spherical.h"

#include "support/ReferenceValues.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

namespace {

using std::numbers::pi;

// Checks one convention against a line of reference values: angles (2), their Jacobian (6).
struct Convention {
    void (*toAngles)(Vector const&, Vector&);
    void (*toDirection)(Vector const&, Vector&);
    void (*anglesJacobian)(Vector const&, Matrix&);
    void (*directionJacobian)(Vector const&, Matrix&);

    void expectAgreement(Vector const& v, double const* reference) const
    {
        Matrix const expectedJ(reference + 2, 2, 3);
        double const size = expectedJ.frobeniusNorm();
        Vector s(2), unit(3);
        Matrix J(2, 3), back(3, 2);
        toAngles(v, s);
        EXPECT_LT(ulps(s, Vector(reference, 2), pi), 2) << v;
        toDirection(s, unit);
        EXPECT_TRUE(unit.equals(v / v.length(), 1e-15)) << v;
        anglesJacobian(v, J);
        EXPECT_LT(ulps(J, expectedJ, size), 8) << v;
        directionJacobian(s, back);
        EXPECT_LT(ulps(v.length() * (J * back), Matrix(2, 2, Matrix::IDENTITY), size), 32) << v;
    }
};

TEST(Spherical, AnglesAndJacobiansAgreeWithReferenceValues)
{
    Convention const standard = {cartToSph, sphToCart, computeJSph, computeJCart};
    Convention const particular = {cartToSphParticular, sphToCartParticular, computeJSphParticular,
                                   computeJCartParticular};
    for (auto const& row : readReference("directions.csv")) {
        standard.expectAgreement(Vector(&row[0], 3), &row[3]);
        particular.expectAgreement(Vector(&row[0], 3), &row[11]);
    }
}

TEST(Spherical, PolesAndAxesHaveTheirFixedAngles)
{
    struct {
        Vector v, standard, particular;
    } const cases[] = {
        // z / |v| is 1, though z · (1 / |v|) is not
        {Vector::of({4.9e-8, 0, 49}), Vector::of({0, 0}), Vector::of({1e-9, 0})},
        {Vector::of({0, 0, -2}), Vector::of({0, pi}), Vector::of({pi, 0})},
        {Vector::of({1e-16, 3, 0}), Vector::of({pi / 2, pi / 2}), Vector::of({0, -pi / 2})},
        {Vector::of({0, -1, 0}), Vector::of({3 * pi / 2, pi / 2}), Vector::of({0, pi / 2})},
        {Vector::of({-1, -0.0, 0}), Vector::of({pi, pi / 2}), Vector::of({3 * pi / 2, 0})},
    };
    for (auto const& [v, standard, particular] : cases) {
        Vector s(2);
        cartToSph(v, s);
        EXPECT_EQ(s, standard) << v;
        cartToSphParticular(v, s);
        EXPECT_EQ(s, particular) << v;
    }
}

TEST(Spherical, JacobiansOnThePoleHaveALargeFiniteGain)
{
    double const near = std::numeric_limits<double>::epsilon();
    Matrix J(2, 3);
    computeJSph(Vector::of({near, -near, 2}), J);
    EXPECT_TRUE(isNear(J, Matrix::of({{-10000, 10000, 0}, {0.5, 0.5, 0}}), 0)) << J;
    computeJSphParticular(Vector::of({-near, 4, near}), J);
    EXPECT_TRUE(isNear(J, Matrix::of({{10000, 0, -10000}, {0.25, 0, 0.25}}), 0)) << J;
    computeJSph(Vector::of({2 * near, 0, 2}), J);
    EXPECT_DOUBLE_EQ(J[0][1], 1 / (2 * near)) << "the true derivative off the pole";
}

TEST(Spherical, ANullDirectionHasNoAngles)
{
    Vector s = Vector::of({7, 8});
    cartToSphParticular(Vector(3), s);
    EXPECT_EQ(s, Vector::of({7, 8})) << "left as they were";
    cartToSph(Vector(3), s);
    EXPECT_TRUE(std::isnan(s[0]) && std::isnan(s[1]));
}

}  // namespace
