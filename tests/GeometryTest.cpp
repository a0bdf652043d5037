#include "math/CrossRatio.h"
#include "math/Geometry.h"
#include "math/LineUtils.h"
#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double ulp = std::numeric_limits<double>::epsilon();

Vector const v2 = Vector::of({1, 2});
Vector const v3 = Vector::of({1, 2, 3});
Vector const null3(3);

TEST(Geometry, DistancesAndIntersectionsTakeDirectionsOfAnyLength)
{
    RandomData random(1);
    for (double const scale : {1e-310, 1e-200, 1.0, 1e300}) {
        double const precision = scale < 1e-300 ? 1e-4 : 64 * ulp;  // 1e-310 keeps some 5 digits
        for (int i = 0; i < 20; ++i) {
            Vector const dir = random.vector(3), normal = random.vector(3);
            Vector const onLine = random.vector(3), onPlane = random.vector(3);
            Vector const across = dir.cross(normal);
            EXPECT_NEAR(pointToLine3DDist(onLine, scale * dir, onLine + 5.0 * dir + across),
                        across.length(), precision);

            Vector p = onLine;  // the result may replace an argument
            ASSERT_TRUE(planLineIntersection(onPlane, scale * normal, p, dir, p));
            double const steepness = std::abs(normal.dot(dir)) / (normal.length() * dir.length());
            EXPECT_NEAR((p - onPlane).dot(normal), 0.0, precision / steepness);
            EXPECT_NEAR(pointToLine3DDist(onLine, dir, p), 0.0, 32 * ulp / steepness);
        }
    }
    Vector p = v3;
    EXPECT_FALSE(planLineIntersection(null3, Vector::of({0, 0, 2}), v3, Vector::of({1, 0, 0}), p));
    EXPECT_EQ(p, v3) << "the line is parallel to the plane";
}

TEST(Geometry, PolarFormHoldsForBothPointsAtEveryAngle)
{
    double theta = 0.0, rho = 0.0;
    RandomData random(2);
    for (int degrees = -180; degrees <= 180; degrees += 5) {
        double const angle = degrees * 3.14159265358979323846 / 180.0;
        Vector const p = random.vector(2, -10.0, 10.0);
        Vector const along = Vector::of({std::cos(angle), std::sin(angle)});
        Vector const across = Vector::of({-along[1], along[0]});
        computePolarLine(p, p + 3.0 * along, theta, rho);

        constexpr double tolerance = 16 * ulp * 20;  // coordinates to 10, a few operations
        EXPECT_NEAR(std::tan(theta - angle), 0.0, tolerance) << degrees;
        EXPECT_NEAR(pointToPolarLineDist(theta, rho, p - 2.0 * along), 0.0, tolerance) << degrees;
        EXPECT_NEAR(pointToPolarLineDist(theta, rho, p + 7.0 * across), 7.0, tolerance) << degrees;
    }
    computePolarLine(v2, Vector::of({1, 5}), theta, rho);
    EXPECT_EQ(theta, std::acos(0.0)) << "of a vertical line";
    EXPECT_DOUBLE_EQ(rho, -1.0);
}

// Integers whose determinants need 62 bits: two plain products in double would lose them.
TEST(LineUtils, IntersectionIsExactToTheLastDigitsHoweverSmallTheAngle)
{
    auto const minorOf = [](Vector const& l, Vector const& m, int i, int j) {
        return static_cast<long double>(l[i]) * m[j] - static_cast<long double>(l[j]) * m[i];
    };
    auto const expectExact = [&](Vector const& l, Vector const& m) {
        Vector p(2);
        lineIntersection(l, m, p);
        auto const x = static_cast<double>(minorOf(l, m, 1, 2) / minorOf(l, m, 0, 1));
        auto const y = static_cast<double>(minorOf(l, m, 2, 0) / minorOf(l, m, 0, 1));
        EXPECT_NEAR(p[0], x, 4 * ulp * std::abs(x)) << l << m;
        EXPECT_NEAR(p[1], y, 4 * ulp * std::abs(y)) << l << m;
    };
    RandomData random(4);
    constexpr int limit = 1 << 30;
    for (int i = 0; i < 200; ++i) {
        double const a = random.integer(1, limit), b = random.integer(1, limit);
        double const c = random.integer(-limit, limit), f = random.integer(-limit, limit);
        double const d = a - random.integer(1, 3), e = b + random.integer(0, 3);
        expectExact(Vector::of({a, b, c}), Vector::of({d, e, f}));
    }
    expectExact(Vector::of({1, 5, 2}), Vector::of({1, 2, 7}));  // 1 : 2 in both, at other places
}

