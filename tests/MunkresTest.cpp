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

Matrix starsOf(Munkres const& grid)
{
    Matrix stars(grid.getRow(), grid.getCol());
    for (int i = 0; i < grid.getRow(); ++i)
        for (int j = 0; j < grid.getCol(); ++j) stars[i][j] = grid.getCell(i, j).starred ? 1 : 0;
    return stars;
}

Matrix costsOf(Munkres const& grid)
{
    Matrix costs(grid.getRow(), grid.getCol());
    for (int i = 0; i < grid.getRow(); ++i)
        for (int j = 0; j < grid.getCol(); ++j) costs[i][j] = grid.getCell(i, j).cost;
    return costs;
}

// Expects this number of stars, at most one a row and a column.
void expectStars(Munkres const& grid, int count)
{
    Matrix const stars = starsOf(grid);
    EXPECT_EQ(std::accumulate(stars.begin(), stars.end(), 0.0), count);
    EXPECT_EQ((stars * stars.transpose()).frobeniusNorm(), std::sqrt(count)) << stars;
    EXPECT_EQ((stars.transpose() * stars).frobeniusNorm(), std::sqrt(count)) << stars;
}

// The steps of the method as they are told, each a scan of the whole grid. Flags are 0 or 1.
class LiteralMunkres {
public:
    explicit LiteralMunkres(Matrix const& costs)
        : cost(costs),
          starred(costs.getRow(), costs.getCol()),
          _primed(starred),
          _rowCovered(costs.getRow()),
          _colCovered(costs.getCol())
    {
        reduce();
        while (!coverStarredColumns()) augment(findFreePrime());
    }

    Matrix cost;
    Matrix starred;

private:
    struct Cell {
        int row, col;
    };

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

    bool coverStarredColumns()
    {
        int left = std::min(cost.getRow(), cost.getCol());
        forEachCell([&](int i, int j) {
            if (starred[i][j] == 0.0) return;
            _colCovered[j] = 1.0;
            --left;
        });
        return left == 0;
    }

    Cell findFreePrime()
    {
        for (;; adjust()) {
            for (int i = 0; i < cost.getRow(); ++i) {
                for (int j = 0; j < cost.getCol(); ++j) {
                    if (cost[i][j] != 0.0 || _rowCovered[i] + _colCovered[j] > 0.0) continue;
                    _primed[i][j] = 1.0;
                    int const star = firstIn(starred.getRowVector(i));
                    if (star < 0) return {i, j};
                    _rowCovered[i] = 1.0;
                    _colCovered[star] = 0.0;
                }
            }
        }
    }

    void adjust()
    {
        double least = infinity;
        forEachCell([&](int i, int j) {
            if (_rowCovered[i] + _colCovered[j] == 0.0) least = std::min(least, cost[i][j]);
        });
        forEachCell(
            [&](int i, int j) { cost[i][j] += (_rowCovered[i] - (1.0 - _colCovered[j])) * least; });
    }

    void augment(Cell prime)
    {
        while (prime.col >= 0) {
            int const row = firstIn(starred.getColVector(prime.col));
            starred[prime.row][prime.col] = 1.0;
            if (row < 0) break;
            starred[row][prime.col] = 0.0;
            prime = {row, firstIn(_primed.getRowVector(row))};
        }
        _primed.zeroed();
        _rowCovered.zeroed();
    }

    static int firstIn(Vector const& flags)
    {
        auto const found = std::find(flags.begin(), flags.end(), 1.0);
        return found == flags.end() ? -1 : static_cast<int>(found - flags.begin());
    }

    Matrix _primed;
    Vector _rowCovered, _colCovered;
};

using Range = std::pair<int, int>;  // smallest and largest cost

class MunkresOnIntegers : public testing::TestWithParam<Range> {
protected:
    Matrix randomCosts(int rows, int cols)
    {
        Matrix costs(rows, cols);
        for (double& cost : costs) cost = data.integer(GetParam().first, GetParam().second);
        return costs;
    }

    RandomData data{4711};
};

TEST_P(MunkresOnIntegers, GivesTheStarsAndCostsOfTheLiteralSteps)
{
    for (int n = 0; n < 400; ++n) {
        // Now and then beyond the 64 bits of one word.
        int const most = n % 100 == 99 ? 80 : 11;
        Matrix const costs = randomCosts(data.integer(1, most), data.integer(1, most));
        LiteralMunkres const expected(costs);
        Munkres const grid = solved(costs);
        ASSERT_TRUE(starsOf(grid) == expected.starred) << costs << starsOf(grid);
        ASSERT_TRUE(costsOf(grid) == expected.cost) << costs << costsOf(grid);
    }
}

INSTANTIATE_TEST_SUITE_P(FromManyTiesToFew, MunkresOnIntegers,
                         testing::Values(Range{0, 0}, Range{0, 1}, Range{0, 3}, Range{0, 20},
                                         Range{0, 1000}, Range{-2, 2}, Range{-30, 10}));

// Over all ways to give each line of the shorter kind one of the longer kind.
double leastTotal(Matrix const& costs)
{
    if (costs.getRow() > costs.getCol()) return leastTotal(costs.transpose());
    std::vector<int> cols(costs.getNbCol());
    std::iota(cols.begin(), cols.end(), 0);
    double least = infinity;
    do {
        double sum = 0.0;
        for (int i = 0; i < costs.getRow(); ++i) sum += costs[i][cols[static_cast<std::size_t>(i)]];
        least = std::min(least, sum);
    } while (std::next_permutation(cols.begin(), cols.end()));
    return least;
}

