#pragma once

#include "math/Export.h"
#include "math/TArray.h"
#include "math/Vector.h"

#include <initializer_list>
#include <iosfwd>

/// Dense m × n matrix of double, row-major, with copy-on-write storage.
///
/// Copying, assigning and returning by value share the buffer; a writing operation takes a
/// private one first. A temporary's own buffer takes the result of an operation on it; a matrix that
/// was moved from is 0 × 0. An operation that throws leaves its operands as they were, and operands may
/// alias (`m *= m`), except where `invert` says what it leaves. Indices and counts may be of any
/// integer type; `m[r][c]` is not checked, `m.at(r, c)` is.
class MEASUREMATH_API Matrix : public TArray<double> {
public:
    /// Initial contents of a matrix made from its dimensions.
    enum InitValueType {
        ZERO = 0,      ///< Every element 0.
        IDENTITY = 1,  ///< 1 on the main diagonal, 0 elsewhere; any shape.
        NO_INIT = 2    ///< Elements not initialised.
    };

    /// Message of every mismatch between two matrices: "Bad matrix dimensions".
    static char const* const badDim;

    /// 0 × 0.
    Matrix() = default;

    /// `rows` × `cols` elements, zero unless `t` says otherwise.
    /// @throws MathError "Invalid array size" when a count is negative or the matrix exceeds 4 GiB.
    template <class R, class C, measuremath::IfIndex<R, C> = 0>
    explicit Matrix(R rows, C cols, InitValueType t = ZERO) : TArray<double>(rows, cols)
    {
        if (t != NO_INIT) initValue(t);
    }

    /// Copy of `rows` · `cols` values, row after row.
    /// @throws MathError "Invalid array size" when a count is negative or the matrix exceeds 4 GiB.
    template <class R, class C, measuremath::IfIndex<R, C> = 0>
    Matrix(double const* src, R rows, C cols) : TArray<double>(src, rows, cols)
    {
    }

    /// The matrix of the listed rows: `Matrix::of({{1, 2}, {3, 4}})`.
    /// @throws MathError "Bad matrix dimensions" when the rows differ in length.
    static Matrix of(std::initializer_list<std::initializer_list<double>> rows);

    /// Copies `rows` · `cols` values into storage of this matrix's own.
    /// @throws MathError "Invalid array size" when a count is negative or the matrix exceeds 4 GiB.
    template <class R, class C, measuremath::IfIndex<R, C> = 0>
    Matrix& initMatrix(double const* src, R rows, C cols)
    {
        init(src, rows, cols);
        return *this;
    }
    /// Copies the values of `m`; never shares.
    Matrix& initMatrix(Matrix const& m)
    {
        init(m);
        return *this;
    }

    /// 1 on the main diagonal, 0 elsewhere; any shape.
    Matrix& setIdentity();

    /// @name Rows, columns and the main diagonal
    /// An index is compared with the count only; a negative one is not checked.
    /// @{

    /// Row `r`, copied. @throws MathError "Bad row indice"
    template <class I, measuremath::IfIndex<I> = 0>
    Vector getRowVector(I r) const
    {
        requireBelow(r, getRow(), "Bad row indice");
        return Vector((*this)[r], getCol());
    }

    /// Column `c`, copied. @throws MathError "Bad column indice"
    template <class I, measuremath::IfIndex<I> = 0>
    Vector getColVector(I c) const
    {
        requireBelow(c, getCol(), "Bad column indice");
        return column(static_cast<int>(c));
    }

    /// Overwrites row `r` by `v`.
    /// @throws MathError "Bad row indice", then "Bad vector size" unless v has one element a column.
    template <class I, measuremath::IfIndex<I> = 0>
    Matrix& setRowVector(I r, Vector const& v)
    {
        requireBelow(r, getRow(), "Bad row indice");
        measuremath::require(v.getSize() == getCol(), "Bad vector size");
        setStrided(static_cast<std::ptrdiff_t>(r) * getCol(), 1, v);
        return *this;
    }

    /// Overwrites column `c` by `v`.
    /// @throws MathError "Bad col indice" (not the getter's text), then "Bad vector size" unless v
    ///         has one element a row.
    template <class I, measuremath::IfIndex<I> = 0>
    Matrix& setColVector(I c, Vector const& v)
    {
        requireBelow(c, getCol(), "Bad col indice");
        measuremath::require(v.getSize() == getRow(), "Bad vector size");
        setStrided(static_cast<std::ptrdiff_t>(c), getCol(), v);
        return *this;
    }

    /// The min(rows, cols) elements (i, i), copied.
    Vector getDiagVector() const;

    /// Overwrites the elements (i, i) by `v`.
    /// @throws MathError "Invalid diagonal vector size" unless v has min(rows, cols) elements.
    void setDiagVector(Vector const& v);

    /// @}
    /// @name Blocks
    /// A negative start is not checked.
    /// @{

    /// The `nRows` × `nCols` block whose first element is (r0, c0), copied.
    /// @throws MathError "Bad start indices" when the block reaches beyond the matrix.
    template <class R, class C, class NR, class NC, measuremath::IfIndex<R, C, NR, NC> = 0>
    Matrix operator()(R r0, C c0, NR nRows, NC nCols) const
    {
        requireFit(r0, nRows, getRow());
        requireFit(c0, nCols, getCol());
        Matrix result(nRows, nCols, NO_INIT);
        copyBlock(static_cast<int>(r0), static_cast<int>(c0), result);
        return result;
    }

