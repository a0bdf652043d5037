// Square and flat grids of random costs, the filling of the cells included. Beside ours dlib's
// max_cost_assignment on the same costs, as integers since it takes no others, for square grids;
// assignment_scipy.py times SciPy's linear_sum_assignment on grids of the same kinds.

#include "math/Munkres.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#ifdef MEASUREMATH_HAVE_DLIB
#include <dlib/optimization/max_cost_assignment.h>
#endif

namespace {

struct Grid {
    int rows, cols;
    std::vector<double> costs;

    double cost(int i, int j) const
    {
        return costs[static_cast<std::size_t>(i) * static_cast<std::size_t>(cols) +
                     static_cast<std::size_t>(j)];
    }
};

// Integers below `range`, or with a range of 0 reals below 1 that are multiples of 2^-40.
Grid randomGrid(int rows, int cols, int range, unsigned int seed)
{
    std::mt19937_64 generator(seed);
    Grid grid = {rows, cols, {}};
    std::uniform_int_distribution<long long> real(0, (1LL << 40) - 1);
    std::uniform_int_distribution<int> integer(0, std::max(range, 1) - 1);
    for (int k = 0; k < rows * cols; ++k)
        grid.costs.push_back(range == 0 ? std::ldexp(static_cast<double>(real(generator)), -40)
                                        : integer(generator));
    return grid;
}

// Several grids of a kind, one after the other, so that no cache knows them.
std::vector<Grid> gridsOf(benchmark::State const& state)
{
    std::vector<Grid> grids;
    for (unsigned int seed = 1; seed <= 5; ++seed)
        grids.push_back(randomGrid(static_cast<int>(state.range(0)),
                                   static_cast<int>(state.range(1)),
                                   static_cast<int>(state.range(2)), seed));
    return grids;
}

Munkres solved(Grid const& grid)
{
    Munkres munkres(grid.rows, grid.cols);
    CellType cell;
    for (int i = 0; i < grid.rows; ++i) {
        for (int j = 0; j < grid.cols; ++j) {
            cell.cost = grid.cost(i, j);
            munkres.setCell(i, j, cell);
        }
    }
    munkres.solve();
    return munkres;
}

// Every possible star at a reduced cost of 0, and none below it: the proof of the optimum.
bool isOptimal(Munkres const& munkres)
{
    int stars = 0;
    for (int i = 0; i < munkres.getRow(); ++i) {
        for (int j = 0; j < munkres.getCol(); ++j) {
            CellType const& cell = munkres.getCell(i, j);
            if (cell.cost < -1e-12 || (cell.starred && cell.cost != 0.0)) return false;
            stars += cell.starred ? 1 : 0;
        }
    }
    return stars == std::min(munkres.getRow(), munkres.getCol());
}

void ours(benchmark::State& state)
{
    std::vector<Grid> const grids = gridsOf(state);
    std::size_t k = 0;
    for (auto _ : state) {
        Munkres const munkres = solved(grids[k++ % grids.size()]);
        benchmark::DoNotOptimize(munkres.getCell(0, 0));
    }
    if (!isOptimal(solved(grids[0]))) state.SkipWithError("not an optimal assignment");
}

// Rows, columns and range of the integers (0: reals).
void squareGrids(benchmark::internal::Benchmark* benchmark)
{
    for (int const n : {10, 100, 500, 1000})
        for (int const range : {0, 1000, 10}) benchmark->Args({n, n, range});
    benchmark->Unit(benchmark::kMicrosecond);
}

void flatGrids(benchmark::internal::Benchmark* benchmark)
{
    for (int const range : {0, 1000, 10}) benchmark->Args({500, 1000, range});
}

BENCHMARK(ours)->Name("Assignment/ours")->Apply(squareGrids)->Apply(flatGrids);

#ifdef MEASUREMATH_HAVE_DLIB

std::vector<long> assignedByDlib(Grid const& grid, double scale)
{
    dlib::matrix<long long> gain(grid.rows, grid.cols);
    for (int i = 0; i < grid.rows; ++i)
        for (int j = 0; j < grid.cols; ++j)
            gain(i, j) = -static_cast<long long>(scale * grid.cost(i, j));
    return dlib::max_cost_assignment(gain);
}

double totalOf(Grid const& grid, Munkres const& munkres)
{
    double total = 0.0;
    for (int i = 0; i < grid.rows; ++i)
        for (int j = 0; j < grid.cols; ++j)
            if (munkres.getCell(i, j).starred) total += grid.cost(i, j);
    return total;
}

double totalOf(Grid const& grid, std::vector<long> const& columns)
{
    double total = 0.0;
    for (int i = 0; i < grid.rows; ++i)
        total += grid.cost(i, static_cast<int>(columns[static_cast<std::size_t>(i)]));
    return total;
}

void dlibs(benchmark::State& state)
{
    std::vector<Grid> const grids = gridsOf(state);
    double const scale = state.range(2) == 0 ? std::ldexp(1.0, 40) : 1.0;
    std::size_t k = 0;
    for (auto _ : state) benchmark::DoNotOptimize(assignedByDlib(grids[k++ % grids.size()], scale));
    double const total = totalOf(grids[0], assignedByDlib(grids[0], scale));
    if (std::abs(total - totalOf(grids[0], solved(grids[0]))) > 1e-9)
        state.SkipWithError("other total than ours");
}
BENCHMARK(dlibs)->Name("Assignment/dlib")->Apply(squareGrids);

#endif

}  // namespace
