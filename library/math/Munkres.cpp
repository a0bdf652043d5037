#include "math/Munkres.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "math/MathError.h"
#include "math/internal/IndexSet.h"

// The steps of the method, done one by one, scan the whole grid for zeros and add to whole rows
// and columns, over and over: O(n^4). The classes below make the same primes, covers, adjustments
// and stars in the same order in O(n^3):
//
//   offsets  what the adjustments add to a row and subtract from a column is kept as one number
//            each: the current cost of a cell is (cost - column's offset) + row's offset;
//   zeros    the cells whose current cost is 0 are kept as bits by row and by column, so that a
//            scan visits only the rows that have a zero in an uncovered column;
//   slack    the least cost of each row over the uncovered columns is brought up to date only
//            when no zero is left and an adjustment needs it.

namespace {

using measuremath::at;
using measuremath::IndexSet;
using measuremath::none;
using Cells = std::vector<std::vector<CellType>>;

constexpr double infinite = std::numeric_limits<double>::infinity();

// The smaller of the two; the first when the second is NaN.
double lesser(double least, double value)
{
    return value < least ? value : least;
}

// The smallest of term(0), ..., term(n - 1) in interleaved partial minima, which vectorise.
template <class Term>
double smallest(int n, Term term)
{
    double partial[4] = {infinite, infinite, infinite, infinite};
    int i = 0;
    for (; i + 4 <= n; i += 4)
        for (int k = 0; k < 4; ++k) partial[k] = lesser(partial[k], term(i + k));
    for (; i < n; ++i) partial[0] = lesser(partial[0], term(i));
    return *std::min_element(partial, partial + 4);
}

// The assignment so far: at most one star a row and a column.
class Stars {
public:
    Stars(int nbRows, int nbCols)
        : _ofRow(at(nbRows), none),
          _ofCol(at(nbCols), none),
          _free(nbCols),
          _starred(nbCols)
    {
        for (int j = 0; j < nbCols; ++j) _free.insert(j);
    }

    int ofRow(int i) const { return _ofRow[at(i)]; }  // column of the star, or none
    int ofCol(int j) const { return _ofCol[at(j)]; }  // row of the star, or none
    IndexSet const& freeCols() const { return _free; }
    IndexSet const& starredCols() const { return _starred; }
    bool isComplete() const { return _count == std::min(_ofRow.size(), _ofCol.size()); }

    void addIfFree(int i, int j)
    {
        if (ofRow(i) == none && ofCol(j) == none) replaceInColumn(i, j);
    }

    // Stars (i, j), gives up the row's former star and returns the row that held the column's.
    int replaceInColumn(int i, int j)
    {
        _ofRow[at(i)] = j;
        int const former = std::exchange(_ofCol[at(j)], i);
        if (former == none) {
            _free.erase(j);
            _starred.insert(j);
            ++_count;
        }
        return former;
    }

private:
    std::vector<int> _ofRow;
    std::vector<int> _ofCol;
    IndexSet _free;
    IndexSet _starred;
    std::size_t _count = 0;
};

// The grid with its current costs.
class Tableau {
public:
    Tableau(Cells& cells, int nbRows, int nbCols);

    int nbRows() const { return _nbRows; }
    int nbCols() const { return _nbCols; }
    bool hasNegative() const { return _hasNegative; }

    void reduce();
    void loadStars(Stars& stars) const;
    void writeBack(Stars const& stars);

    // The cells of row i with their stored costs.
    CellType const* row(int i) const { return _cells[at(i)].data(); }

    IndexSet const& zerosOfRow(int i) const { return _zerosOfRow[at(i)]; }
    IndexSet const& zerosOfCol(int j) const { return _zerosOfCol[at(j)]; }
    void findZeros(int i, IndexSet const& cols, double zero);
    void dropZeros(int i, IndexSet const& cols);

    // The stored costs of column j, one after the other.
    double const* packedColumn(int j);

    std::vector<double> rowOffset;
    std::vector<double> colOffset;

private:
    std::vector<double> leastOfColumns() const;
    double leastOfRow(int i) const;
    void flipZero(int i, int j);
    void packColumns();

