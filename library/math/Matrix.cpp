#include "math/Matrix.h"

#include "math/LinearAlgebra.h"
#include "math/internal/Elementwise.h"
#include "math/internal/Product.h"
#include "math/internal/Transpose.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <ostream>
#include <utility>

char const* const Matrix::badDim = "Bad matrix dimensions";

namespace {

void requireSameDimensions(Matrix const& a, Matrix const& b)
{
    measuremath::require(a.getRow() == b.getRow() && a.getCol() == b.getCol(), Matrix::badDim);
}

bool isSquare(Matrix const& m)
{
    return m.getRow() == m.getCol();
}

}  // namespace

Matrix Matrix::of(std::initializer_list<std::initializer_list<double>> rows)
{
    std::size_t const cols = rows.size() == 0 ? 0 : rows.begin()->size();
    Matrix result(rows.size(), cols, NO_INIT);
    double* out = result.begin();
    for (auto const& row : rows) {
        measuremath::require(row.size() == cols, badDim);
        out = std::copy(row.begin(), row.end(), out);
    }
    return result;
}

void Matrix::initValue(InitValueType t)
{
    if (t == NO_INIT) return;
    zeroed();
    if (t == IDENTITY) {
        int const n = std::min(getRow(), getCol());
        double* const p = begin();
        for (std::ptrdiff_t i = 0; i < n; ++i) p[i * (getCol() + 1)] = 1.0;
    }
}

Matrix& Matrix::setIdentity()
{
    initValue(IDENTITY);
    return *this;
}

Vector Matrix::column(int c) const
{
    Vector result(getRow(), Vector::NO_INIT);
    double* const out = result.begin();
    double const* p = begin() + c;
    for (int r = 0; r < getRow(); ++r, p += getCol()) out[r] = *p;
    return result;
}

void Matrix::setStrided(std::ptrdiff_t start, int stride, Vector const& v)
{
    double* out = begin() + start;
    for (double const x : v) {
        *out = x;
        out += stride;
    }
}

Vector Matrix::getDiagVector() const
{
    int const n = std::min(getRow(), getCol());
    Vector result(n, Vector::NO_INIT);
    double* const out = result.begin();
    double const* p = begin();
    for (int i = 0; i < n; ++i, p += getCol() + 1) out[i] = *p;
    return result;
}

void Matrix::setDiagVector(Vector const& v)
{
    measuremath::require(v.getSize() == std::min(getRow(), getCol()),
                         "Invalid diagonal vector size");
    setStrided(0, getCol() + 1, v);
}

void Matrix::copyBlock(int r0, int c0, Matrix& block) const
{
    double* out = block.begin();
    for (int r = 0; r < block.getRow(); ++r, out += block.getCol())
        std::copy_n((*this)[r0 + r] + c0, block.getCol(), out);
}

void Matrix::overwriteBlock(int r0, int c0, Matrix const& block)
{
    Matrix const source = block;  // block may be this matrix
    double const* in = source.begin();
    double* out = begin() + static_cast<std::ptrdiff_t>(r0) * getCol() + c0;
    for (int r = 0; r < source.getRow(); ++r, in += source.getCol(), out += getCol())
        std::copy_n(in, source.getCol(), out);
}

template <class Op>
Matrix Matrix::combined(Matrix const& b, Op op) const
{
    requireSameDimensions(*this, b);
    Matrix result(getRow(), getCol(), NO_INIT);
    measuremath::transform(begin(), b.begin(), result.ownElements(), size(), op);
    return result;
}

// `out` is this matrix or `b`.
template <class Op>
Matrix& Matrix::combineInto(Matrix& out, Matrix const& b, Op op) const
{
    requireSameDimensions(*this, b);
    double* const p = out.begin();
    measuremath::transform(begin(), b.begin(), p, size(), op);
    return out;
}

Matrix& Matrix::operator+=(Matrix const& b)
{
    return combineInto(*this, b, std::plus<>());
}
Matrix& Matrix::operator-=(Matrix const& b)
{
    return combineInto(*this, b, std::minus<>());
}

Matrix Matrix::operator+(Matrix const& b) const&
{
    return combined(b, std::plus<>());
}
Matrix Matrix::operator-(Matrix const& b) const&
{
    return combined(b, std::minus<>());
}
Matrix Matrix::operator-() const&
{
    return combined(*this, measuremath::negated);
}