    /// Overwrites the block whose first element is (r0, c0) by `m`.
    /// @throws MathError "Bad start indices" when `m` placed there reaches beyond the matrix.
    template <class R, class C, measuremath::IfIndex<R, C> = 0>
    Matrix& operator()(R r0, C c0, Matrix const& m)
    {
        requireFit(r0, m.getRow(), getRow());
        requireFit(c0, m.getCol(), getCol());
        overwriteBlock(static_cast<int>(r0), static_cast<int>(c0), m);
        return *this;
    }

    /// @}
    /// @name Element-wise arithmetic
    /// @throws MathError "Bad matrix dimensions" when the dimensions of two matrices differ.
    /// @{
    Matrix& operator+=(Matrix const& b);       ///< Sum, in place.
    Matrix& operator-=(Matrix const& b);       ///< Difference, in place.
    Matrix operator+(Matrix const& b) const&;  ///< Sum.
    Matrix operator-(Matrix const& b) const&;  ///< Difference.
    Matrix operator+(Matrix const& b) &&;      ///< Sum.
    Matrix operator-(Matrix const& b) &&;      ///< Difference.
    Matrix operator+(Matrix&& b) const&;       ///< Sum.
    Matrix operator-(Matrix&& b) const&;       ///< Difference.
    Matrix operator+(Matrix&& b) &&;           ///< Sum.
    Matrix operator-(Matrix&& b) &&;           ///< Difference.
    Matrix operator-() const&;                 ///< Every element negated.
    Matrix operator-() &&;                     ///< Every element negated.
    /// @}

    /// Every element times `s`. With s = 1 the buffer is not touched and stays shared.
    Matrix& operator*=(double s);

    /// Every element times 1 / s. A zero divisor changes nothing.
    Matrix& operator/=(double s);

    /// Matrix product, m × n times n × p.
    /// @throws MathError "Bad matrix dimensions" unless b has one row for each column of this one.
    Matrix operator*(Matrix const& b) const;

    /// `*this = *this * b`, written into this matrix's own buffer. The two orders must be equal,
    /// which is not checked.
    /// @throws MathError "Not a square matrix" unless both are square.
    Matrix& operator*=(Matrix const& b);

    /// The n × m transpose, copied.
    Matrix transpose() const;

    /// Transposes this matrix; others that shared its buffer keep their values.
    Matrix& transposeMyself();

    /// Square root of the sum of squares of all elements, without overflow or underflow on the
    /// way; 0 when empty.
    double frobeniusNorm() const;

    /// Determinant of a 3 × 3 matrix by expansion along the first row.
    /// @throws MathError "The matrix have to be 3x3" for any other shape.
    double determinant3x3() const;

    /// 1 unless some element of the difference exceeds `tol` in magnitude: a test of each element,
    /// where `Vector::equals` tests the norm. A NaN does not count as exceeding.
    /// @throws MathError "Bad matrix dimensions" when the dimensions differ.
    int equals(Matrix const& m, double tol) const;

    /// `equals(m, 1e-15)`. @throws MathError "Bad matrix dimensions" when the dimensions differ.
    int operator==(Matrix const& m) const;
    /// Not `==`. @throws MathError "Bad matrix dimensions" when the dimensions differ.
    bool operator!=(Matrix const& m) const { return !(*this == m); }

    /// Replaces this matrix by its inverse, through its LU factors.
    /// @throws MathError "Invalid matrix size, need square matrix"; "Singular Matrix, can't inverse"
    ///         when a pivot is exactly 0: every element is 0 then.
    virtual Matrix& invert();

    /// The inverse; this matrix is unchanged.
    /// @throws MathError as `invert` does.
    virtual Matrix inverse() const;

protected:
    /// Sets the elements as `t` says; `NO_INIT` leaves the buffer alone.
    void initValue(InitValueType t);

private:
    template <class I>
    static void requireBelow(I i, int count, char const* message)
    {
        assert(measuremath::indexValue(i) >= 0);
        measuremath::require(measuremath::indexValue(i) < count, message);
    }
    template <class S, class C>
    static void requireFit(S start, C count, int n)
    {
        assert(measuremath::indexValue(start) >= 0);
        measuremath::require(measuremath::indexValue(start) + measuremath::indexValue(count) <= n,
                             "Bad start indices");
    }

    Vector column(int c) const;
    void setStrided(std::ptrdiff_t start, int stride, Vector const& v);
    void copyBlock(int r0, int c0, Matrix& block) const;
    void overwriteBlock(int r0, int c0, Matrix const& block);

    template <class Op>
    Matrix combined(Matrix const& b, Op op) const;
    template <class Op>
    Matrix& combineInto(Matrix& out, Matrix const& b, Op op) const;

    friend MEASUREMATH_API Matrix operator*(double s, Matrix const& m);
};

/// @name Every element times `s`
/// @{
MEASUREMATH_API Matrix operator*(double s, Matrix const& m);
MEASUREMATH_API Matrix operator*(double s, Matrix&& m);
MEASUREMATH_API Matrix operator*(Matrix const& m, double s);
MEASUREMATH_API Matrix operator*(Matrix&& m, double s);
/// @}

/// Matrix-vector product: element i = Σ_j m(i, j) · v[j].
/// @throws MathError "Bad vector and matrix dimensions" unless v has one element a column of m.
MEASUREMATH_API Vector operator*(Matrix const& m, Vector const& v);

/// Writes one line "Row(m00, m01, ...)" for each row, with the stream's own formatting.
MEASUREMATH_API std::ostream& operator<<(std::ostream& os, Matrix const& m);
