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

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>

namespace {

using Points = std::vector<Vector>;

constexpr double pi = 3.141592653589793;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

template <class Base>
struct Open : Base {
    using Base::computeResiduals;
    using Base::getDataRandomSample;
    using Base::getPackedCoordinate;
};

Vector residualsOf(Estimator const& estimator, Vector const& params)
{
    Vector residuals(estimator.getNbData());
    estimator.getResiduals(params, residuals);
    return residuals;
}

TEST(Estimator, LifeCycleAndMisuse)
{
    char const* const notEstimated = "Call estim before use";
    char const* const badSize = "Invalid data vector size in collection";
    LineEstimator line;
    MeanEstimator mean;
    PlanEstimator plan;
    EXPECT_EQ(line.getNbMinData(), 2U);
    EXPECT_EQ(plan.getNbParams(), 4U);
    EXPECT_EQ(line.getNbParams(), 2U);
    EXPECT_MATH_ERROR(line.getNbData(), "Set DataColl before use");
    EXPECT_MATH_ERROR(line.estim(), "Set DataColl before use");
    EXPECT_MATH_ERROR(line.getEstimParams(), notEstimated);
    EXPECT_MATH_ERROR(line.getEstimCov(), notEstimated);
    EXPECT_MATH_ERROR(plan.getRMS3D(), notEstimated);
    EXPECT_MATH_ERROR(plan.getNormal(), notEstimated);
    EXPECT_MATH_ERROR(plan.getDistToOrigin(), notEstimated);
    EXPECT_MATH_ERROR(mean.setDataSize(0), "NbParams should not be null");

    Points const two = {Vector::of({0, 0}), Vector::of({1, 1})};
    Vector two2(2), three(3);
    line.setDataColl(two);
    ASSERT_TRUE(line.estim());
    EXPECT_MATH_ERROR(line.setDataColl({Vector(3), Vector(2)}), badSize);
    EXPECT_MATH_ERROR(line.setDataColl({Vector(2)}), "Not enough data to ensure nbMinData");
    EXPECT_EQ(line.getEstimParams()[0], pi / 4) << "a refused collection changes nothing";
    EXPECT_MATH_ERROR(line.getResiduals(three, three), "Invalid residuals vector size");
    EXPECT_MATH_ERROR(line.getResiduals(three, two2), "Invalid params vector size");
    line.setDataColl(two);
    EXPECT_MATH_ERROR(line.getEstimParams(), notEstimated);

    mean.setDataSize(3);
    EXPECT_MATH_ERROR(mean.setDataColl(two), badSize);
    mean.setDataColl({Vector(3), Vector(3)});
    mean.setDataSize(2);  // the data now are of another dimension
    EXPECT_MATH_ERROR(mean.estim(), badSize);
    EXPECT_MATH_ERROR(mean.getResiduals(two2, two2), badSize);

    using OpenLine = Open<LineEstimator>;
    using OpenPlane = Open<PlanEstimator>;
    OpenLine open;
    open.setDataColl(two);
    EXPECT_MATH_ERROR(open.getPackedCoordinate(2), badSize);
    char const* const badSizes = "Uncompatible vector/coll sizes";
    EXPECT_MATH_ERROR(OpenPlane::computeResiduals(Vector(4), two, three), badSizes);
    EXPECT_MATH_ERROR(OpenLine::computeResiduals(Vector(2), two, three), badSizes);
    char const* const badParams = "Invalid parameters vector size";
    EXPECT_MATH_ERROR(OpenPlane::computeResiduals(Vector(3), two, two2), badParams);
    EXPECT_MATH_ERROR(OpenLine::computeResiduals(Vector(3), two, two2), badParams);
}

TEST(Estimator, NeedsInitFirst)
{
    struct Bare : Estimator {
        bool computeEstimation(Points const&) override { return true; }
        void computeResiduals(Vector const&, Vector&) const override {}
        using Estimator::estim;
        using Estimator::init;
    } bare;
    char const* const text = "Init estimator before use";
    EXPECT_MATH_ERROR(bare.getNbMinData(), text);
    EXPECT_MATH_ERROR(bare.getNbParams(), text);
    EXPECT_MATH_ERROR(bare.setDataColl({Vector(1)}), text);
    EXPECT_MATH_ERROR(bare.estim(Points(3)), text);
    EXPECT_MATH_ERROR(bare.init(1, 0), "NbMinData should not be null");
    bare.init(3, 2);
    EXPECT_MATH_ERROR(bare.estim(Points(1)), "Not enough data to ensure nbMinData");
    EXPECT_TRUE(bare.estim(Points(2)));
    EXPECT_TRUE(bare.getEstimCov() == Matrix(3, 3, Matrix::IDENTITY));
}

TEST(Estimator, SamplesDistinctPositionsInTheOrderDrawn)
{
    Open<PlanEstimator> plan;
    for (int const n : {4, 9}) {
        Points data, sample(7);
        for (int i = 0; i < n; ++i) data.push_back(Vector::of({1.0 * i, 0, 0}));
        plan.setDataColl(data);
        for (unsigned int seed = 0; seed < 200; ++seed) {
            std::srand(seed);
            plan.getDataRandomSample(sample);
            ASSERT_EQ(sample.size(), 4U);
            std::srand(seed);
            std::vector<bool> taken(9);
            for (Vector const& datum : sample) {
                std::size_t i = 0;
                do i = static_cast<std::size_t>(std::rand() % n);
                while (taken[i]);
                taken[i] = true;
                ASSERT_EQ(datum[0], static_cast<double>(i));
            }
        }
    }
}

TEST(MeanEstimator, MeanAndPopulationCovarianceAlsoFarFromTheOrigin)
{
    RandomData random(1);
    for (int const d : {1, 2, 3, 6}) {
        for (double const offset : {0.0, 1e6, -1e9}) {
            Points data;
            for (int i = 0; i < 500; ++i)
                data.push_back(random.vector(d, offset - 1.0, offset + 1.0));
            MeanEstimator estimator;
            estimator.setDataSize(static_cast<unsigned int>(d));
            estimator.setDataColl(data);
            ASSERT_TRUE(estimator.estim());
            Vector const m = estimator.getEstimParams();
            for (int i = 0; i < d; ++i) {
                long double mean = 0.0L;
                for (Vector const& x : data) mean += x[i] / 500.0L;
                EXPECT_NEAR(m[i], static_cast<double>(mean), 1e-15 + 2.3e-16 * std::abs(offset));
                for (int j = 0; j < d; ++j) {
                    long double s = 0.0L;
                    for (Vector const& x : data) s += (x[i] - m[i]) * (x[j] - m[j]) / 500.0L;
                    EXPECT_NEAR(estimator.getEstimCov()[i][j], static_cast<double>(s), 1e-14);
                }
            }
            Vector const residuals = residualsOf(estimator, m);
            double const* r = residuals.begin();
            for (Vector const& x : data) EXPECT_DOUBLE_EQ(*r++, (x - m).length());
        }
    }
}

TEST(LineEstimator, FindsEveryDirection)
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
        EXPECT_NEAR(line.getEstimParams()[0], c[4], 1e-15);
        EXPECT_NEAR(line.getEstimParams()[1], c[5], 1e-15);
    }
    // Every angle and offset: the residuals of exact points vanish, theta stays in its range.
    RandomData random(2);
    for (int k = -180; k <= 180; ++k) {
        Vector const dir = Vector::of({std::cos(k * pi / 180), std::sin(k * pi / 180)});
        double const offset = std::pow(10.0, (k + 180) % 7);
        Points data;
        for (int i = 0; i < 20; ++i)
            data.push_back(offset * Vector::of({1, -1}) + random.uniform(-1.0, 1.0) * dir);
        line.setDataColl(data);
        ASSERT_TRUE(line.estim());
        double const theta = line.getEstimParams()[0];
        EXPECT_GT(theta, -pi / 2);
        EXPECT_LE(theta, pi / 2);
        EXPECT_NEAR(std::sin(theta - k * pi / 180), 0.0, 1e-15 * offset + 1e-14);
        EXPECT_LT(residualsOf(line, line.getEstimParams()).length(), 1e-14 * offset);
    }
}

