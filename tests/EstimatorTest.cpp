#include "math/LMedS.h"
#include "math/LineEstimator.h"
#include "math/MeanEstimator.h"
#include "math/PlanEstimator.h"
#include "math/Random.h"
#include "math/Ransac.h"
#include "math/SVDSolver.h"

#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <initializer_list>
#include <limits>
#include <set>

namespace {

using Points = std::vector<Vector>;

constexpr double pi = 3.141592653589793;

template <class Base> struct Open : Base {
    using Base::computeResiduals;
    using Base::getDataRandomSample;
    using Base::getPackedCoordinate;
};

Vector residualsOf(Estimator const& estimator)
{
    Vector residuals(estimator.getNbData());
    estimator.getResiduals(estimator.getEstimParams(), residuals);
    return residuals;
}

// A plane with unit normal through `centre`.
struct Plane {
    Vector normal, u, v, centre;

    Plane(RandomData& random, double offset) : centre(offset * random.vector(3))
    {
        normal = random.vector(3);
        normal /= normal.length();
        u = normal.cross(random.vector(3));
        u /= u.length();
        v = normal.cross(u);
    }
    Vector point(RandomData& random, double sigma) const
    {
        return centre + random.uniform(-5.0, 5.0) * u + random.uniform(-5.0, 5.0) * v +
               random.normal(sigma) * normal;
    }
    double distance(Vector const& p) const { return (p - centre).dot(normal); }
};

TEST(Estimator, LifeCycleAndMisuse)
{
    LineEstimator line;
    MeanEstimator mean;
    PlanEstimator plan;
    EXPECT_EQ(line.getNbMinData(), 2U);
    EXPECT_EQ(plan.getNbParams(), 4U);
    EXPECT_EQ(line.getNbParams(), 2U);
    EXPECT_MATH_ERROR(line.getNbData(), "Set DataColl before use");
    EXPECT_MATH_ERROR(line.estim(), "Set DataColl before use");
    EXPECT_MATH_ERROR(line.getEstimParams(), "Call estim before use");
    EXPECT_MATH_ERROR(line.getEstimCov(), "Call estim before use");
    EXPECT_MATH_ERROR(plan.getRMS3D(), "Call estim before use");
    EXPECT_MATH_ERROR(plan.getNormal(), "Call estim before use");
    EXPECT_MATH_ERROR(plan.getDistToOrigin(), "Call estim before use");
    EXPECT_MATH_ERROR(mean.setDataSize(0), "NbParams should not be null");

    Points const two = {Vector::of({0, 0}), Vector::of({1, 1})};
    line.setDataColl(two);
    ASSERT_TRUE(line.estim());
    EXPECT_MATH_ERROR(line.setDataColl({Vector(3), Vector(2)}), "Invalid data vector size in collection");
    EXPECT_MATH_ERROR(line.setDataColl({Vector(2)}), "Not enough data to ensure nbMinData");
    EXPECT_EQ(line.getEstimParams()[0], pi / 4) << "a refused collection changes nothing";
    Vector two2(2);
    Vector three(3);
    EXPECT_MATH_ERROR(line.getResiduals(three, three), "Invalid residuals vector size");
    EXPECT_MATH_ERROR(line.getResiduals(three, two2), "Invalid params vector size");
    line.setDataColl(two);
    EXPECT_MATH_ERROR(line.getEstimParams(), "Call estim before use");

    mean.setDataSize(3);
    EXPECT_MATH_ERROR(mean.setDataColl(two), "Invalid data vector size in collection");
    mean.setDataColl({Vector(3), Vector(3)});
    mean.setDataSize(2);  // the data now are of another dimension
    EXPECT_MATH_ERROR(mean.estim(), "Invalid data vector size in collection");
    EXPECT_MATH_ERROR(mean.getResiduals(two2, two2), "Invalid data vector size in collection");
    Open<LineEstimator> open;
    open.setDataColl(two);
    EXPECT_MATH_ERROR(open.getPackedCoordinate(2), "Invalid data vector size in collection");
    EXPECT_MATH_ERROR(Open<PlanEstimator>::computeResiduals(Vector(4), two, three),
                      "Uncompatible vector/coll sizes");
    EXPECT_MATH_ERROR(Open<PlanEstimator>::computeResiduals(Vector(3), two, two2),
                      "Invalid parameters vector size");
    EXPECT_MATH_ERROR(Open<LineEstimator>::computeResiduals(Vector(2), two, three),
                      "Uncompatible vector/coll sizes");
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
    Points data;
    for (int i = 0; i < 9; ++i) data.push_back(Vector::of({1.0 * i, 0, 0}));
    Open<PlanEstimator> plan;
    plan.setDataColl(data);
    Points sample = data;
    for (unsigned int seed = 0; seed < 200; ++seed) {
        std::srand(seed);
        plan.getDataRandomSample(sample);
        ASSERT_EQ(sample.size(), 4U);
        std::srand(seed);
        std::set<int> taken;
        for (Vector const& datum : sample) {
            int i = std::rand() % 9;
            while (!taken.insert(i).second) i = std::rand() % 9;
            ASSERT_EQ(datum[0], i);
        }
    }
    data.resize(4);
    plan.setDataColl(data);
    plan.getDataRandomSample(sample);
    auto const isLess = [](Vector const& a, Vector const& b) { return a[0] < b[0]; };
    std::sort(sample.begin(), sample.end(), isLess);
    for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(sample[i][0], data[i][0]);
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
            Matrix const cov = estimator.getEstimCov();
            for (int i = 0; i < d; ++i) {
                long double mean = 0.0L;
                for (Vector const& x : data) mean += x[i] / 500.0L;
                EXPECT_NEAR(m[i], static_cast<double>(mean), 1e-15 + 2.3e-16 * std::abs(offset));
                for (int j = 0; j < d; ++j) {
                    long double s = 0.0L;
                    for (Vector const& x : data) s += (x[i] - m[i]) * (x[j] - m[j]) / 500.0L;
                    EXPECT_NEAR(cov[i][j], static_cast<double>(s), 1e-14);
                }
            }
            Vector const r = residualsOf(estimator);
            for (int i = 0; i < 500; ++i)
                EXPECT_NEAR(r[i], (data[static_cast<std::size_t>(i)] - m).length(), 1e-15 * (1.0 + r[i]));
        }
    }
}

