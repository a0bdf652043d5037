#pragma once

#include "math/Matrix.h"

#include <cstddef>
#include <vector>

namespace measuremath {

/// The factor R of A = Q · R for a matrix A of many rows, which come one by one and are not kept.
///
/// A block of rows is reduced together with the R of all before it (J. Demmel, L. Grigori,
/// M. Hoemmen, J. Langou, Communication-optimal parallel and sequential QR and LU factorizations,
/// SIAM J. Sci. Comput. 34, 2012): as accurate as the factors of A as a whole, in one pass over it
/// and within the cache. A right-hand side b goes in as a further column: it comes out as Qᵀ · b,
/// with the length of the residual below.
class TriangularFactor {
public:
    /// @param nbRows  how many will come, which saves memory where they are few.
    TriangularFactor(std::size_t nbRows, int nbCols);

    void addRow(double const* row)
    {
        if (_count == _capacity) reduce();
        double* element = _block.data() + _count++;
        for (int j = 0; j < _n; ++j, element += _capacity) *element = row[j];
    }

    /// R of the rows so far, n × n, with zeros below the diagonal; of fewer than n rows padded with
    /// rows of zeros.
    Matrix get();

private:
    void reduce();

    int _n;
    int _capacity;               // rows of the block
    int _count = 0;              // rows in use, R first
    std::vector<double> _block;  // by columns
    std::vector<double> _tau;
    std::vector<double> _work;
};

}  // namespace measuremath