TEST(LineAndPlane, RefuseScatterWithoutADirectionAndNonFinitePoints)
{
    LineEstimator line;
    Points const cross = {Vector::of({1, 0}), Vector::of({-1, 0}), Vector::of({0, 1}),
                          Vector::of({0, -1})};
    for (Points const& data : {cross, Points{Vector::of({1, 0}), Vector::of({nan, 0})}}) {
        line.setDataColl(data);
        EXPECT_FALSE(line.estim());
    }
    PlanEstimator plan;
    Points data;
    for (int i = 0; i < 6; ++i) data.push_back(Vector::of({1.0 * i, 2.0 * i, 1.0 + i}));
    for (double const x : {0.0, infinity}) {
        data[0][0] = x;
        plan.setDataColl(data);
        EXPECT_FALSE(plan.estim()) << x;
    }
}

// The header's figure for the tilt of the algebraic fit against the orthogonal one.
TEST(PlanEstimator, IsPulledAwayFromTheOriginAsItsHeaderSays)
{
    RandomData random(5);
    constexpr double sigma = 0.05, distance = 2.0, along = 100.0;
    Points data;
    for (int i = 0; i < 20000; ++i)
        data.push_back(Vector::of({along + random.uniform(-5, 5), random.uniform(-5, 5),
                                   distance + random.normal(sigma)}));
    PlanEstimator plan;
    plan.setDataColl(data);
    ASSERT_TRUE(plan.estim());
    Vector const n = plan.getNormal();
    double const variance = 100.0 / 12.0;  // of the x
    double const expected =
        sigma * sigma / variance * along * distance / (1.0 + distance * distance);
    EXPECT_NEAR(std::abs(n[0] / n[2]), expected, 0.25 * expected);  // first order
    EXPECT_EQ(plan.getDistToOrigin(), plan.getEstimParams()[3]);
}