TEST(LineEstimator, FindsEveryDirection)
{
    struct Case {
        Points data;
        double theta, rho;
    };
    Case const cases[] = {
        {{Vector::of({0, 0}), Vector::of({1, 1}), Vector::of({2, 2})}, pi / 4, 0.0},
        {{Vector::of({0, 0}), Vector::of({1, -1})}, -pi / 4, 0.0},
        {{Vector::of({3, 0}), Vector::of({3, 5}), Vector::of({3, 1})}, pi / 2, -3.0},
        {{Vector::of({0, 2}), Vector::of({5, 2})}, 0.0, 2.0},
    };
    for (Case const& c : cases) {
        LineEstimator line;
        line.setDataColl(c.data);
        ASSERT_TRUE(line.estim());
        EXPECT_NEAR(line.getEstimParams()[0], c.theta, 1e-15);
        EXPECT_NEAR(line.getEstimParams()[1], c.rho, 1e-15);
    }
    // Every angle and offset: the residuals of exact points vanish, theta stays in its range.
    RandomData random(2);
    for (int k = -180; k <= 180; ++k) {
        double const angle = k * pi / 180;
        double const offset = std::pow(10.0, (k + 180) % 7);
        Points data;
        for (int i = 0; i < 20; ++i) {
            double const t = random.uniform(-1.0, 1.0);
            data.push_back(Vector::of({offset + t * std::cos(angle), -offset + t * std::sin(angle)}));
        }
        LineEstimator line;
        line.setDataColl(data);
        ASSERT_TRUE(line.estim());
        double const theta = line.getEstimParams()[0];
        EXPECT_GT(theta, -pi / 2);
        EXPECT_LE(theta, pi / 2);
        EXPECT_NEAR(std::sin(theta - angle), 0.0, 1e-15 * offset + 1e-14);
        EXPECT_LT(residualsOf(line).length(), 1e-14 * offset);
    }
}

TEST(PlanEstimator, FitsExactPointsAtAnyDistance)
{
    RandomData random(4);
    for (double const offset : {0.0, 1.0, 1e3, 1e6}) {
        for (int const n : {4, 5, 50}) {
            Plane const truth(random, offset);
            Points data;
            for (int i = 0; i < n; ++i) data.push_back(truth.point(random, 0.0));
            PlanEstimator plan;
            plan.setDataColl(data);
            ASSERT_TRUE(plan.estim()) << n << " points, offset " << offset;
            double const tolerance = 1e-13 * (1.0 + offset) * (n == 4 ? 100.0 : 1.0);
            Vector const normal = plan.getNormal();
            EXPECT_NEAR(std::abs(normal.dot(truth.normal)) / normal.length(), 1.0, tolerance);
            EXPECT_LT(plan.getRMS3D(), tolerance);
            EXPECT_NEAR(plan.getDistToOrigin() - normal.dot(data[0]), 0.0, tolerance);
        }
    }
}

