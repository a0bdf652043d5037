#include "math/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

namespace {

// The draws that the functions see for this seed.
std::vector<int> drawsOf(unsigned int seed, int count)
{
    std::srand(seed);
    std::vector<int> draws(static_cast<std::size_t>(count));
    for (int& draw : draws) draw = (std::rand() >> 16) & 0x7fff;
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

TEST(Random, RealsFollowTheDrawsOfTheStandardGenerator)
{
    std::vector<int> const draws = drawsOf(42, 70000);
    ASSERT_EQ(std::ranges::max(draws), 32767) << "the upper end is reachable";
    for (int const r : draws) ASSERT_EQ(randGene(), r == 32767 ? 1.0 : r * 3.051850947599719e-05);
    for (int const r : drawsOf(43, 1000))
        EXPECT_NEAR(vaUnif(2.5), (r / 32767.0 - 0.5) * 5.0, 1e-15);
}

TEST(Random, SeedIsThatOfTheStandardGeneratorButOneIsTheClock)
{
    for (unsigned int const seed : {0U, 1U, 2U, 12345U}) {
        std::srand(seed);
        int const first = std::rand();
        initRandGene(seed);
        EXPECT_EQ(std::rand() == first, seed != 1) << seed;
    }
}

TEST(Random, IntegersFillTheirHalfOpenRange)
{
    for (auto const& [a, b] : {std::pair(0, 10), {-7, 3}, {5, 6}, {-2000000000, 2000000000}}) {
        long long const width = static_cast<long long>(b) - a;
        for (int const r : drawsOf(42, 70000))
            ASSERT_EQ(rand(a, b), r == 32767 ? b - 1LL : a + width * r / 32767);
    }
    for (int const r : drawsOf(42, 70000)) ASSERT_EQ(rand(5U, 5U), r == 32767 ? 4U : 5U);
    for (int const r : drawsOf(9, 1000)) {
        auto const product = 4000000000U * static_cast<unsigned int>(r);  // modular
        ASSERT_EQ(rand(1U, 4000000001U), r == 32767 ? 4000000000U : 1U + product / 32767U);
    }
}

// The polar method draws pairs until one lies in the unit circle.
TEST(Random, GaussTakesPairsOfDrawsEverySecondCall)
{
    for (unsigned int seed = 2; seed < 50; ++seed) {
        std::vector<int> const draws = drawsOf(seed, 100);
        double u = 0.0, v = 0.0, s = 1.0;
        auto draw = draws.begin();
        while (s >= 1.0) {
            u = 2.0 * (*draw++ / 32767.0 - 0.5);
            v = 2.0 * (*draw++ / 32767.0 - 0.5);
            s = u * u + v * v;
        }
        double const f = std::sqrt(-2.0 * std::log(s) / s);

        forgetPendingDeviate();
        std::srand(seed);
        EXPECT_NEAR(vaGauss(2.0), 2.0 * v * f, 1e-14);
        EXPECT_NEAR(vaGauss(3.0), 3.0 * u * f, 1e-14) << "scaled by the call that returns it";
        EXPECT_EQ(randGene(), *draw * 3.051850947599719e-05) << "no more draws were taken";
    }
}

}  // namespace