// A temporary's buffer takes the result.
Matrix Matrix::operator+(Matrix const& b) &&
{
    return std::move(*this += b);
}
Matrix Matrix::operator-(Matrix const& b) &&
{
    return std::move(*this -= b);
}
Matrix Matrix::operator+(Matrix&& b) const&
{
    return std::move(combineInto(b, b, std::plus<>()));
}
Matrix Matrix::operator-(Matrix&& b) const&
{
    return std::move(combineInto(b, b, std::minus<>()));
}
Matrix Matrix::operator+(Matrix&& b) &&
{
    return std::move(*this += b);
}
Matrix Matrix::operator-(Matrix&& b) &&
{
    return std::move(*this -= b);
}
Matrix Matrix::operator-() &&
{
    return std::move(combineInto(*this, *this, measuremath::negated));
}

Matrix& Matrix::operator*=(double s)
{
    return s == 1.0 ? *this : combineInto(*this, *this, measuremath::times(s));
}

Matrix& Matrix::operator/=(double s)
{
    if (s == 0.0) return *this;  // kept: a zero divisor changes nothing, as for vectors
    return *this *= 1.0 / s;
}

Matrix operator*(double s, Matrix const& m)
{
    return s == 1.0 ? m : m.combined(m, measuremath::times(s));
}
Matrix operator*(double s, Matrix&& m)
{
    return std::move(m *= s);
}
Matrix operator*(Matrix const& m, double s)
{
    return s * m;
}
Matrix operator*(Matrix&& m, double s)
{
    return std::move(m *= s);
}

Matrix Matrix::operator*(Matrix const& b) const
{
    measuremath::require(getCol() == b.getRow(), badDim);
    Matrix result(getRow(), b.getCol(), NO_INIT);
    measuremath::multiply(begin(), b.begin(), result.ownElements(), getRow(), getCol(), b.getCol());
    return result;
}

Matrix& Matrix::operator*=(Matrix const& b)
{
    measuremath::require(isSquare(*this) && isSquare(b), "Not a square matrix");
    assert(getRow() == b.getRow());
    Matrix const product = *this * b;
    std::copy(product.begin(), product.end(), begin());
    return *this;
}

Vector operator*(Matrix const& m, Vector const& v)
{
    measuremath::require(m.getCol() == v.getSize(), "Bad vector and matrix dimensions");
    Vector result(m.getRow(), Vector::NO_INIT);
    double* const out = result.begin();
    double const* row = m.begin();
    for (int r = 0; r < m.getRow(); ++r, row += m.getCol())
        out[r] = measuremath::dot(row, v.begin(), v.size());
    return result;
}

Matrix Matrix::transpose() const
{
    Matrix result(getCol(), getRow(), NO_INIT);
    measuremath::transpose(begin(), getRow(), getCol(), getCol(), result.begin());
    return result;
}

Matrix& Matrix::transposeMyself()
{
    TVector<double>::operator=(transpose());
    swapDimensions();
    return *this;
}

double Matrix::frobeniusNorm() const
{
    return measuremath::norm(begin(), size());
}

double Matrix::determinant3x3() const
{
    measuremath::require(getRow() == 3 && getCol() == 3, "The matrix have to be 3x3");
    double const* const a = (*this)[0];
    double const* const b = (*this)[1];
    double const* const c = (*this)[2];
    return a[0] * (b[1] * c[2] - c[1] * b[2]) - a[1] * (b[0] * c[2] - c[0] * b[2]) +
           a[2] * (b[0] * c[1] - c[0] * b[1]);
}

int Matrix::equals(Matrix const& m, double tol) const
{
    requireSameDimensions(*this, m);
    double const* const p = begin();
    double const* const q = m.begin();
    for (unsigned int i = 0; i < size(); ++i)
        if (std::abs(p[i] - q[i]) > tol) return 0;
    return 1;
}

int Matrix::operator==(Matrix const& m) const
{
    return equals(m, 1e-15);
}

Matrix& Matrix::invert()
{
    measuremath::require(luInverse(*this), "Singular Matrix, can't inverse");
    return *this;
}

Matrix Matrix::inverse() const
{
    Matrix result = *this;
    result.Matrix::invert();
    return result;
}

std::ostream& operator<<(std::ostream& os, Matrix const& m)
{
    for (int r = 0; r < m.getRow(); ++r) os << "Row" << m.getRowVector(r) << '\n';
    return os;
}