TEST(LineUtils, ParallelLinesAreRefusedAndLeaveThePointAlone)
{
    double const lines[][6] = {
        {0, 1, 1, 0, 2, 5},   {3, 0, 1, -1, 0, 5}, {1, 2, 3, 2, 4, 7},
        {1, -3, 1, 1, -3, 1}, {0, 0, 1, 1, 2, 3},  {1, 2, 3, 0, 0, 1},
    };
    Vector p = v2;
    for (auto const& l : lines)
        EXPECT_MATH_ERROR(lineIntersection(Vector(l, 3), Vector(l + 3, 3), p),
                          "Lines are parallel");
    EXPECT_EQ(p, v2);
}

TEST(LineUtils, Line2DHoldsItsPointsAndIsNormalised)
{
    Vector line(3);
    ptDir2DToCart2D(Vector::of({0, 3}), Vector::of({5, 0}), line);
    EXPECT_EQ(line, Vector::of({0, 1, -3}));
    ptDir2DToCart2D(Vector::of({1e20, 1e20}), Vector::of({1, 1}), line);  // lost in point + dir
    EXPECT_EQ(line, Vector::of({1, -1, 0}));
    ptDir2DToCart2D(Vector::of({1e20, 0}), Vector::of({1, 1}), line);  // its abscissa alone
    EXPECT_EQ(line, Vector::of({1, 0, -1e20}));

    RandomData random(5);
    for (int i = 0; i < 50; ++i) {
        Vector const p = random.vector(2), dir = random.vector(2), q = p + dir;
        ptDir2DToCart2D(p, dir, line);
        double const tolerance = 8 * ulp * (std::abs(line[1]) + 1.0) / dir.length();
        EXPECT_EQ(line[0], 1.0);
        EXPECT_NEAR(p[0] + line[1] * p[1] + line[2], 0.0, tolerance);
        EXPECT_NEAR(q[0] + line[1] * q[1] + line[2], 0.0, tolerance);
    }
}

// The n-th vector of {-2, 0, 1}³: every zero pattern, with both signs.
Vector pattern(int n)
{
    double const values[] = {-2.0, 0.0, 1.0};
    return Vector::of({values[n % 3], values[n / 3 % 3], values[n / 9]});
}

TEST(LineUtils, TwoPlanesOfEveryZeroPatternMeetInTheirLineOrAreRefused)
{
    for (int i = 0; i < 27; ++i) {
        for (int j = 0; j < 27; ++j) {
            Vector const m = pattern(i), n = pattern(j), expected = m.cross(n);
            double const d = 0.1 * i - 1.0, e = 2.0 - 0.3 * j;
            Vector planes(8), point = v3, dir = v3;
            planes(0, m)(4, n);
            planes[3] = d;
            planes[7] = e;
            if (m == null3 || n == null3) {
                EXPECT_MATH_ERROR(cart3DToPtDir3D(planes, point, dir), "No 3D line");
            } else if (expected == null3) {
                EXPECT_MATH_ERROR(cart3DToPtDir3D(planes, point, dir), "Lines are parallel");
            } else {
                cart3DToPtDir3D(planes, point, dir);
                EXPECT_EQ(dir, expected) << m << n;
                EXPECT_NEAR(m.dot(point) + d, 0.0, 64 * ulp) << m << n;  // terms up to 16
                EXPECT_NEAR(n.dot(point) + e, 0.0, 64 * ulp) << m << n;
                ptDir3DToCart3D(v3, 1e-3 * m, planes);  // and back, for a line of this direction
                cart3DToPtDir3D(planes, point, dir);
                EXPECT_NEAR(dir.cross(m).length(), 0.0, 16 * ulp * m.length()) << m;
                EXPECT_NEAR(pointToLine3DDist(v3, m, point), 0.0, 32 * ulp) << m;
                continue;
            }
            EXPECT_TRUE(point == v3 && dir == v3) << m << n;
        }
    }
}