TEST(Munkres, FindsTheLeastTotalOfAllPermutations)
{
    RandomData data(7);
    for (int rows = 1; rows <= 7; ++rows) {
        for (int cols = 1; cols <= 7; ++cols) {
            Matrix const costs = data.matrix(rows, cols, 0.0, 1.0);
            Munkres const grid = solved(costs);
            expectStars(grid, std::min(rows, cols));
            Matrix const stars = starsOf(grid);
            double const total = std::inner_product(stars.begin(), stars.end(), costs.begin(), 0.0);
            EXPECT_NEAR(total, leastTotal(costs), 1e-14) << costs;  // 7 sums of values below 1
        }
    }
}

// The reduced costs of a square grid prove its optimum: none is negative, the stars are at zeros,
// and they are the costs less one number a row and one a column.
TEST(Munkres, ReducedCostsProveTheOptimumOnReals)
{
    int const n = 150;
    Matrix const costs = RandomData(8).matrix(n, n, 0.0, 1.0);
    Munkres const grid = solved(costs);
    Matrix const reduction = costs - costsOf(grid);
    constexpr double tolerance = 1e-13;  // n sums of adjustments below 1
    expectStars(grid, n);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            CellType const& cell = grid.getCell(i, j);
            EXPECT_GE(cell.cost, -tolerance);
            EXPECT_TRUE(cell.cost == 0.0 || !cell.starred);
            EXPECT_NEAR(reduction[i][j], reduction[i][0] + reduction[0][j] - reduction[0][0],
                        tolerance);
        }
    }
}

// Products of the two numbers make the searches as long as they get: n^2 adjustments, each a scan
// of the whole grid in the steps as told.
TEST(Munkres, TakesCubicTimeOnHardGrids)
{
    int const n = 400;
    Matrix costs(n, n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) costs[i][j] = (i + 1.0) * (j + 1.0);
    Munkres const grid = solved(costs);
    for (int i = 0; i < n; ++i) EXPECT_TRUE(grid.getCell(i, n - 1 - i).starred) << i;
}

TEST(Munkres, NonFiniteCostsForbidTheirCellsAndNeverHang)
{
    struct Case {
        Matrix costs;
        int stars;
    };
    Case const cases[] = {
        {Matrix::of({{1, infinity, nan}, {2, 1, infinity}, {nan, 1, 5}}), 3},
        {Matrix::of({{nan}}), 0},
        {Matrix::of({{-infinity, 1}, {2, 3}}), 1},
        {Matrix::of({{infinity, infinity}, {infinity, infinity}}), 0},
        {Matrix::of({{1, infinity}, {2, infinity}}), 1},
        {Matrix::of({{1, 2, 3}, {nan, nan, nan}, {4, 1, infinity}}), 2},
        {Matrix::of({{1e308, 1e308}, {1, 1e308}, {infinity, infinity}}), 2},
    };
    for (auto const& [costs, stars] : cases) {
        Munkres const grid = solved(costs);
        expectStars(grid, stars);
        Matrix const starred = starsOf(grid);
        for (unsigned int i = 0; i < costs.size(); ++i)
            EXPECT_TRUE(std::isfinite(costs.begin()[i]) || starred.begin()[i] == 0.0) << costs;
    }
}

TEST(Munkres, ASecondCallKeepsStarsAndCosts)
{
    Munkres grid = solved(RandomData(9).matrix(9, 6, 0.0, 1.0));
    Matrix const stars = starsOf(grid);
    Matrix const costs = costsOf(grid);
    grid.solve();
    EXPECT_TRUE(starsOf(grid) == stars);
    EXPECT_TRUE(costsOf(grid) == costs);
}

TEST(Munkres, KeepsTheFirstOfStarsThatStoodBefore)
{
    Munkres grid(3, 3);
    for (int i = 0; i < 3; ++i) grid.setCell(i, 2, {5.0, 0, true, true});
    grid.solve();
    expectStars(grid, 3);
    EXPECT_TRUE(grid.getCell(0, 2).starred);
    EXPECT_FALSE(grid.getCell(1, 2).primed);
}

TEST(Munkres, EmptyGridsAreSolvedAtOnce)
{
    for (auto const& [rows, cols] : {std::pair{0, 0}, std::pair{0, 3}, std::pair{3, 0}}) {
        Munkres const grid = solved(Matrix(rows, cols));
        EXPECT_EQ(grid.getRow(), rows);
        EXPECT_EQ(grid.getCol(), cols);
    }
}

TEST(Munkres, CopiesAreDeepAndKeepTheUsersMember)
{
    Munkres original(std::size_t{2}, 2u);
    original.setCell(std::size_t{1}, 0u, {3.0, -77});
    Munkres copy(1, 1);
    copy = original;
    copy.solve();
    expectStars(copy, 2);
    EXPECT_EQ(copy.getCell(1, 0).userData, -77);
    expectStars(original, 0);
    EXPECT_EQ(original.getCell(1, 0).cost, 3.0);
}

TEST(Munkres, NegativeCountsAreAMemoryError)
{
    EXPECT_MATH_ERROR(Munkres(-1, 2), memError);
    EXPECT_MATH_ERROR(Munkres(2, -1), memError);
}

TEST(Munkres, CellsKeepTheirLayout)
{
    static_assert(offsetof(CellType, cost) == 0);
    static_assert(offsetof(CellType, primed) == 16);
    static_assert(offsetof(CellType, starred) == 17);
}

}  // namespace
