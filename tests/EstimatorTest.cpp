// The protocol of the estimators, and every model but the ellipse on planted data.

#include "math/CircleEstimator.h"
#include "math/CylinderEstimator.h"
#include "math/LMedS.h"
#include "math/LineEstimator.h"
#include "math/MeanEstimator.h"
#include "math/PlanEstimator.h"
#include "math/Random.h"
#include "math/Ransac.h"
#include "math/SVDSolver.h"
#include "math/SphereEstimator.h"

#include "support/LogRecords.h"
#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <tuple>

namespace {

using Points = std::vector<Vector>;

constexpr double pi = 3.141592653589793;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

Vector residualsOf(Estimator const& estimator, Vector const& params)
{
    Vector residuals(estimator.getNbData());
    estimator.getResiduals(params, residuals);
    return residuals;
}

template <class Base>
struct Open : Base {
    using Base::computeResiduals;
    using Base::getDataRandomSample;
    using Base::getPackedCoordinate;
};

struct Bare : Estimator {
    bool computeEstimation(Points const&) override { return true; }
    void computeResiduals(Vector const&, Vector&) const override {}
    using Estimator::estim;
    using Estimator::init;
};

TEST(Estimator, LifeCycleAndMisuse)
{
    char const* const notEstimated = "Call estim before use";
    char const* const badSize = "Invalid data vector size in collection";
    char const* const tooFew = "Not enough data to ensure nbMinData";
    Points const two = {Vector::of({0, 0}), Vector::of({1, 1})}, mixed = {Vector(3), Vector(2)};
    Vector two2(2), three(3);
    Bare bare;
    expectMathErrors("Init estimator before use",
                     {[&] { bare.getNbMinData(); }, [&] { bare.getNbParams(); },
                      [&] { bare.setDataColl(two); }, [&] { bare.estim(two); }});
    EXPECT_MATH_ERROR(bare.init(0, 1), "NbParams should not be null");
    EXPECT_MATH_ERROR(bare.init(1, 0), "NbMinData should not be null");
    bare.init(3, 2);
    EXPECT_MATH_ERROR(bare.estim(Points(1)), tooFew);
    EXPECT_TRUE(bare.estim(two));
    EXPECT_TRUE(bare.getEstimCov() == Matrix(3, 3, Matrix::IDENTITY));

    Open<PlanEstimator> plan;
    Open<LineEstimator> line;
    expectMathErrors("Set DataColl before use", {[&] { line.getNbData(); }, [&] { line.estim(); }});
    line.setDataColl(two);
    expectMathErrors(notEstimated, {[&] { plan.getRMS3D(); }, [&] { plan.getNormal(); },
                                    [&] { plan.getDistToOrigin(); }, [&] { line.getEstimCov(); }});
    expectMathErrors("Uncompatible vector/coll sizes",
                     {[&] { plan.computeResiduals(Vector(4), two, three); },
                      [&] { line.computeResiduals(two2, two, three); }});
    expectMathErrors("Invalid parameters vector size",
                     {[&] { plan.computeResiduals(Vector(3), two, two2); },
                      [&] { line.computeResiduals(three, two, two2); }});

    MeanEstimator mean;
    mean.setDataSize(3);
    mean.setDataColl({Vector(3), Vector(3)});
    ASSERT_TRUE(line.estim());
    expectMathErrors(badSize, {[&] { line.setDataColl(mixed); }, [&] { mean.setDataColl(two); },
                               [&] { line.getPackedCoordinate(2); }});
    mean.setDataSize(2);  // the data now are of another dimension
    expectMathErrors(badSize, {[&] { mean.estim(); }, [&] { mean.getResiduals(two2, two2); }});
    EXPECT_MATH_ERROR(line.setDataColl({Vector(2)}), tooFew);
    EXPECT_MATH_ERROR(line.getResiduals(three, three), "Invalid residuals vector size");
    EXPECT_MATH_ERROR(line.getResiduals(three, two2), "Invalid params vector size");
    EXPECT_EQ(line.getEstimParams()[0], pi / 4) << "a refused collection changes nothing";
    line.setDataColl(two);
    EXPECT_MATH_ERROR(line.getEstimParams(), notEstimated);
}

TEST(Estimator, SamplesDistinctPositionsInTheOrderDrawn)
{
    constexpr int n = 5;
    Points data, sample(7);
    for (int i = 0; i < n; ++i) data.push_back(Vector::of({1.0 * i, 0, 0}));
    Open<PlanEstimator> plan;
    plan.setDataColl(data);
    for (unsigned int seed = 0; seed < 200; ++seed) {
        std::srand(seed);
        plan.getDataRandomSample(sample);
        std::srand(seed);
        std::vector<double> expected, drawn;
        for (Vector const& datum : sample) drawn.push_back(datum[0]);
        while (expected.size() < 4) {
            double const i = std::rand() % n;
            if (std::ranges::count(expected, i) == 0) expected.push_back(i);
        }
        EXPECT_EQ(drawn, expected);
    }
}

TEST(MeanEstimator, MeanAndPopulationCovarianceAlsoFarFromTheOrigin)
{
    constexpr int n = 500;
    RandomData random(1);
    for (int const d : {1, 2, 3, 6}) {
        for (double const offset : {0.0, 1e6, -1e9}) {
            Points data;
            for (int i = 0; i < n; ++i) data.push_back(random.vector(d, offset - 1, offset + 1));
            MeanEstimator estimator;
            estimator.setDataSize(static_cast<unsigned int>(d));
            estimator.setDataColl(data);
            ASSERT_TRUE(estimator.estim());
            Vector const mean = estimator.getEstimParams();
            Vector const residuals = residualsOf(estimator, mean);
            Matrix centred(d, n);
            Vector bias(d);
            for (int i = 0; i < n; ++i) {
                Vector const difference = data[static_cast<std::size_t>(i)] - mean;
                EXPECT_DOUBLE_EQ(residuals[i], difference.length());
                centred.setColVector(i, difference);
                bias += difference / n;
            }
            EXPECT_TRUE(isNear(bias, Vector(d), 1e-15 + 2.3e-16 * std::abs(offset)));
            Matrix const covariance = 1.0 / n * (centred * centred.transpose());
            EXPECT_TRUE(isNear(estimator.getEstimCov(), covariance, 1e-14));
        }
    }
}

TEST(LineEstimator, AngleAndOffsetFollowTheDirection)
{
    double const cases[][6] = {// x and y of two points, theta, rho
                               {0, 0, 1, 1, pi / 4, 0},
                               {0, 0, 1, -1, -pi / 4, 0},
                               {3, 0, 3, 5, pi / 2, -3},
                               {0, 2, 5, 2, 0, 2}};
    LineEstimator line;
    for (auto const& c : cases) {
        line.setDataColl({Vector(c, 2), Vector(c + 2, 2)});
        ASSERT_TRUE(line.estim());
        EXPECT_TRUE(isNear(line.getEstimParams(), Vector(c + 4, 2), 1e-15));
    }
}

TEST(LineAndPlane, RefuseScatterWithoutADirectionAndNonFinitePoints)
{
    auto const expectRefused = [](Estimator&& model, Points const& data) {
        model.setDataColl(data);
        EXPECT_FALSE(model.estim());
    };
    Vector const x = Vector::of({1, 0}), y = Vector::of({0, 1});
    expectRefused(LineEstimator(), {x, -x, y, -y});
    expectRefused(LineEstimator(), {x, Vector::of({nan, 0})});
    Points inLine;
    for (int i = 0; i < 6; ++i) inLine.push_back(Vector::of({1.0 * i, 2.0 * i, 1.0 + i}));
    expectRefused(PlanEstimator(), inLine);
    inLine[0][0] = infinity;
    expectRefused(PlanEstimator(), inLine);
}

// A surface to measure: its point at two coordinates from -1 to 1 and at a signed distance, written
// without the library's models.
struct Truth {
    std::shared_ptr<Estimator> model;
    double radius;  // 0: none
    std::function<Vector(double a, double b, double off)> point;
};

Vector radial(double angle, Vector const& x, Vector const& y)
{
    return std::cos(angle) * x + std::sin(angle) * y;
}

// Arcs and caps of less than half a turn, at this distance from the origin.
std::vector<Truth> truths(double offset)
{
    Vector const p = Vector::of({offset + 1.0, -offset}), q = Vector::of({offset, 2.0, -offset});
    Vector const x = Vector::of({0.8, 0.6}), y = Vector::of({-0.6, 0.8});
    Vector const u = Vector::of({2, 1, 2}) / 3.0, v = Vector::of({-2, 2, 1}) / 3.0;
    Vector const w = Vector::of({1, 2, -2}) / 3.0;
    return {
        {std::make_shared<LineEstimator>(), 0,
         [=](auto a, auto, auto off) { return p + 5 * a * x + off * y; }},
        {std::make_shared<PlanEstimator>(), 0,
         [=](auto a, auto b, auto off) { return q + 5 * a * u + 5 * b * v + off * w; }},
        {std::make_shared<CircleEstimator>(), 3,
         [=](auto a, auto, auto off) { return p + (3 + off) * radial(1.3 * a, x, y); }},
        {std::make_shared<SphereEstimator>(), 2,
         [=](auto a, auto b, auto off) {
             return q + (2 + off) * radial(1.4 * a, w, radial(3 * b, u, v));
         }},
        {std::make_shared<CylinderEstimator>(), 1.5,
         [=](auto a, auto b, auto off) {
             return q + 3 * b * w + (1.5 + off) * radial(1.4 * a, u, v);
         }},
    };
}

// The first points are outliers.
Points measured(Truth const& truth, RandomData& random, int n, double sigma, int nbOut = 0)
{
    Points points;
    for (int i = 0; i < n; ++i) {
        double const a = random.uniform(-1, 1), b = random.uniform(-1, 1);
        double const off = i < nbOut ? random.uniform(0.2, 0.8) : random.normal(sigma);
        points.push_back(truth.point(a, b, off));
    }
    return points;
}

// Done with these data of a model.
struct Consensus : Ransac {
    Consensus(Estimator& model, Points const& data, double sigma)
    {
        model.setDataColl(data);
        setEstimator(&model);
        setOutliersThreshold(8.0 * sigma);
        setOutliersRatio(0.5);
        setSuccessRatio(0.999);
        initRandGene(17);
        EXPECT_TRUE(robustEstimation());
    }
};

class Models : public testing::Test {
    LogRecorder _quiet{g_MathLogger, log4cplus::OFF_LOG_LEVEL};
};

TEST_F(Models, OfARadiusHaveErrorsThatAgreeWithTheirCovariance)
{
    constexpr int runs = 100;
    for (Truth const& truth : truths(100.0)) {
        if (truth.radius == 0.0) continue;
        RandomData random(2);
        int const last = static_cast<int>(truth.model->getNbParams()) - 1;
        double chiSquare = 0.0;
        for (int run = 0; run < runs; ++run) {
            truth.model->setDataColl(measured(truth, random, 60, 0.01));
            ASSERT_TRUE(truth.model->estim());
            double const error = truth.model->getEstimParams()[last] - truth.radius;
            chiSquare += error * error / truth.model->getEstimCov()[last][last];
        }
        EXPECT_NEAR(chiSquare / runs, 1.0, 5.0 * std::sqrt(2.0 / runs)) << truth.radius;
    }
}

TEST_F(Models, AreFoundAmongOutliersByBothControllers)
{
    constexpr double sigma = 0.005;  // a 40th of the nearest outlier's distance
    for (auto const& [n, nbOut, offset] :
         {std::tuple(30, 6, 0.0), {150, 0, 1e3}, {150, 60, 10.0}, {300, 105, 1e6}}) {
        for (Truth const& truth : truths(offset)) {
            SCOPED_TRACE(testing::Message() << n << " points, radius " << truth.radius);
            RandomData random(3);
            Points data = measured(truth, random, n, sigma, nbOut);
            if (nbOut > 0) data[0][1] = nan;
            Consensus const ransac(*truth.model, data, sigma);
            for (int i = 0; i < n; ++i)
                EXPECT_EQ(ransac.isOutlier(static_cast<unsigned int>(i)), i < nbOut) << i;
            EXPECT_NEAR(ransac.getInlierRms(), sigma, 0.4 * sigma);

            LMedS lmeds;
            lmeds.setEstimator(truth.model.get());
            lmeds.setOutliersRatio(0.45);
            lmeds.setSuccessRatio(0.999);
            ASSERT_TRUE(lmeds.robustEstimation());
            for (unsigned int i = 0; static_cast<int>(i) < nbOut; ++i)
                EXPECT_TRUE(lmeds.isOutlier(i)) << i;
            Points inliers;
            lmeds.getInlierColl(inliers);
            EXPECT_GT(inliers.size(), 0.8 * (n - nbOut));
            // Exact points are near the model, however its parameters are written.
            Vector const params = lmeds.getEstimParams();
            truth.model->setDataColl(measured(truth, random, 200, 0.0));
            EXPECT_TRUE(isNear(residualsOf(*truth.model, params), Vector(200), 5.0 * sigma));
        }
    }
}

Points inliersOf(Estimator& model, Points const& data)
{
    Points inliers;
    Consensus(model, data, 0.01).getInlierColl(inliers);
    return inliers;
}

// Derived classes are refitted by a copy of the inliers, the models themselves without it.
template <class Model>
struct Copying : Model {
};

TEST(RobustRefit, IsTheFitOfTheInliers)
{
    RandomData random(10);
    Truth const lineTruth = truths(10.0)[0], planeTruth = truths(10.0)[1];
    for (int const n : {20, 60, 700, 3000}) {  // few, one block of rows and several
        Points const onLine = measured(lineTruth, random, n, 0.01, n / 4);
        LineEstimator line;
        Copying<LineEstimator> copyingLine;
        EXPECT_TRUE(inliersOf(line, onLine) == inliersOf(copyingLine, onLine));
        EXPECT_TRUE(line.getEstimParams() == copyingLine.getEstimParams());

        Points const onPlane = measured(planeTruth, random, n, 0.01, n / 4);
        PlanEstimator plan;
        Copying<PlanEstimator> copyingPlan;
        for (PlanEstimator* const fit : {&plan, static_cast<PlanEstimator*>(&copyingPlan)}) {
            Points const inliers = inliersOf(*fit, onPlane);
            Matrix A(inliers.size(), 4);
            for (int i = 0; i < A.getRow(); ++i) {
                Vector const& p = inliers[static_cast<std::size_t>(i)];
                A.setRowVector(i, Vector::of({p[0], p[1], p[2], -1}));
            }
            SVDSolver solver;
            solver.solve(A);
            constexpr double digits = 1e-11;  // 16 less those of the condition number, about 1e4
            Vector const params = fit->getEstimParams();
            EXPECT_NEAR(std::abs(params.dot(solver.getVecSol())), 1.0, digits);
            EXPECT_TRUE(fit->getNormal() == params(0, 3) && fit->getDistToOrigin() == params[3]);
            EXPECT_LT((fit->getEstimCov() - solver.getCov()).frobeniusNorm(),
                      digits * solver.getCov().frobeniusNorm());
            EXPECT_NEAR(fit->getRMS3D() * fit->getNormal().length(), solver.getRMS(),
                        digits * solver.getRMS());
        }
    }
}

}  // namespace
