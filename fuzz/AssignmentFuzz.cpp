#include "FuzzInput.h"
#include "math/Munkres.h"

#include <algorithm>
#include <bit>

namespace {

constexpr double never = std::numeric_limits<double>::infinity();

// The least cost of `stars` assignments, by dynamic programming over the columns taken by the rows
// so far; infinite when there are not so many.
double leastCost(Matrix const& costs, int stars)
{
    std::size_t const sets = std::size_t(1) << costs.getCol();
    std::vector<double> best(sets, never);
    best[0] = 0.0;
    for (int i = 0; i < costs.getRow(); ++i)
        for (std::size_t set = sets; set-- > 1;)  // a set before its subsets: each row serves once
            for (int j = 0; j < costs.getCol(); ++j)
                if ((set >> j & 1) != 0)
                    best[set] = std::min(best[set], best[set ^ std::size_t(1) << j] + costs[i][j]);
    double least = never;
    for (std::size_t set = 0; set < sets; ++set)
        if (std::popcount(set) == stars) least = std::min(least, best[set]);
    return least;
}

Munkres gridOf(Matrix const& costs)
{
    Munkres grid(costs.getRow(), costs.getCol());
    for (int i = 0; i < grid.getRow(); ++i)
        for (int j = 0; j < grid.getCol(); ++j)
            grid.setCell(i, j, CellType{.cost = costs[i][j], .userData = i - j});
    return grid;
}

// One line per star: row and column.
std::vector<std::array<int, 2>> starsOf(Munkres const& grid)
{
    std::vector<std::array<int, 2>> stars;
    for (int i = 0; i < grid.getRow(); ++i) {
        for (int j = 0; j < grid.getCol(); ++j) {
            CellType const& cell = grid.getCell(i, j);
            check(!cell.primed && cell.userData == i - j);
            if (cell.starred) stars.push_back({i, j});
        }
    }
    return stars;
}

void checkOneEach(std::vector<std::array<int, 2>> const& stars)
{
    for (std::size_t a = 0; a < stars.size(); ++a)
        for (std::size_t b = 0; b < a; ++b)
            check(stars[a][0] != stars[b][0] && stars[a][1] != stars[b][1]);
}

}  // namespace

void fuzz(FuzzInput& input)
{
    int const rows = input.integer(-1, 9);
    int const cols = input.integer(-1, 7);
    if (rows < 0 || cols < 0) {
        Munkres(rows, cols).solve();
        return;
    }
    bool const positive = input.flag();
    Matrix costs = input.matrix(rows, cols);
    double largest = 0.0;
    bool hasNegative = false;
    for (double& cost : costs) {
        if (positive) cost = std::isfinite(cost) ? std::abs(cost) : never;
        hasNegative = hasNegative || cost < 0.0;
        if (std::isnan(cost)) cost = never;  // the same for the solver
        if (cost < never) largest = std::max(largest, std::abs(cost));
    }

    Munkres grid = gridOf(costs);
    grid.solve();
    auto const stars = starsOf(grid);
    checkOneEach(stars);
    double total = 0.0;
    for (auto const& [i, j] : stars) {
        check(std::isfinite(costs[i][j]));
        total += costs[i][j];
    }
    int const full = std::min(rows, cols);
    double const least = leastCost(costs, full);
    if (largest > 1e300) return;  // sums overflow, as they do beside -infinity
    if (std::abs(least) < never) {
        check(static_cast<int>(stars.size()) == full);
        if (!hasNegative) check(isNear(total, least, 1e-13 * largest));
    }
    grid.solve();
    check(starsOf(grid) == stars);
}
