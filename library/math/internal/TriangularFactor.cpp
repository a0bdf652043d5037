#include "math/internal/TriangularFactor.h"

#include "math/internal/Lapack.h"

#include <algorithm>

namespace measuremath {
namespace {

// A block that stays in the first-level cache, with columns that do not compete for its lines as they
// would at a power of 2, and so many rows that reducing R anew costs little.
int rowsOfBlock(std::size_t nbRows, int nbCols)
{
    constexpr int elements = 2000;
    int const rows = std::max(elements / nbCols, 8 * nbCols);
    return nbRows < static_cast<std::size_t>(rows) ? std::max(static_cast<int>(nbRows), nbCols + 1)
                                                   : rows;
}

}  // namespace

TriangularFactor::TriangularFactor(std::size_t nbRows, int nbCols)
    : _n(nbCols),
      _capacity(rowsOfBlock(nbRows, nbCols)),
      _block(static_cast<std::size_t>(_n) * static_cast<std::size_t>(_capacity)),
      _tau(static_cast<std::size_t>(_n))
{
    double size = 0.0;
    lapack::requireSuccess(
        lapack::geqrf(_capacity, _n, _block.data(), _capacity, _tau.data(), &size, -1));
    _work.resize(static_cast<std::size_t>(size));
}

// Leaves R, with zeros below its diagonal, in the first rows of the block.
void TriangularFactor::reduce()
{
    lapack::requireSuccess(lapack::geqrf(_count, _n, _block.data(), _capacity, _tau.data(),
                                         _work.data(), static_cast<int>(_work.size())));
    _count = std::min(_count, _n);
    double* column = _block.data();
    for (int j = 0; j < _count; ++j, column += _capacity)
        std::fill(column + j + 1, column + _count, 0.0);
}

Matrix TriangularFactor::get()
{
    reduce();
    Matrix R(_n, _n);
    double* const r = R.data();
    double const* column = _block.data();
    for (int j = 0; j < _n; ++j, column += _capacity)
        for (int i = 0; i < _count; ++i) r[i * _n + j] = column[i];
    return R;
}

}  // namespace measuremath