    Cells& _cells;
    int _nbRows;
    int _nbCols;
    bool _hasNegative = false;
    bool _isPacked = false;
    std::vector<IndexSet> _zerosOfRow;
    std::vector<IndexSet> _zerosOfCol;
    std::unique_ptr<double[]> _columns;
};

Tableau::Tableau(Cells& cells, int nbRows, int nbCols)
    : rowOffset(at(nbRows)),
      colOffset(at(nbCols)),
      _cells(cells),
      _nbRows(nbRows),
      _nbCols(nbCols),
      _zerosOfRow(at(nbRows), IndexSet(nbCols)),
      _zerosOfCol(at(nbCols), IndexSet(nbRows)),
      _columns(std::make_unique_for_overwrite<double[]>(at(nbRows) * at(nbCols)))
{
}

// Subtracts its least cost from each row, or from each column where the columns are fewer, and
// finds the first zeros. Kept: only costs above 0 are reduced.
void Tableau::reduce()
{
    bool const byColumns = _nbCols < _nbRows;
    std::vector<double> const leastOfCol = byColumns ? leastOfColumns() : std::vector<double>();
    for (int i = 0; i < _nbRows; ++i) {
        double const least = byColumns ? 0.0 : leastOfRow(i);
        for (int j = 0; j < _nbCols; ++j) {
            double& cost = _cells[at(i)][at(j)].cost;
            if (cost > 0.0) cost -= byColumns ? leastOfCol[at(j)] : least;
            if (cost == 0.0) flipZero(i, j);
            if (cost < 0.0) _hasNegative = true;
        }
    }
}

double Tableau::leastOfRow(int i) const
{
    double least = std::numeric_limits<double>::max();
    for (CellType const& cell : _cells[at(i)]) least = lesser(least, cell.cost);
    return least;
}

std::vector<double> Tableau::leastOfColumns() const
{
    std::vector<double> least(at(_nbCols), std::numeric_limits<double>::max());
    for (auto const& row : _cells)
        for (std::size_t j = 0; j < row.size(); ++j) least[j] = lesser(least[j], row[j].cost);
    return least;
}

void Tableau::loadStars(Stars& stars) const
{
    for (int i = 0; i < _nbRows; ++i)
        for (int j = 0; j < _nbCols; ++j)
            if (_cells[at(i)][at(j)].starred) stars.addIfFree(i, j);
}

void Tableau::writeBack(Stars const& stars)
{
    for (int i = 0; i < _nbRows; ++i) {
        std::vector<CellType>& row = _cells[at(i)];
        for (int j = 0; j < _nbCols; ++j) {
            row[at(j)].cost = (row[at(j)].cost - colOffset[at(j)]) + rowOffset[at(i)];
            row[at(j)].primed = false;
            row[at(j)].starred = stars.ofRow(i) == j;
        }
        // A zero stays exact through any number of adjustments, where offsets leave rounding.
        forEach(zerosOfRow(i), [&](int j) { row[at(j)].cost = 0.0; });
    }
}

void Tableau::flipZero(int i, int j)
{
    _zerosOfRow[at(i)].flip(j);
    _zerosOfCol[at(j)].flip(i);
}

// Makes the zeros of row i in these columns the cells whose current cost is `zero`.
void Tableau::findZeros(int i, IndexSet const& cols, double zero)
{
    CellType const* const cells = row(i);
    double const* const offset = colOffset.data();
    double const ofRow = rowOffset[at(i)];
    IndexSet const& zeros = zerosOfRow(i);
    forEach(cols, [=, this, &zeros](int j) {
        bool const isZero = (cells[j].cost - offset[j]) + ofRow == zero;
        if (isZero != zeros.contains(j)) flipZero(i, j);
    });
}

void Tableau::dropZeros(int i, IndexSet const& cols)
{
    forEachCommon(zerosOfRow(i), cols, [&](int j) { flipZero(i, j); });
}

double const* Tableau::packedColumn(int j)
{
    if (!_isPacked) packColumns();
    return _columns.get() + at(j) * at(_nbRows);
}

// A few rows at a time, so that each line of the cache is written once.
void Tableau::packColumns()
{
    constexpr int block = 8;
    for (int begin = 0; begin < _nbRows; begin += block) {
        int const end = std::min(begin + block, _nbRows);
        for (int j = 0; j < _nbCols; ++j) {
            double* const out = _columns.get() + at(j) * at(_nbRows);
            for (int i = begin; i < end; ++i) out[i] = _cells[at(i)][at(j)].cost;
        }
    }
    _isPacked = true;
}

// Primes, covers and adjustments from one star to the next.
//
// While a row is covered its offset is infinite, which keeps it out of every minimum; while a
// column is uncovered its offset lacks the level at which it was uncovered. So a cell in an
// uncovered row and column has the current cost `level` where the steps see 0.
class Search {
public:
    Search(Tableau& tableau, Stars& stars);