TEST(CrossRatio, FollowsFromTheOrderAndGivesTheFourthPointBack)
{
    constexpr double tolerance = 1e-13;  // gaps above a twentieth of the extent
    RandomData random(6);
    for (int const dimension : {2, 3}) {
        Vector const origin = random.vector(dimension), dir = random.vector(dimension);
        int cell[] = {0, 1, 2, 3};
        do {
            double t[4];
            for (int i = 0; i < 4; ++i) t[i] = cell[i] + random.uniform(0.0, 0.8);
            double const k = (t[2] - t[0]) * (t[3] - t[1]) / ((t[2] - t[1]) * (t[3] - t[0]));
            Vector const a = origin + t[0] * dir, b = origin + t[1] * dir, d = origin + t[3] * dir;
            Vector c = origin + t[2] * dir;
            EXPECT_NEAR(crossRatioFromPoint(a, b, c, d), k, tolerance * std::abs(k));
            pointFromCrossRatio(k, a, b, c, c);  // the result may replace an argument
            EXPECT_NEAR((c - d).length(), 0.0, 100 * tolerance);
        } while (std::next_permutation(cell, cell + 4));
    }
}

TEST(Geometry, WrongSizesAndNullVectorsAreRefusedInOrder)
{
    double theta = 0.0, rho = 0.0;
    Vector p2 = v2, p3 = v3, v8(8);
    expectMathErrors("Invalid Line vector size",
                     {[&] { pointToLine3DDist(v2, null3, v2); },
                      [&] { planLineIntersection(v3, null3, v2, v3, p2); }});
    expectMathErrors("Invalid Point vector size",
                     {[&] { pointToLine3DDist(v3, null3, v2); },
                      [&] { planLineIntersection(v3, null3, v3, null3, p2); }});
    expectMathErrors("Invalid Plan vector size",
                     {[&] { planLineIntersection(v3, v2, v2, v3, p2); }});
    expectMathErrors("Invalid Line direction vector, should not be null",
                     {[&] { pointToLine3DDist(v3, null3, v3); }});
    expectMathErrors("Invalid plane normal vector, should not be null",
                     {[&] { planLineIntersection(v3, null3, v3, null3, p3); }});
    expectMathErrors("Invalid line direction vector, should not be null",
                     {[&] { planLineIntersection(v3, v3, v3, null3, p3); }});
    expectMathErrors("Invalid vector size", {[&] { computePolarLine(v2, v3, theta, rho); },
                                             [&] { pointToPolarLineDist(0, 0, v3); },
                                             [&] { crossRatioFromPoint(v8, v8, v8, v8); },
                                             [&] { pointFromCrossRatio(1, v3, v3, v3, p2); }});
    expectMathErrors(
        "Invalid parameter size",
        {[&] { lineIntersection(v3, v3, p3); }, [&] { ptDir2DToCart2D(v2, Vector(2), p2); },
         [&] { cart3DToPtDir3D(v8, p3, p2); }, [&] { ptDir3DToCart3D(v3, null3, p3); }});
    expectMathErrors("Vector dir must not be null", {[&] { ptDir2DToCart2D(v2, Vector(2), p3); },
                                                     [&] { ptDir3DToCart3D(v3, null3, v8); }});
    expectMathErrors("Invalid cross Ratio points ",
                     {[&] { crossRatioFromPoint(v3, null3, null3, 2 * v3); },
                      [&] { crossRatioFromPoint(v3, null3, 2 * v3, v3); },
                      [&] { pointFromCrossRatio(2, v3, v3, null3, p3); }});
    EXPECT_TRUE(p2 == v2 && p3 == v3 && v8 == Vector(8));
}

}  // namespace
