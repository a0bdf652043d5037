#include "math/Munkres.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

#include "math/MathError.h"
#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

Munkres solved(Matrix const& costs)
{
    Munkres grid(costs.getRow(), costs.getCol());
    for (int i = 0; i < costs.getRow(); ++i)
        for (int j = 0; j < costs.getCol(); ++j) grid.setCell(i, j, {costs[i][j]});
    grid.solve();
    return grid;
}

struct Solution {
    Matrix costs, stars;

    explicit Solution(Munkres const& grid) : costs(grid.getRow(), grid.getCol()), stars(costs)
    {
        for (int i = 0; i < costs.getRow(); ++i) {
            for (int j = 0; j < costs.getCol(); ++j) {
                costs[i][j] = grid.getCell(i, j).cost;
                stars[i][j] = grid.getCell(i, j).starred ? 1.0 : 0.0;
                EXPECT_FALSE(grid.getCell(i, j).primed);
            }
        }
    }

    bool operator==(Solution const& s) const { return costs == s.costs && stars == s.stars; }

    // Expects this number of stars, at most one a row and a column.
    void expectStars(int count) const
    {
        EXPECT_EQ(std::accumulate(stars.begin(), stars.end(), 0.0), count);
        EXPECT_EQ((stars * stars.transpose()).frobeniusNorm(), std::sqrt(count)) << stars;
        EXPECT_EQ((stars.transpose() * stars).frobeniusNorm(), std::sqrt(count)) << stars;
    }
};

// The steps of the method as they are told, each a scan of the whole grid. Flags are 0 or 1.
class LiteralMunkres {
public:
    explicit LiteralMunkres(Matrix const& costs)
        : cost(costs),
          star(costs.getRow(), costs.getCol()),
          _prime(star),
          _rowCover(costs.getRow()),
          _colCover(costs.getCol())
    {
        reduce();
        while (coverStarredColumns() < std::min(cost.getRow(), cost.getCol())) {
            while (!primeAndAugment()) adjust();
            _prime.zeroed();
            _rowCover.zeroed();
        }
    }

    Matrix cost, star;

private:
    template <class Action>
    void forEachCell(Action action)
    {
        for (int i = 0; i < cost.getRow(); ++i)
            for (int j = 0; j < cost.getCol(); ++j) action(i, j);
    }

    void reduce()
    {
        bool const byColumn = cost.getCol() < cost.getRow();
        Matrix const original = cost;
        forEachCell([&](int i, int j) {
            Vector const line = byColumn ? original.getColVector(j) : original.getRowVector(i);
            if (original[i][j] > 0.0) cost[i][j] -= line[line.minPos()];
        });
    }

    int coverStarredColumns()
    {
        int count = 0;
        forEachCell([&](int i, int j) {
            if (star[i][j] == 1.0) _colCover[j] = 1.0, ++count;
        });
        return count;
    }

    // Primes the uncovered zeros in one scan; false unless one comes in a row without a star.
    bool primeAndAugment()
    {
        for (int i = 0; i < cost.getRow(); ++i) {
            for (int j = 0; j < cost.getCol(); ++j) {
                if (cost[i][j] != 0.0 || _rowCover[i] + _colCover[j] > 0.0) continue;
                _prime[i][j] = 1.0;
                int const starred = firstIn(star.getRowVector(i));
                if (starred < 0) return augment(i, j);
                _rowCover[i] = 1.0;
                _colCover[starred] = 0.0;
            }
        }
        return false;
    }

    bool augment(int i, int j)
    {
        int const row = firstIn(star.getColVector(j));
        star[i][j] = 1.0;
        if (row < 0) return true;
        star[row][j] = 0.0;
        return augment(row, firstIn(_prime.getRowVector(row)));
    }

    void adjust()
    {
        double least = infinity;
        forEachCell([&](int i, int j) {
            if (_rowCover[i] + _colCover[j] == 0.0) least = std::min(least, cost[i][j]);
        });
        forEachCell(
            [&](int i, int j) { cost[i][j] += (_rowCover[i] + _colCover[j] - 1.0) * least; });
    }

    static int firstIn(Vector const& flags)
    {
        auto const* const found = std::find(flags.begin(), flags.end(), 1.0);
        return found == flags.end() ? -1 : static_cast<int>(found - flags.begin());
    }

    Matrix _prime;
    Vector _rowCover, _colCover;
};