    // Adds one star; false when no cell of finite cost can.
    bool extend();

private:
    struct CoveredRow {
        int row;
        double offset;  // less the level at which the row was covered
    };

    void start();
    int findFreeRow();
    int nextCandidate(int from) const { return firstCommon(_candidates, _uncoveredRows, from); }
    void coverRow(int i);
    void uncoverColumn(int j);
    void finish();
    void augment(int freeRow);

    bool adjust();
    void startSlack();
    void updateSlack();
    template <std::size_t N>
    void includeInSlack(CoveredRow const* covered);
    void refreshLeastFree(int i);
    void loseZeros();

    Tableau& _tableau;
    Stars& _stars;

    double _level = 0.0;  // sum of the adjustments of this search
    std::vector<int> _primeOfRow;
    std::vector<CoveredRow> _coveredRows;  // in the order of their primes
    IndexSet _uncoveredRows;
    IndexSet _uncoveredCols;
    IndexSet _coveredCols;
    IndexSet _candidates;  // rows with a zero in an uncovered column, covered ones among them

    // Least cost over the uncovered columns without the row's offset; those of the covered rows'
    // stars are included up to _nbInSlack.
    std::vector<double> _slack;
    bool _hasSlack = false;
    std::size_t _nbInSlack = 0;
    std::size_t _nbLost = 0;  // covered rows that have lost their zeros in covered columns

