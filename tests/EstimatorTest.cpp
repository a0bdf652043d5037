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
#include <initializer_list>
#include <limits>
#include <memory>
#include <typeinfo>

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
    using Estimator::getDataRandomSample;
    using Estimator::init;
};

TEST(Estimator, LifeCycleAndMisuse)
{
    char const* const notEstimated = "Call estim before use";
    char const* const badSize = "Invalid data vector size in collection";
    char const* const tooFew = "Not enough data to ensure nbMinData";
    Points const two = {Vector::of({0, 0}), Vector::of({1, 1})}, mixed = {Vector(3), Vector(2)};
    Points sample;
    Vector two2(2), three(3);
    Bare bare;
    expectMathErrors(
        "Init estimator before use",
        {[&] { bare.getNbMinData(); }, [&] { bare.getNbParams(); }, [&] { bare.setDataColl(two); },
         [&] { bare.estim(two); }, [&] { bare.getDataRandomSample(sample); }});
    EXPECT_MATH_ERROR(bare.init(0, 1), "NbParams should not be null");
    EXPECT_MATH_ERROR(bare.init(1, 0), "NbMinData should not be null");
    bare.init(3, 2);
    EXPECT_MATH_ERROR(bare.estim(Points(1)), tooFew);
    EXPECT_TRUE(bare.estim(two));
    EXPECT_TRUE(isNear(bare.getEstimCov(), Matrix(3, 3, Matrix::IDENTITY), 0));

    Open<PlanEstimator> plan;
    Open<LineEstimator> line;
    expectMathErrors("Set DataColl before use", {[&] { line.getNbData(); }, [&] { line.estim(); },
                                                 [&] { line.getDataRandomSample(sample); }});
    line.setDataColl(two);
    expectMathErrors(notEstimated, {[&] { plan.getRMS3D(); }, [&] { plan.getNormal(); },
                                    [&] { plan.getDistToOrigin(); }, [&] { line.getEstimCov(); }});
    expectMathErrors("Uncompatible vector/coll sizes",
                     {[&] { Open<PlanEstimator>::computeResiduals(Vector(4), two, three); },
                      [&] { Open<LineEstimator>::computeResiduals(two2, two, three); }});
    expectMathErrors("Invalid parameters vector size",
                     {[&] { Open<PlanEstimator>::computeResiduals(Vector(3), two, two2); },
                      [&] { Open<LineEstimator>::computeResiduals(three, two, two2); }});

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
            Points const data = random.vectors(n, d, offset - 1, offset + 1);
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

TEST(Models, OfARadiusHaveErrorsThatAgreeWithTheirCovariance)
{
    constexpr int runs = 100;
    CircleEstimator circle;
    SphereEstimator sphere;
    CylinderEstimator cylinder;
    for (Estimator* const model : std::initializer_list<Estimator*>{&circle, &sphere, &cylinder}) {
        RandomData random(2);
        int const last = static_cast<int>(model->getNbParams()) - 1;
        double chiSquare = 0.0;
        for (int run = 0; run < runs; ++run) {
            Points points = random.vectors(60, model == &circle ? 2 : 3);
            for (Vector& p : points)  // the axis of the cylinder is z
                p *= (3.0 + random.normal(0.01)) / p(0, model == &sphere ? 3 : 2).length();
            model->setDataColl(points);
            ASSERT_TRUE(model->estim());
            double const error = model->getEstimParams()[last] - 3.0;
            chiSquare += error * error / model->getEstimCov()[last][last];
        }
        EXPECT_NEAR(chiSquare / runs, 1.0, 5.0 * std::sqrt(2.0 / runs)) << last;
    }
}

// The points with others well off the model beside them, one of which is no number.
Points withOutliers(Points const& good, Estimator& model, Vector const& best)
{
    RandomData random(3);
    Points data = good;
    while (data.size() < 36) {
        data.push_back(good[0] + random.vector(good[0].getSize(), -5.0, 5.0));
        model.setDataColl(data);
        if (std::abs(*(residualsOf(model, best).end() - 1)) < 0.3) data.pop_back();
    }
    data.back()[1] = nan;
    return data;
}

// Arcs and patches of 24 points with noise of 0.01, up to a million from the origin, and outliers.
TEST(Models, AreFoundAmongOutliersByBothControllers)
{
    LogRecorder const quiet(g_MathLogger, log4cplus::OFF_LOG_LEVEL);
    std::shared_ptr<Estimator> const models[] = {
        std::make_shared<CircleEstimator>(),   std::make_shared<SphereEstimator>(),
        std::make_shared<CylinderEstimator>(), nullptr,
        std::make_shared<LineEstimator>(),     std::make_shared<PlanEstimator>()};
    auto const rows = readReference("fits.csv");
    for (std::size_t k = 0; k < rows.size(); k += 2) {
        auto const kind = static_cast<std::size_t>(rows[k][0]);
        if (models[kind] == nullptr || rows[k][1] < 180.0) continue;
        Estimator& model = *models[kind];
        int const dimension = kind == 0 || kind == 4 ? 2 : 3;
        Points good;
        for (std::size_t i = 0; i < rows[k + 1].size(); i += static_cast<std::size_t>(dimension))
            good.emplace_back(&rows[k + 1][i], dimension);
        model.setDataColl(good);
        ASSERT_TRUE(model.estim());
        Vector const best = model.getEstimParams();
        Points const data = withOutliers(good, model, best);
        Ransac ransac;
        LMedS lmeds;
        ransac.setOutliersThreshold(0.1);
        for (RobustCtrl* const control : std::initializer_list<RobustCtrl*>{&ransac, &lmeds}) {
            SCOPED_TRACE(testing::Message()
                         << "fit " << k / 2 << " by " << typeid(*control).name());
            initRandGene(17);
            model.setDataColl(data);
            control->setEstimator(&model);
            control->setOutliersRatio(0.45);
            control->setSuccessRatio(0.999);
            ASSERT_TRUE(control->robustEstimation());
            for (unsigned int i = 24; i < 36; ++i) EXPECT_TRUE(control->isOutlier(i)) << i;
            EXPECT_LT(control->getNbOutliers(), 12U + 6U);
            EXPECT_LT(control->getInlierRms(), 0.02);
            Vector const r = residualsOf(model, control->getEstimParams());
            double squares = 0.0;
            for (unsigned int i = 0; i < 24; ++i)
                squares += control->isOutlier(i) ? 0 : r[i] * r[i];
            EXPECT_DOUBLE_EQ(control->getInlierRms(),
                             std::sqrt(squares / (36 - control->getNbOutliers())));
        }
    }
}

// Near a line or a plane; the first points are outliers.
Points measured(RandomData& random, int dimension, int n)
{
    Points points = random.vectors(n, dimension, -5.0, 5.0);
    for (int i = 0; i < n; ++i) {
        Vector& p = points[static_cast<std::size_t>(i)];
        double const off = i < n / 4 ? random.uniform(0.2, 0.8) : random.normal(0.01);
        p[dimension - 1] = 10.0 + 0.75 * p[0] + 1.25 * off;
    }
    return points;
}

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

// Derived classes are refitted by a copy of the inliers, the models themselves without it.
template <class Model>
struct Copying : Model {
};

TEST(RobustRefit, IsTheFitOfTheInliers)
{
    RandomData random(10);
    for (int const n : {20, 60, 700, 3000}) {  // few, one block of rows and several
        Points const onLine = measured(random, 2, n);
        LineEstimator line;
        Copying<LineEstimator> copyingLine;
        EXPECT_TRUE(inliersOf(line, onLine) == inliersOf(copyingLine, onLine));
        EXPECT_TRUE(line.getEstimParams() == copyingLine.getEstimParams());

        Points const onPlane = measured(random, 3, n);
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

TEST(LineAndPlane, OtherPointsHaveSignedDistancesAsResiduals)
{
    Points const points = RandomData(8).vectors(5, 3);
    Points flat;
    for (Vector const& p : points) flat.push_back(p(0, 2));
    Vector const line = Vector::of({0.3, 0.7}), plane = Vector::of({2.0, -1.0, 2.0, 1.5});
    Vector toLine(5), toPlane(5);
    Open<LineEstimator>::computeResiduals(line, flat, toLine);
    Open<PlanEstimator>::computeResiduals(plane, points, toPlane);
    for (int i = 0; i < 5; ++i) {
        Vector const& p = points[static_cast<std::size_t>(i)];
        EXPECT_NEAR(toLine[i], p[1] * std::cos(0.3) - p[0] * std::sin(0.3) - 0.7, 1e-15);
        EXPECT_NEAR(toPlane[i], (plane(0, 3).dot(p) - 1.5) / 3.0, 1e-15);
    }
}

}  // namespace