TEST(LineEstimator, RefusesIsotropicScatterAndNonFinitePoints)
{
    LineEstimator line;
    line.setDataColl({Vector::of({1, 0}), Vector::of({-1, 0}), Vector::of({0, 1}), Vector::of({0, -1})});
    EXPECT_FALSE(line.estim());
    line.setDataColl({Vector::of({1, 0}), Vector::of({std::nan(""), 0})});
    EXPECT_FALSE(line.estim());
}

TEST(PlanEstimator, RefusesPointsOnALineAndNonFiniteOnes)
{
    Points data;
    for (int i = 0; i < 6; ++i) data.push_back(Vector::of({1.0 * i, 2.0 * i, 1.0 + i}));
    PlanEstimator plan;
    plan.setDataColl(data);
    EXPECT_FALSE(plan.estim());
    data[2] = Vector::of({0, std::numeric_limits<double>::infinity(), 0});
    plan.setDataColl(data);
    EXPECT_FALSE(plan.estim());
}

// The header's figure for the tilt of the algebraic fit against the orthogonal one.
TEST(PlanEstimator, IsPulledAwayFromTheOriginAsItsHeaderSays)
{
    RandomData random(5);
    constexpr double sigma = 0.05;
    constexpr double distance = 2.0;
    constexpr double along = 100.0;
    Points data;
    for (int i = 0; i < 20000; ++i)
        data.push_back(Vector::of({along + random.uniform(-5, 5), random.uniform(-5, 5),
                                   distance + random.normal(sigma)}));
    PlanEstimator plan;
    plan.setDataColl(data);
    ASSERT_TRUE(plan.estim());
    Vector const n = plan.getNormal();
    double const spread = 10.0 / std::sqrt(12.0);
    double const expected = sigma * sigma / (spread * spread) * along * distance / (1.0 + distance * distance);
    EXPECT_NEAR(std::abs(n[0] / n[2]), expected, 0.25 * expected);  // first order
}

struct Planted {
    Points data;
    std::vector<bool> isOut;
};

// `share` of the points lie off the plane by 20 to 60 sigma.
Planted plantedPlane(RandomData& random, Plane const& truth, int n, double share, double sigma)
{
    Planted planted;
    for (int i = 0; i < n; ++i) {
        bool const out = i < share * n;
        double const off = random.uniform(20.0, 60.0) * sigma * (random.integer(0, 1) == 0 ? -1.0 : 1.0);
        planted.data.push_back(truth.point(random, std::min(sigma, 0.01)) + (out ? off : 0.0) * truth.normal);
        planted.isOut.push_back(out);
    }
    return planted;
}

TEST(RobustPlane, FlagsExactlyThePlantedOutliers)
{
    constexpr double sigma = 0.01;
    RandomData random(6);
    for (double const offset : {0.0, 1e3, 1e6}) {
        for (int const n : {30, 300}) {
            for (double const share : {0.0, 0.2, 0.35}) {
                SCOPED_TRACE(testing::Message() << n << " points, share " << share << ", offset " << offset);
                initRandGene(99);
                Plane const truth(random, offset);
                Planted const planted = plantedPlane(random, truth, n, share, sigma);
                PlanEstimator plan;
                plan.setDataColl(planted.data);

                Ransac ransac;
                ransac.setEstimator(&plan);
                ransac.setOutliersThreshold(8.0 * sigma);
                ransac.setOutliersRatio(0.5);
                ransac.setSuccessRatio(0.9999);
                ASSERT_TRUE(ransac.robustEstimation());
                for (unsigned int i = 0; i < planted.data.size(); ++i)
                    EXPECT_EQ(ransac.isOutlier(i), planted.isOut[i]) << i;
                EXPECT_NEAR(ransac.getInlierRms(), sigma, 0.4 * sigma);
                Vector const normal = plan.getNormal();
                EXPECT_GT(std::abs(normal.dot(truth.normal)) / normal.length(), 1.0 - 1e-5);

                LMedS lmeds;
                lmeds.setEstimator(&plan);
                lmeds.setSuccessRatio(0.9999);
                ASSERT_TRUE(lmeds.robustEstimation());
                for (unsigned int i = 0; i < planted.data.size(); ++i)
                    if (planted.isOut[i]) { EXPECT_TRUE(lmeds.isOutlier(i)) << i; }
                Points inliers;
                lmeds.getInlierColl(inliers);
                EXPECT_GT(inliers.size(), (1.0 - share) * n * 0.8);
                EXPECT_EQ(inliers.size() + lmeds.getNbOutliers(), planted.data.size());
            }
        }
    }
}