    struct LeastFree {
        double cost = infinite;
        int col = none;
    };
    std::vector<LeastFree> _leastFree;  // least stored cost of each row over the free columns
};

Search::Search(Tableau& tableau, Stars& stars)
    : _tableau(tableau),
      _stars(stars),
      _primeOfRow(at(tableau.nbRows())),
      _uncoveredRows(tableau.nbRows()),
      _uncoveredCols(tableau.nbCols()),
      _coveredCols(tableau.nbCols()),
      _candidates(tableau.nbRows()),
      _slack(at(tableau.nbRows())),
      _leastFree(at(tableau.nbRows()))
{
    _coveredRows.reserve(at(tableau.nbRows()));
    for (int i = 0; i < tableau.nbRows(); ++i) _uncoveredRows.insert(i);
}

bool Search::extend()
{
    start();
    int const freeRow = findFreeRow();
    finish();
    if (freeRow == none) return false;
    augment(freeRow);
    return true;
}

void Search::start()
{
    _uncoveredCols = _stars.freeCols();
    _coveredCols = _stars.starredCols();
    _candidates.clear();
    forEach(_uncoveredCols, [&](int j) { _candidates |= _tableau.zerosOfCol(j); });
}

// Primes one zero in each row that has one, in passes over the rows in their order, until one
// comes in a row without a star.
int Search::findFreeRow()
{
    for (;;) {
        for (int i = nextCandidate(0); i != none; i = nextCandidate(i + 1)) {
            _primeOfRow[at(i)] = firstCommon(_tableau.zerosOfRow(i), _uncoveredCols, 0);
            if (_stars.ofRow(i) == none) return i;
            coverRow(i);
            uncoverColumn(_stars.ofRow(i));
        }
        // A zero left behind in an earlier row makes the adjustment 0, unless costs are negative.
        bool const isAdjusted = nextCandidate(0) == none || _tableau.hasNegative();
        if (isAdjusted && !adjust()) return none;
    }
}

void Search::coverRow(int i)
{
    double& offset = _tableau.rowOffset[at(i)];
    _coveredRows.push_back({i, offset - _level});
    offset = infinite;
    _uncoveredRows.erase(i);
}

void Search::uncoverColumn(int j)
{
    _tableau.colOffset[at(j)] -= _level;
    _coveredCols.erase(j);
    _uncoveredCols.insert(j);
    _candidates |= _tableau.zerosOfCol(j);
}

// Settles the offsets and uncovers every row.
void Search::finish()
{
    forEach(_uncoveredCols, [&](int j) { _tableau.colOffset[at(j)] += _level; });
    for (CoveredRow const& covered : _coveredRows) {
        _tableau.rowOffset[at(covered.row)] = covered.offset + _level;
        _uncoveredRows.insert(covered.row);
        if (_tableau.hasNegative()) {  // an adjustment below 0 may have made zeros in covered cells
            _tableau.findZeros(covered.row, _stars.freeCols(), 0.0);
            _tableau.findZeros(covered.row, _stars.starredCols(), 0.0);
        }
    }
    _coveredRows.clear();
    _level = 0.0;
    _hasSlack = false;
    _nbInSlack = _nbLost = 0;
}

// Stars the primes and unstars the stars along the path from the free row to a free column.
void Search::augment(int freeRow)
{
    for (int i = freeRow; i != none;) i = _stars.replaceInColumn(i, _primeOfRow[at(i)]);
}

// Lowers the uncovered cells of the uncovered rows until one of them is 0; false when none of them
// is finite.
bool Search::adjust()
{
    updateSlack();
    int const nbRows = _tableau.nbRows();
    double const* const slack = _slack.data();
    double const* const offset = _tableau.rowOffset.data();
    double const lowest = smallest(nbRows, [=](int i) { return slack[i] + offset[i]; });
    if (!std::isfinite(lowest)) return false;

    if (lowest != _level) loseZeros();
    _level = lowest;
    for (int i = 0; i < nbRows; ++i) {
        if (slack[i] + offset[i] != lowest) continue;
        _tableau.findZeros(i, _uncoveredCols, lowest);
        _candidates.insert(i);
    }
    return true;
}

// What an adjustment makes of the zeros: those of covered rows in covered columns grow; there is
// one in an uncovered row and column only where costs are negative.
void Search::loseZeros()
{
    for (; _nbLost < _coveredRows.size(); ++_nbLost)
        _tableau.dropZeros(_coveredRows[_nbLost].row, _coveredCols);
    forEachCommon(_candidates, _uncoveredRows,
                  [&](int i) { _tableau.dropZeros(i, _uncoveredCols); });
    _candidates.clear();
}

void Search::updateSlack()
{
    if (!_hasSlack) startSlack();
    constexpr std::size_t group = 4;  // columns in one sweep over the slack
    std::size_t const count = _coveredRows.size();
    for (; _nbInSlack + group <= count; _nbInSlack += group)
        includeInSlack<group>(&_coveredRows[_nbInSlack]);
    for (; _nbInSlack < count; ++_nbInSlack) includeInSlack<1>(&_coveredRows[_nbInSlack]);
}

// The free columns have been uncovered in every adjustment, so that one offset serves them all.
void Search::startSlack()
{
    int const firstFree = firstCommon(_stars.freeCols(), _stars.freeCols(), 0);
    double const offset = _tableau.colOffset[at(firstFree)];
    for (int i = 0; i < _tableau.nbRows(); ++i) {
        int const col = _leastFree[at(i)].col;
        if (col == none || _stars.ofCol(col) != none) refreshLeastFree(i);
        _slack[at(i)] = _leastFree[at(i)].cost - offset;
    }
    _hasSlack = true;
}

void Search::refreshLeastFree(int i)
{
    CellType const* const row = _tableau.row(i);
    LeastFree least;
    forEach(_stars.freeCols(), [row, &least](int j) {
        if (row[j].cost < least.cost) least = {row[j].cost, j};
    });
    _leastFree[at(i)] = least;
}

// Includes the columns of the stars of N covered rows.
template <std::size_t N>
void Search::includeInSlack(CoveredRow const* covered)
{
    double const* cost[N];
    double offset[N];
    for (std::size_t k = 0; k < N; ++k) {
        int const j = _stars.ofRow(covered[k].row);
        cost[k] = _tableau.packedColumn(j);
        offset[k] = _tableau.colOffset[at(j)];
    }
    double* const slack = _slack.data();
    for (int i = 0; i < _tableau.nbRows(); ++i) {
        double least = slack[i];
        for (std::size_t k = 0; k < N; ++k) least = lesser(least, cost[k][i] - offset[k]);
        slack[i] = least;
    }
}

}  // namespace

void Munkres::allocate(long long nbRows, long long nbCols)
{
    bool const fits = nbRows >= 0 && nbRows <= INT_MAX && nbCols >= 0 && nbCols <= INT_MAX;
    measuremath::require(fits, memError);
    try {
        _cells.assign(static_cast<std::size_t>(nbRows),
                      std::vector<CellType>(static_cast<std::size_t>(nbCols)));
    } catch (std::bad_alloc const&) {
        measuremath::fail(memError);
    }
}

void Munkres::solve()
{
    if (_nbRows == 0 || _nbCols == 0) return;
    try {
        Tableau tableau(_cells, _nbRows, _nbCols);
        Stars stars(_nbRows, _nbCols);
        Search search(tableau, stars);
        tableau.reduce();
        tableau.loadStars(stars);
        while (!stars.isComplete() && search.extend()) {}
        tableau.writeBack(stars);
    } catch (std::bad_alloc const&) {
        measuremath::fail(memError);
    }
}
