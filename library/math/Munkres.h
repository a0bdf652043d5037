#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "math/Export.h"
#include "math/TArray.h"

/// One cell of an assignment grid.
struct CellType {
    double cost = 0.0;          ///< Cost of assigning the row to the column; reduced by `solve`.
    std::int64_t userData = 0;  ///< For the caller; `solve` neither reads nor writes it.
    bool primed = false;        ///< Used while solving; false before and after.
    bool starred = false;       ///< After `solve`: the row is assigned to the column.
};

/// Assigns rows to columns at the least total cost: the method of stars, primes and covers of
/// Munkres (1957), extended to rectangles by Bourgeois and Lassalle (1971).
///
///     Munkres grid(nbTracks, nbDetections);
///     ... grid.setCell(i, j, cell) for every i and j ...
///     grid.solve();
///     if (grid.getCell(i, j).starred) ...   // row i is assigned to column j
///
/// The total is least when every cost is finite and non-negative. Shift other costs to be
/// non-negative first: the same amount added to every cell changes no assignment. The reduction
/// leaves cells at or below 0 as they are, so that with negative costs the result is an
/// assignment but not always the best one. An infinite cost, or NaN, forbids its cell; minus infinity is no cost.
///
/// Copies are deep. Indices may be of any integer type and are not checked.
class MEASUREMATH_API Munkres {
public:
    /// Grid of `nbRows` × `nbCols` cells of cost 0, neither primed nor starred.
    /// @throws MathError with the text `memError` when the memory does not suffice or a count is
    ///         negative.
    template <class R, class C, measuremath::IfIndex<R, C> = 0>
    Munkres(R nbRows, C nbCols)
        : _nbRows(static_cast<int>(nbRows)),
          _nbCols(static_cast<int>(nbCols))
    {
        allocate(measuremath::indexValue(nbRows), measuremath::indexValue(nbCols));
    }

    int getRow() const { return _nbRows; }  ///< Number of rows.
    int getCol() const { return _nbCols; }  ///< Number of columns.

    /// Cell (i, j).
    template <class R, class C, measuremath::IfIndex<R, C> = 0>
    CellType const& getCell(R i, C j) const
    {
        assert(measuremath::isInRange(i, _nbRows) && measuremath::isInRange(j, _nbCols));
        return _cells[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)];
    }

    /// Copies `cell`, all its members, into the grid.
    template <class R, class C, measuremath::IfIndex<R, C> = 0>
    void setCell(R i, C j, CellType const& cell)
    {
        assert(measuremath::isInRange(i, _nbRows) && measuremath::isInRange(j, _nbCols));
        _cells[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)] = cell;
    }

    /// Stars min(rows, columns) cells, at most one a row and a column, and overwrites the costs
    /// by reduced costs, which are 0 in starred cells.
    ///
    /// Stars and reduced costs are those of the method's steps with every scan in row-major
    /// order: where assignments are equally good, the first zero wins at each prime. This holds
    /// exactly where costs and their sums are integers below 2^53, up to rounding elsewhere. It
    /// takes O(min(rows, columns) · rows · columns) time where no cost is negative, and memory for
    /// one more copy of the costs.
    ///
    /// Stars that stand before the call are kept to begin with, so that a second call changes
    /// nothing; one in the row or column of an earlier one is dropped. When no cell of finite
    /// cost can extend the assignment, it ends as it is, with fewer stars.
    ///
    /// @throws MathError with the text `memError` when the memory does not suffice; the grid is
    ///         then unchanged.
    void solve();

private:
    void allocate(long long nbRows, long long nbCols);

    int _nbRows;
    int _nbCols;
    std::vector<std::vector<CellType>> _cells;
};
