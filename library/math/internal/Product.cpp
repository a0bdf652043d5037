#include "math/internal/Product.h"

#include <cblas.h>
#include <algorithm>
#include <cstddef>

namespace measuremath {
namespace {

// Below this number of multiplications the call of BLAS costs more than it saves.
constexpr double blasFrom = 12.0 * 12.0 * 12.0;

// Sizes known when compiled unroll completely: rotations here, rigid transforms below.
void multiplyThrees(double const* a, double const* b, double* c, int m)
{
    for (int i = 0; i < m; ++i, a += 3, c += 3) {
        double row[3];
        for (int j = 0; j < 3; ++j) row[j] = a[0] * b[j];
        for (int k = 1; k < 3; ++k)
            for (int j = 0; j < 3; ++j) row[j] += a[k] * b[k * 3 + j];
        std::copy(row, row + 3, c);
    }
}

// Two doubles in one register. A loop over rows of four takes a sixth more time: the compiler puts
// each row of the product on the stack first.
using Two = double __attribute__((vector_size(16), aligned(8)));

void multiplyFours(double const* a, double const* b, double* c, int m)
{
    auto const* const rows = reinterpret_cast<Two const*>(b);
    for (int i = 0; i < m; ++i, a += 4, c += 4) {
        Two left = a[0] * rows[0], right = a[0] * rows[1];
        for (std::ptrdiff_t k = 1; k < 4; ++k) {
            left += a[k] * rows[2 * k];
            right += a[k] * rows[2 * k + 1];
        }
        auto* const row = reinterpret_cast<Two*>(c);
        row[0] = left;
        row[1] = right;
    }
}

// W columns of the product, summed in registers. The columns start at b and c.
template <int W>
void multiplyColumns(double const* a, double const* b, double* c, int m, int k, int n)
{
    for (int i = 0; i < m; ++i, a += k, c += n) {
        double sum[W] = {};
        double const* row = b;
        for (int l = 0; l < k; ++l, row += n)
            for (int j = 0; j < W; ++j) sum[j] += a[l] * row[j];
        std::copy(sum, sum + W, c);
    }
}

void multiplyPlain(double const* a, double const* b, double* c, int m, int k, int n)
{
    int j = 0;
    // Six is the order of rigid motions and of states of position and speed.
    for (; j + 6 <= n; j += 6) multiplyColumns<6>(a, b + j, c + j, m, k, n);
    for (; j + 4 <= n; j += 4) multiplyColumns<4>(a, b + j, c + j, m, k, n);
    for (; j + 2 <= n; j += 2) multiplyColumns<2>(a, b + j, c + j, m, k, n);
    if (j < n) multiplyColumns<1>(a, b + j, c + j, m, k, n);
}

}  // namespace

void multiply(double const* a, double const* b, double* c, int m, int k, int n)
{
    if (k == 3 && n == 3)
        multiplyThrees(a, b, c, m);
    else if (k == 4 && n == 4)
        multiplyFours(a, b, c, m);
    else if (static_cast<double>(m) * k * n < blasFrom)
        multiplyPlain(a, b, c, m, k, n);
    else
        cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, m, n, k, 1.0, a, k, b, n, 0.0, c, n);
}

}  // namespace measuremath