// Derived classes are refitted by the copy of the inliers, the models themselves without it.
template <class Model> struct Copying : Model {
    bool preProcessing(Points const& coll) override
    {
        fitted = coll;
        return true;
    }
    Points fitted;
};

template <class Model>
void expectRefitOfInliers(Points const& data, std::function<void(Model&, Copying<Model>&)> const& compare)
{
    Model model;
    Copying<Model> copying;
    for (Estimator* const estimator : std::initializer_list<Estimator*>{&model, &copying}) {
        estimator->setDataColl(data);
        Ransac ransac;
        ransac.setEstimator(estimator);
        ransac.setOutliersThreshold(0.08);
        initRandGene(3);
        ASSERT_TRUE(ransac.robustEstimation());
        if (estimator != &copying) continue;
        Points inliers;
        ransac.getInlierColl(inliers);
        EXPECT_EQ(inliers.size() + ransac.getNbOutliers(), data.size());
        ASSERT_EQ(copying.fitted.size(), inliers.size());
        for (std::size_t i = 0; i < inliers.size(); ++i)
            EXPECT_TRUE(copying.fitted[i] == inliers[i]) << i;
    }
    compare(model, copying);
}

TEST(RobustRefit, IsTheFitOfTheInliers)
{
    RandomData random(10);
    for (int const n : {20, 60, 700, 3000}) {  // few, one block of rows and several
        Points const data = plantedPlane(random, Plane(random, 10.0), n, 0.3, 0.01).data;
        expectRefitOfInliers<PlanEstimator>(data, [&](auto& plan, auto& copying) {
            Matrix A(copying.fitted.size(), 4);
            for (int i = 0; i < A.getRow(); ++i)
                for (int k = 0; k < 4; ++k)
                    A[i][k] = k == 3 ? -1.0 : copying.fitted[static_cast<std::size_t>(i)][k];
            SVDSolver solver;
            solver.solve(A);
            constexpr double digits = 1e-11;  // 16 less those of the condition number, about 1e4
            for (PlanEstimator* const fit : {&plan, static_cast<PlanEstimator*>(&copying)}) {
                Vector const p = fit->getEstimParams();
                EXPECT_NEAR(std::abs(p.dot(solver.getVecSol())), 1.0, digits);
                EXPECT_LT((fit->getEstimCov() - solver.getCov()).frobeniusNorm(), digits * solver.getCov().frobeniusNorm());
                EXPECT_NEAR(fit->getRMS3D() * fit->getNormal().length(), solver.getRMS(), digits * solver.getRMS());
            }
        });
        Points flat;
        for (Vector const& p : data) flat.push_back(Vector::of({p[0], 0.1 * p[0] + (flat.size() % 3 == 0 ? p[1] : 0.0)}));
        expectRefitOfInliers<LineEstimator>(flat, [](auto& line, auto& copying) {
            EXPECT_TRUE(line.getEstimParams() == copying.getEstimParams());
        });
    }
}

TEST(RobustLine, SeesThroughNansAndOutliers)
{
    RandomData random(8);
    Points data;
    for (int i = 0; i < 200; ++i) {
        double const t = random.uniform(-10.0, 10.0);
        double const off = i % 5 == 0 ? random.uniform(3.0, 8.0) : random.normal(0.01);
        data.push_back(Vector::of({t, i % 20 == 0 ? std::nan("") : 1.0 + 0.5 * t + off}));
    }
    LineEstimator line;
    line.setDataColl(data);
    Ransac ransac;
    ransac.setEstimator(&line);
    ransac.setOutliersThreshold(0.1);
    initRandGene(5);
    ASSERT_TRUE(ransac.robustEstimation());
    EXPECT_EQ(ransac.getNbOutliers(), 40U);
    EXPECT_NEAR(std::tan(ransac.getEstimParams()[0]), 0.5, 1e-3);
}

}  // namespace