// A surface to measure: its point at two coordinates from -1 to 1 and at a signed distance, written
// without the library's models.
struct Truth {
    std::unique_ptr<Estimator> (*model)();
    double radius;  // 0: none
    std::function<Vector(double a, double b, double off)> point;
};

template <class Model>
std::unique_ptr<Estimator> make()
{
    return std::make_unique<Model>();
}

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
        {make<LineEstimator>, 0, [=](auto a, auto, auto off) { return p + 5 * a * x + off * y; }},
        {make<PlanEstimator>, 0,
         [=](auto a, auto b, auto off) { return q + 5 * a * u + 5 * b * v + off * w; }},
        {make<CircleEstimator>, 3,
         [=](auto a, auto, auto off) { return p + (3 + off) * radial(1.3 * a, x, y); }},
        {make<SphereEstimator>, 2,
         [=](auto a, auto b, auto off) {
             return q + (2 + off) * radial(1.4 * a, w, radial(3 * b, u, v));
         }},
        {make<CylinderEstimator>, 1.5,
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

// Of exact points from the fitted model: this does not depend on how its parameters are written.
double largestDeviation(Estimator& model, Truth const& truth, RandomData& random)
{
    Vector const params = model.getEstimParams();
    model.setDataColl(measured(truth, random, 200, 0.0));
    double largest = 0.0;
    for (double const r : residualsOf(model, params)) largest = std::max(largest, std::abs(r));
    return largest;
}

class Models : public testing::Test {
    LogRecorder _quiet{g_MathLogger, log4cplus::OFF_LOG_LEVEL};
};

TEST_F(Models, RecoverExactPointsFromAFewAndMore)
{
    for (double const offset : {0.0, 1e3, 1e6}) {
        for (Truth const& truth : truths(offset)) {
            RandomData random(1);
            std::unique_ptr<Estimator> const model = truth.model();
            int const few = static_cast<int>(model->getNbMinData()) + 1;
            for (int const n : {few, 40, 500}) {
                model->setDataColl(measured(truth, random, n, 0.0));
                ASSERT_TRUE(model->estim());
                // Rounding of the coordinates, times what short arcs amplify.
                EXPECT_LT(largestDeviation(*model, truth, random), 1e-9 + 1e-13 * offset)
                    << n << " points, radius " << truth.radius << ", offset " << offset;
            }
        }
    }
}

TEST_F(Models, OfARadiusHaveErrorsThatAgreeWithTheirCovariance)
{
    constexpr int runs = 100;
    for (Truth const& truth : truths(100.0)) {
        if (truth.radius == 0.0) continue;
        RandomData random(2);
        std::unique_ptr<Estimator> const model = truth.model();
        int const last = static_cast<int>(model->getNbParams()) - 1;
        double chiSquare = 0.0, bias = 0.0;
        for (int run = 0; run < runs; ++run) {
            model->setDataColl(measured(truth, random, 60, 0.01));
            ASSERT_TRUE(model->estim());
            double const error = model->getEstimParams()[last] - truth.radius;
            double const normalised = error / std::sqrt(model->getEstimCov()[last][last]);
            chiSquare += normalised * normalised;
            bias += normalised;
        }
        EXPECT_NEAR(chiSquare / runs, 1.0, 5.0 * std::sqrt(2.0 / runs)) << truth.radius;
        EXPECT_LT(std::abs(bias) / runs, 0.5) << truth.radius;  // 5 sigma of the mean
    }
}

TEST_F(Models, AreFoundAmongOutliersByBothControllers)
{
    struct Case {
        int n, nbOut;
        double offset;
    };
    constexpr double sigma = 0.005;  // a 40th of the nearest outlier's distance
    for (Case const c : {Case{30, 6, 0.0}, {150, 0, 1e3}, {150, 60, 10.0}, {300, 105, 1e6}}) {
        for (Truth const& truth : truths(c.offset)) {
            SCOPED_TRACE(testing::Message() << c.n << " points, radius " << truth.radius);
            RandomData random(3);
            Points data = measured(truth, random, c.n, sigma, c.nbOut);
            if (c.nbOut > 0) data[0][1] = nan;
            std::unique_ptr<Estimator> const model = truth.model();
            model->setDataColl(data);
            initRandGene(17);
            Ransac ransac;
            ransac.setEstimator(model.get());
            ransac.setOutliersThreshold(8.0 * sigma);
            ransac.setOutliersRatio(0.5);
            ransac.setSuccessRatio(0.999);
            ASSERT_TRUE(ransac.robustEstimation());
            for (int i = 0; i < c.n; ++i)
                EXPECT_EQ(ransac.isOutlier(static_cast<unsigned int>(i)), i < c.nbOut) << i;
            EXPECT_NEAR(ransac.getInlierRms(), sigma, 0.4 * sigma);

            LMedS lmeds;
            lmeds.setEstimator(model.get());
            lmeds.setOutliersRatio(0.45);
            lmeds.setSuccessRatio(0.999);
            ASSERT_TRUE(lmeds.robustEstimation());
            for (unsigned int i = 0; static_cast<int>(i) < c.nbOut; ++i)
                EXPECT_TRUE(lmeds.isOutlier(i)) << i;
            Points inliers;
            lmeds.getInlierColl(inliers);
            EXPECT_GT(inliers.size(), 0.8 * (c.n - c.nbOut));
            EXPECT_EQ(inliers.size() + lmeds.getNbOutliers(), data.size());
            EXPECT_LT(largestDeviation(*model, truth, random), 5.0 * sigma);
        }
    }
}

// Derived classes are refitted by the copy of the inliers, the models themselves without it.
template <class Model>
struct Copying : Model {
    bool preProcessing(Points const& coll) override
    {
        fitted = coll;
        return true;
    }
    Points fitted;
};

Points inliersOf(Estimator& model, Points const& data)
{
    model.setDataColl(data);
    Ransac ransac;
    ransac.setEstimator(&model);
    ransac.setOutliersThreshold(0.08);
    initRandGene(3);
    EXPECT_TRUE(ransac.robustEstimation());
    Points inliers;
    ransac.getInlierColl(inliers);
    return inliers;
}

// The inliers for both, which find the same ones.
template <class Model>
Points inliersOf(Model& model, Copying<Model>& copying, Points const& data)
{
    Points const inliers = inliersOf(copying, data);
    EXPECT_TRUE(inliers == copying.fitted);
    EXPECT_TRUE(inliers == inliersOf(model, data));
    return inliers;
}

TEST(RobustRefit, IsTheFitOfTheInliers)
{
    RandomData random(10);
    Truth const lineTruth = truths(10.0)[0], planeTruth = truths(10.0)[1];
    for (int const n : {20, 60, 700, 3000}) {  // few, one block of rows and several
        LineEstimator line;
        Copying<LineEstimator> copyingLine;
        inliersOf(line, copyingLine, measured(lineTruth, random, n, 0.01, n / 4));
        EXPECT_TRUE(line.getEstimParams() == copyingLine.getEstimParams());

        PlanEstimator plan;
        Copying<PlanEstimator> copyingPlan;
        Points const inliers =
            inliersOf(plan, copyingPlan, measured(planeTruth, random, n, 0.01, n / 4));
        Matrix A(inliers.size(), 4);
        for (int i = 0; i < A.getRow(); ++i) {
            A.setRowVector(i, -Vector::of({0, 0, 0, 1}));
            for (int k = 0; k < 3; ++k) A[i][k] = inliers[static_cast<std::size_t>(i)][k];
        }
        SVDSolver solver;
        solver.solve(A);
        constexpr double digits = 1e-11;  // 16 less those of the condition number, about 1e4
        for (PlanEstimator* const fit : {&plan, static_cast<PlanEstimator*>(&copyingPlan)}) {
            EXPECT_NEAR(std::abs(fit->getEstimParams().dot(solver.getVecSol())), 1.0, digits);
            EXPECT_LT((fit->getEstimCov() - solver.getCov()).frobeniusNorm(),
                      digits * solver.getCov().frobeniusNorm());
            EXPECT_NEAR(fit->getRMS3D() * fit->getNormal().length(), solver.getRMS(),
                        digits * solver.getRMS());
        }
    }
}

}  // namespace
