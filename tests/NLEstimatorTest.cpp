// Ellipses, and what non-linear models do beyond the fits of EstimatorTest.

#include "math/CircleEstimator.h"
#include "math/Conic.h"
#include "math/CylinderEstimator.h"
#include "math/EllipseEstimator.h"
#include "math/LMMinPack.h"
#include "math/LinearAlgebra.h"
#include "math/Random.h"
#include "math/Ransac.h"
#include "math/SphereEstimator.h"

#include "support/LogRecords.h"
#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"
#include "support/ScriptedCostFun.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

namespace {

using Points = std::vector<Vector>;
constexpr double pi = 3.141592653589793;

class RoundModels : public testing::Test {
    LogRecorder _quiet{g_MathLogger, log4cplus::OFF_LOG_LEVEL};
};

TEST_F(RoundModels, CylinderHasAUnitDirectionAndACovarianceOfRankFive)
{
    RandomData random(8);
    Vector const axis = Vector::of({0.6, 0, -0.8}), u = Vector::of({0.8, 0, 0.6});
    Points points;
    for (int i = 0; i < 40; ++i) {
        double const angle = random.uniform(-1.4, 1.4), r = 1.5 + random.normal(0.01);
        points.push_back(random.uniform(-3, 3) * axis + r * std::cos(angle) * u +
                         Vector::of({0, r * std::sin(angle), 0}));
    }
    CylinderEstimator cylinder;
    cylinder.setDataColl(points);
    ASSERT_TRUE(cylinder.estim());
    Vector const direction = cylinder.getAxisDirection();
    EXPECT_NEAR(direction.length(), 1.0, 1e-15);
    EXPECT_LT((direction + axis).length(), 0.05) << "the largest component is positive";
    Vector const point = cylinder.getAxisPoint();
    EXPECT_LT(point.cross(axis).length(), 0.05) << "it passes the origin";
    Vector mean(3);
    for (Vector const& p : points) mean += p / 40.0;
    EXPECT_NEAR((point - mean).dot(direction), 0.0, 1e-12) << "next to the mean";
    Vector values(7);
    Matrix vectors(7, 7);
    ASSERT_TRUE(eigenValuesVectors(cylinder.getEstimCov(), values, vectors));
    EXPECT_LT(std::abs(values[1]), 1e-8 * values[2]) << values;  // rounding against variances
}

TEST_F(RoundModels, RefuseDegenerateDataAndTakeASymmetricStart)
{
    RandomData random(4);
    Points line, farLine, inPlane;
    for (int i = 0; i < 9; ++i) {
        line.push_back(Vector::of({0.1 * i, 0.3 * i}));
        farLine.push_back(1.1e6 * Vector::of({1, -1}) + line.back());
        inPlane.push_back(Vector::of({random.uniform(0, 1), random.uniform(0, 1), 5.0}));
    }
    CircleEstimator circle;
    SphereEstimator sphere;
    CylinderEstimator cylinder;
    std::pair<Estimator*, Points> const cases[] = {
        {&circle, line},
        {&circle, farLine},
        {&circle, {Vector(2), Vector::of({1, 0}), Vector::of({0, std::nan("")})}},
        {&sphere, Points(5, Vector::of({1, 2, 3}))},
        {&sphere, inPlane},
        {&cylinder, inPlane}};
    for (auto const& [model, data] : cases) {
        model->setDataColl(data);
        EXPECT_FALSE(model->estim());
    }
    EXPECT_MATH_ERROR(cylinder.getRadius(), "Call estim before use");
    char const* const badSize = "Invalid data vector size in collection";
    EXPECT_MATH_ERROR(cylinder.setDataColl(Points(6, Vector(2))), badSize);
    EXPECT_MATH_ERROR(sphere.setDataColl(Points(6, Vector(2))), badSize);

    // Alternately 1 and 3 from the origin: the algebraic start is the minimum already.
    circle.setDataColl(
        {Vector::of({1, 0}), Vector::of({0, 3}), Vector::of({-1, 0}), Vector::of({0, -3})});
    ASSERT_TRUE(circle.estim());
    EXPECT_LT(circle.getCenter().length(), 1e-8);
    EXPECT_NEAR(circle.getRadius(), 2.0, 1e-8);
}

// r = params[0] · exp(params[1] · x) - y, as a user would write it.
class ExponentialEstimator : public NLEstimator {
public:
    ExponentialEstimator() { init(2, 2, new Scripted<>); }

protected:
    void prepareCostFun(Points const& points) override
    {
        auto& f = static_cast<Scripted<>&>(*_costFun);
        f.initCostFun(static_cast<unsigned int>(points.size()), 2);
        f.setBoolAnaDer(false);
        f.fun = [points](Vector const& p, Vector& r) { r = misfits(p, points); };
    }
    void computeResiduals(Vector const& p, Vector& r) const override
    {
        r = misfits(p, getDataColl());
    }
    static Vector misfits(Vector const& p, Points const& points)
    {
        std::vector<double> r;
        for (Vector const& point : points) r.push_back(p[0] * std::exp(p[1] * point[0]) - point[1]);
        return toVector(r);
    }
};

TEST(NLEstimator, FitsAUsersModelAndKeepsItsLifeCycle)
{
    ExponentialEstimator model;
    Points points;
    RandomData random(5);
    for (int i = 0; i < 40; ++i) {
        double const x = 0.1 * i;
        points.push_back(Vector::of({x, 2.0 * std::exp(-0.5 * x) + random.normal(0.01)}));
    }
    model.setDataColl(points);
    EXPECT_MATH_ERROR(model.estim(), "Set initVecSol before use");
    EXPECT_MATH_ERROR(model.setInitParams(Vector(3)), "Invalid initParams vector size");
    EXPECT_MATH_ERROR(model.setLMSolver(nullptr), "Invalid LMSolver, should not be null");
    EXPECT_MATH_ERROR(model.getLMSolver(), "Call estim before use");
    model.setInitParams(Vector::of({1.0, -1.0}));
    ASSERT_TRUE(model.estim());
    EXPECT_NEAR(model.getEstimParams()[0], 2.0, 5.0 * std::sqrt(model.getEstimCov()[0][0]));
    LMSolver const& solver = model.getLMSolver();
    double const s = solver.getSEUWAfter();
    EXPECT_TRUE(isNear(model.getEstimCov(), s * s * solver.getCov(), 0));
    EXPECT_NEAR(s, 0.01, 0.004);
    EXPECT_EQ(model.getCostFun().getNbEquations(), 40U);

    auto* const limited = new LMMinPack;
    limited->setNbMaxIter(0);  // MINPACK refuses: the error flag
    model.setLMSolver(limited);
    model.setLMSolver(limited);
    EXPECT_MATH_ERROR(model.getEstimParams(), "Call estim before use");
    EXPECT_FALSE(model.estim());
    EXPECT_MATH_ERROR(model.getCostFun(), "Call estim before use");
}

TEST(EllipseEstimator, UnitCircleFromFivePointsHasZeroResiduals)
{
    Points points;
    Matrix A(5, 5);
    for (int i = 0; i < 5; ++i) {
        double const x = std::cos(1.2 * i), y = std::sin(1.2 * i);
        points.push_back(Vector::of({x, y}));
        A.setRowVector(i, Vector::of({y * y, x * y, x, y, 1}));
    }
    EllipseEstimator ellipse;
    ellipse.setDataColl(points);
    ASSERT_TRUE(ellipse.estim());
    EXPECT_TRUE(isNear(ellipse.getEstimParams(), Vector::of({1, 0, 0, 0, -1}), 1e-14));
    Vector residuals(5);
    ellipse.getResiduals(ellipse.getEstimParams(), residuals);
    EXPECT_LT(residuals.length(), 1e-14);
    // For five points the covariance is (AᵀA)⁻¹ of the equations as they stand.
    EXPECT_TRUE(isNear(ellipse.getEstimCov(), (A.transpose() * A).inverse(), 1e-12));
}

TEST(EllipseEstimator, IsFoundAmongOutliersAndCovarianceHolds)
{
    Vector const centre = Vector::of({30.0, -20.0});
    Vector const x = Vector::of({std::cos(0.6), std::sin(0.6)}), y = Vector::of({-x[1], x[0]});
    Vector quad;
    ellipticCartToQuadParams(Vector::of({centre[0], centre[1], 0.6, 8.0, 5.0}), quad);
    RandomData random(7);
    double chiSquare = 0.0;
    constexpr int runs = 60;
    for (int run = 0; run < runs; ++run) {
        Points good;
        for (int i = 0; i < 120; ++i) {
            double const t = random.uniform(0.0, 2.0 * pi), a = 8.0 + random.normal(0.005);
            good.push_back(centre + a * std::cos(t) * x +
                           (5.0 + random.normal(0.005)) * std::sin(t) * y);
        }
        Points points = good;
        for (Vector const& p : random.vectors(60, 2, -10, 10)) points.push_back(centre + p);
        EllipseEstimator ellipse;
        ellipse.setDataColl(points);
        Ransac ransac;
        ransac.setEstimator(&ellipse);
        ransac.setOutliersThreshold(0.5);
        ransac.setOutliersRatio(0.4);
        ransac.setSuccessRatio(0.9999);
        initRandGene(static_cast<unsigned int>(run + 2));
        ASSERT_TRUE(ransac.robustEstimation());
        EXPECT_LE(ransac.getNbOutliers(), 60U);
        ellipse.setDataColl(good);
        ASSERT_TRUE(ellipse.estim());
        double const error = ellipse.getEstimParams()[1] - quad[1];
        chiSquare += error * error / ellipse.getEstimCov()[1][1];
    }
    EXPECT_NEAR(chiSquare / runs, 1.0, 6.0 * std::sqrt(2.0 / runs));
}

TEST(EllipseEstimator, MisuseThrows)
{
    EllipseEstimator ellipse;
    EXPECT_MATH_ERROR(ellipse.setDataColl(Points(5, Vector(3))), "Invalid data vector size");
    Points fourCells;
    for (int i = 0; i < 12; ++i)
        fourCells.push_back(Vector::of({1.0 * (i % 2), 1.0 * (i / 2 % 2)}));
    ellipse.setDataColl(fourCells);
    Ransac ransac;
    ransac.setEstimator(&ellipse);
    EXPECT_MATH_ERROR(ransac.robustEstimation(),
                      "Not enought valid buckets to ensure requested number of samples");
    struct Open : EllipseEstimator {
        using EllipseEstimator::computeResiduals;
    } open;
    open.setDataColl(fourCells);
    Vector residuals;
    EXPECT_MATH_ERROR(open.computeResiduals(Vector(4), residuals),
                      "Invalid parameter, size of params must be 5 or more");
    open.computeResiduals(Vector(6), residuals);
    EXPECT_EQ(residuals.size(), 12U);
}

}  // namespace
