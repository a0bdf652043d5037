#include "math/Random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

// The draws that the functions see for this seed.
std::vector<int> drawsOf(unsigned int seed, int count)
{
    std::srand(seed);
    std::vector<int> draws;
    for (int i = 0; i < count; ++i) draws.push_back((std::rand() >> 16) & 0x7fff);
    std::srand(seed);
    return draws;
}

// Empties the cache of vaGauss, which no seed clears.
void forgetPendingDeviate()
{
    std::srand(1);
    int const untouched = std::rand();
    std::srand(1);
    vaGauss(1.0);
    if (std::rand() != untouched) vaGauss(1.0);  // it drew a pair: take the second one too
}

TEST(Random, FollowsTheDrawsOfTheStandardGenerator)
{
    constexpr int count = 70000;
    int ends = 0;
    for (int const r : drawsOf(42, count)) {
        double const u = randGene();
        ASSERT_EQ(u, r * 3.051850947599719e-05);
        ASSERT_GE(u, 0.0);
        ASSERT_LE(u, 1.0);
        if (r == 32767) {
            EXPECT_EQ(u, 1.0);
            ++ends;
        }
    }
    EXPECT_GT(ends, 0) << "the upper end is reachable";
    for (int const r : drawsOf(43, 1000))
        EXPECT_NEAR(vaUnif(2.5), (r / 32767.0 - 0.5) * 5.0, 1e-15);
}

TEST(Random, SeedsRepeat)
{
    for (unsigned int const seed : {0U, 2U, 12345U}) {
        initRandGene(seed);
        double const first = randGene();
        double const second = randGene();
        initRandGene(seed);
        EXPECT_EQ(randGene(), first);
        EXPECT_EQ(randGene(), second);
    }
    initRandGene(1);  // from the clock: only that it works
    EXPECT_LE(randGene(), 1.0);
}

TEST(Random, IntegersStayInTheirHalfOpenRange)
{
    struct Range {
        int a, b;
    };
    for (Range const range :
         {Range{0, 10}, Range{-7, 3}, Range{5, 6}, Range{-2000000000, 2000000000}}) {
        int lowest = range.b;
        int highest = range.a;
        for (int const r : drawsOf(7, 20000)) {
            int const i = rand(range.a, range.b);
            long long const width = static_cast<long long>(range.b) - range.a;
            long long const expected = r == 32767 ? range.b - 1LL : range.a + width * r / 32767;
            ASSERT_EQ(i, expected);
            lowest = std::min(lowest, i);
            highest = std::max(highest, i);
        }
        EXPECT_GE(lowest, range.a);
        EXPECT_LT(highest, range.b);
    }
    for (int const r : drawsOf(8, 70000)) {
        ASSERT_EQ(rand(5U, 5U), r == 32767 ? 4U : 5U);
    }
    for (int const r : drawsOf(9, 1000)) {
        auto const product = 4000000000U * static_cast<unsigned int>(r);  // modular
        ASSERT_EQ(rand(1U, 4000000001U), r == 32767 ? 4000000000U : 1U + product / 32767U);
    }
}

TEST(Random, GaussTakesAPairOfDrawsEverySecondCall)
{
    for (unsigned int seed = 2; seed < 50; ++seed) {
        std::vector<int> const draws = drawsOf(seed, 3);
        double const u = 2.0 * (draws[0] / 32767.0 - 0.5);
        double const v = 2.0 * (draws[1] / 32767.0 - 0.5);
        double const s = u * u + v * v;
        if (s >= 1.0) continue;  // rejected: another pair is drawn
        double const f = std::sqrt(-2.0 * std::log(s) / s);

        forgetPendingDeviate();
        std::srand(seed);
        EXPECT_NEAR(vaGauss(2.0), 2.0 * v * f, 1e-14);
        EXPECT_NEAR(vaGauss(3.0), 3.0 * u * f, 1e-14) << "scaled by the call that returns it";
        EXPECT_EQ(randGene(), draws[2] * 3.051850947599719e-05) << "two draws were taken";
    }
}

TEST(Random, GaussHasTheMomentsOfANormalDeviate)
{
    initRandGene(11);
    constexpr int n = 200000;
    double moments[5] = {};
    for (int i = 0; i < n; ++i) {
        double const x = vaGauss(3.0) / 3.0;
        double power = 1.0;
        for (double& m : moments) {
            m += power / n;
            power *= x;
        }
    }
    // Four standard errors of each sample moment.
    EXPECT_NEAR(moments[1], 0.0, 4.0 * std::sqrt(1.0 / n));
    EXPECT_NEAR(moments[2], 1.0, 4.0 * std::sqrt(2.0 / n));
    EXPECT_NEAR(moments[3], 0.0, 4.0 * std::sqrt(15.0 / n));
    EXPECT_NEAR(moments[4], 3.0, 4.0 * std::sqrt(96.0 / n));
}

}  // namespace
