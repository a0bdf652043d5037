#include "math/Buckets.h"
#include "math/Random.h"

#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <set>

namespace {

using Points = std::vector<Vector>;
constexpr char const* notReady = "Call init and setDataColl before use";

struct Filled : Buckets {
    Filled(unsigned int dims, Points const& points)
    {
        init(dims);
        setDataColl(points);
    }
};

// The cell of a point in a grid of 8 cells a side over the unit cube.
int cellOf(Vector const& p)
{
    int cell = 0;
    for (double const x : p) cell = 8 * cell + std::min(7, static_cast<int>(8.0 * x));
    return cell;
}

TEST(Buckets, SamplesComeFromDifferentCellsInProportionToTheirPopulation)
{
    for (unsigned int const dims : {1U, 2U, 3U}) {
        RandomData random(dims);
        int const n = static_cast<int>(dims);
        Points points = {random.vector(n, 0.0, 0.0), random.vector(n, 1.0, 1.0)};  // two corners
        while (points.size() < 400)
            points.push_back(random.vector(n, 0.0, 1.0) * random.vector(n, 0.0, 1.0));
        std::map<int, double> share, drawn;
        for (Vector const& p : points) share[cellOf(p)] += 1.0 / 400.0;

        Filled const buckets(dims, points);
        ASSERT_EQ(buckets.getNbValidBuckets(), share.size());

        Points sample;
        std::set<double> seen;
        constexpr int draws = 20000;
        initRandGene(3);
        for (int i = 0; i < draws; ++i) {
            buckets.getDataRandomSample(sample, 1);
            drawn[cellOf(sample[0])] += 1.0 / draws;
            seen.insert(sample[0][0]);
        }
        EXPECT_EQ(seen.size(), points.size()) << "every point of a cell has its chance";
        for (auto const& [cell, p] : share)  // five standard errors and the generator's step
            EXPECT_NEAR(drawn[cell], p, 5.0 * std::sqrt(p / draws) + 1e-4);

        for (unsigned int const count : {5U, buckets.getNbValidBuckets()}) {
            buckets.getDataRandomSample(sample, count);
            std::set<int> different;
            for (Vector const& datum : sample) different.insert(cellOf(datum));
            EXPECT_EQ(different.size(), count);
        }
    }
}

TEST(Buckets, FacesAndFlatDimensionsGoToTheLastCell)
{
    Points points;
    for (int i = 0; i <= 8; ++i) points.push_back(Vector::of({7.0, 1.0 * i}));
    Filled buckets(2, points);
    EXPECT_EQ(buckets.getNbValidBuckets(), 8U) << "the upper face shares the last cell";
    buckets.setNbBuckets(1, 3);
    EXPECT_MATH_ERROR(buckets.getNbValidBuckets(), notReady);
    buckets.setDataColl(points);
    EXPECT_EQ(buckets.getNbValidBuckets(), 3U);
}

// Cells with three points and one among a hundred thousand: the generator's steps never reach them.
TEST(Buckets, SparseBucketsAreDrawnByTheirSharesToo)
{
    Points points(100000, Vector::of({0.0}));
    for (std::size_t i = 50000; i < points.size(); ++i) points[i][0] = 8.0;
    for (double const x : {3.0, 3.2, 3.4, 5.0}) points.push_back(Vector::of({x}));
    Filled const buckets(1, points);
    std::map<double, int> thirdCell;
    Points sample;
    initRandGene(9);
    constexpr int draws = 1000;
    for (int i = 0; i < draws; ++i) {
        buckets.getDataRandomSample(sample, 3);
        ++thirdCell[std::floor(sample[2][0])];
    }
    EXPECT_EQ(thirdCell[3.0] + thirdCell[5.0], draws);
    EXPECT_NEAR(thirdCell[5.0], draws / 4.0, 5.0 * std::sqrt(draws * 3.0 / 16.0));
}

TEST(Buckets, MisuseThrowsAndKeepsWhatWasThere)
{
    Buckets buckets;
    Points const ends = {Vector::of({0, 0}), Vector::of({1e308, -1e308}),
                         Vector::of({-1e308, 1e308})};
    Points sample;
    expectMathErrors("Call init before use",
                     {[&] { buckets.setNbBuckets(0, 1); }, [&] { buckets.setDataColl(ends); }});
    buckets.init(2);
    EXPECT_MATH_ERROR(buckets.setNbBuckets(2, 1), "Invalid dimension idx");
    EXPECT_MATH_ERROR(buckets.setNbBuckets(1, 0), "Invalid number of buckets, should not be null");
    EXPECT_MATH_ERROR(buckets.getDataRandomSample(sample, 1), notReady);
    buckets.setDataColl(ends);  // an extent beyond the largest double
    EXPECT_MATH_ERROR(buckets.setDataColl({}), "Empty dataColl, can't proceed");
    EXPECT_MATH_ERROR(buckets.setDataColl({Vector(3)}), "Invalid data vector size");
    EXPECT_MATH_ERROR(buckets.setDataColl({Vector(2), Vector(2)}),
                      "Invalid dataColl, null bucket size throught all directions");
    EXPECT_MATH_ERROR(buckets.setDataColl({Vector(2), Vector::of({0, std::nan("")})}),
                      "Invalid dataColl, coordinates should be finite");
    EXPECT_MATH_ERROR(buckets.getDataRandomSample(sample, 4),
                      "Not enought valid buckets to ensure requested number of samples");
    buckets.getDataRandomSample(sample, 1);
    EXPECT_EQ(sample.size(), 1U);
}

}  // namespace