TEST(Munkres, GivesTheStarsAndCostsOfTheLiteralSteps)
{
    std::pair<int, int> const ranges[] = {
        // of costs: from many ties to few
        {0, 0}, {0, 1}, {0, 3}, {0, 20}, {0, 1000}, {-2, 2}, {-30, 10}};
    for (auto const& [least, most] : ranges) {
        RandomData data(4711);
        for (int n = 0; n < 400; ++n) {
            // Now and then beyond the 64 bits of one word, and at its end.
            int const longest = n % 100 == 99 ? 80 : 11;
            Matrix costs(data.integer(1, longest), data.integer(1, longest));
            if (n == 0) costs = Matrix(64, 64);
            for (double& cost : costs) cost = data.integer(least, most);
            LiteralMunkres const expected(costs);
            Munkres grid = solved(costs);
            Solution const solution(grid);
            grid.solve();  // once more: nothing to do
            ASSERT_TRUE(least < 0 || Solution(grid) == solution) << costs;
            ASSERT_TRUE(solution.stars == expected.star) << costs << solution.stars;
            ASSERT_TRUE(solution.costs == expected.cost) << costs << solution.costs;
        }
    }
}

// By the rearrangement inequality the least sum of products pairs the largest with the smallest. The
// searches are as long as they get: n^2 adjustments, each a scan of the whole grid in the steps as
// told, which would take minutes.
TEST(Munkres, PairsOppositesInAGridOfProducts)
{
    constexpr int n = 400;
    Matrix costs(n, n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) costs[i][j] = (i + 1.0) * (j + 1.0);
    Solution const solution(solved(costs));
    solution.expectStars(n);
    for (int i = 0; i < n; ++i) EXPECT_EQ(solution.stars[i][n - 1 - i], 1.0) << i;
}

TEST(Munkres, NonFiniteCostsForbidTheirCellsAndNeverHang)
{
    std::pair<Matrix, int> const cases[] = {
        {Matrix::of({{1, infinity, nan}, {2, 1, infinity}, {nan, 1, 5}}), 3},
        {Matrix::of({{nan}}), 0},
        {Matrix::of({{-infinity, 1}, {2, 3}}), 1},
        {Matrix::of({{infinity, infinity}, {infinity, infinity}}), 0},
        {Matrix::of({{1, infinity}, {2, infinity}}), 1},
        {Matrix::of({{1, 2, 3}, {nan, nan, nan}, {4, 1, infinity}}), 2},
        {Matrix::of({{1e308, 1e308}, {1, 1e308}, {infinity, infinity}}), 2},
    };
    for (auto const& [costs, stars] : cases) {
        Solution const solution(solved(costs));
        solution.expectStars(stars);
        for (unsigned int i = 0; i < costs.size(); ++i)
            EXPECT_TRUE(std::isfinite(costs.begin()[i]) || solution.stars.begin()[i] == 0.0);
    }
}

TEST(Munkres, KeepsTheFirstOfStarsThatStoodBefore)
{
    Munkres grid(3, 3);
    for (int i = 0; i < 3; ++i) grid.setCell(i, 2, {5.0, 0, true, true});
    grid.solve();
    Solution const solution(grid);
    solution.expectStars(3);
    EXPECT_EQ(solution.stars[0][2], 1.0);
}

TEST(Munkres, EmptyGridsAreSolvedAtOnceAndNegativeOnesAMemoryError)
{
    for (auto const& [rows, cols] : {std::pair{0, 0}, std::pair{0, 3}, std::pair{3, 0}}) {
        Munkres const grid = solved(Matrix(rows, cols));
        EXPECT_EQ(grid.getRow(), rows);
        EXPECT_EQ(grid.getCol(), cols);
    }
    EXPECT_MATH_ERROR(Munkres(-1, 2), memError);
    EXPECT_MATH_ERROR(Munkres(2, -1), memError);
}

TEST(Munkres, CopiesAreDeepAndKeepTheUsersMember)
{
    Munkres original(std::size_t{2}, 2u);
    original.setCell(std::size_t{1}, 0u, {3.0, -77});
    Munkres copy(1, 1);
    copy = original;
    copy.solve();
    Solution(copy).expectStars(2);
    EXPECT_EQ(copy.getCell(1, 0).userData, -77);
    Solution(original).expectStars(0);
    EXPECT_EQ(original.getCell(1, 0).cost, 3.0);
}

TEST(Munkres, CellsKeepTheirLayout)
{
    static_assert(offsetof(CellType, cost) == 0);
    static_assert(offsetof(CellType, primed) == 16);
    static_assert(offsetof(CellType, starred) == 17);
}

}  // namespace
