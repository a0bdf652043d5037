#pragma once

#include "math/Export.h"
#include "math/TArray.h"

#include <initializer_list>
#include <iosfwd>
#include <valarray>
#include <vector>

/// Column vector of double with copy-on-write storage.
///
/// Copying, assigning and returning by value share the buffer; a writing operation takes a
/// private one first. A temporary's own buffer takes the result of an operation on it; a vector that
/// was moved from is empty. An operation that throws leaves its operands as they were, and operands may
/// alias (`v += v`).
class MEASUREMATH_API Vector : public TVector<double> {
public:
    /// Initial contents of a vector made from a size.
    enum InitValueType {
        ZERO = 0,    ///< Every element 0.
        NO_INIT = 1  ///< Elements not initialised.
    };

    /// Message of every size mismatch between two vectors: "Bad vector dimensions".
    static char const* const badDim;

    /// Empty.
    Vector() = default;

    /// `n` elements, zero unless `t` says otherwise.
    /// @throws MathError "Invalid array size" when n is negative or n elements exceed 4 GiB.
    template <class N, measuremath::IfIndex<N> = 0>
    explicit Vector(N n, InitValueType t = ZERO) : TVector<double>(n)
    {
        if (t == ZERO) zeroed();
    }

    /// Copy of `n` values.
    /// @throws MathError "Invalid array size" when n is negative or n elements exceed 4 GiB.
    template <class N, measuremath::IfIndex<N> = 0>
    Vector(double const* src, N n) : TVector<double>(src, n)
    {
    }

    /// The vector of the listed values: `Vector::of({1, 2, 3})`.
    static Vector of(std::initializer_list<double> values);

    /// Copies `n` values into storage of this vector's own.
    /// @throws MathError "Invalid array size" when n is negative or n elements exceed 4 GiB.
    template <class N, measuremath::IfIndex<N> = 0>
    Vector& initVector(double const* src, N n)
    {
        init(src, n);
        return *this;
    }
    /// Copies the values of `v`; never shares.
    Vector& initVector(Vector const& v)
    {
        init(v);
        return *this;
    }

    /// @name Element-wise arithmetic of two vectors of the same size
    /// A zero divisor gives the floating-point result.
    /// @throws MathError "Bad vector dimensions" when the sizes differ.
    /// @{
    Vector& operator+=(Vector const& b);       ///< Sum, in place.
    Vector& operator-=(Vector const& b);       ///< Difference, in place.
    Vector& operator*=(Vector const& b);       ///< Product, in place.
    Vector& operator/=(Vector const& b);       ///< Quotient, in place.
    Vector operator+(Vector const& b) const&;  ///< Sum.
    Vector operator-(Vector const& b) const&;  ///< Difference.
    Vector operator*(Vector const& b) const&;  ///< Product.
    Vector operator/(Vector const& b) const&;  ///< Quotient.
    Vector operator+(Vector const& b) &&;      ///< Sum.
    Vector operator-(Vector const& b) &&;      ///< Difference.
    Vector operator*(Vector const& b) &&;      ///< Product.
    Vector operator/(Vector const& b) &&;      ///< Quotient.
    Vector operator+(Vector&& b) const&;       ///< Sum.
    Vector operator-(Vector&& b) const&;       ///< Difference.
    Vector operator+(Vector&& b) &&;           ///< Sum.
    Vector operator-(Vector&& b) &&;           ///< Difference.
    /// @}

    Vector operator-() const&;  ///< Every element negated.
    Vector operator-() &&;      ///< Every element negated.

    /// Every element times `s`. With s = 1 the buffer is not touched and stays shared.
    Vector& operator*=(double s);

    /// Every element times 1 / s. A zero divisor changes nothing, where `v / 0.0` gives
    /// infinities: callers normalise vectors that may be null with it.
    Vector& operator/=(double s);

    /// A copy times 1 / s; infinities (or NaN) for s = 0.
    Vector operator/(double s) const&;
    Vector operator/(double s) &&;  ///< The same, in the storage of the temporary.

    /// Sum of products; 0 for two empty vectors.
    /// @throws MathError "Bad vector dimensions" when the sizes differ.
    double dot(Vector const& b) const;

    /// Right-handed cross product `*this` × b, a new vector of 3. Both must have 3 elements or
    /// more; only that their sizes agree is checked.
    /// @throws MathError "Bad vector dimensions" when the sizes differ.
    Vector cross(Vector const& b) const;

    /// Euclidean norm, without overflow or underflow on the way; 0 when empty.
    double length() const;

    /// Index of the smallest element, the first one on ties; 0 when empty.
    int minPos() const;

    /// 1 when the Euclidean norm of the difference is at most `tol`, else 0; 0 when it is NaN.
    /// @throws MathError "Bad vector dimensions" when the sizes differ.
    int equals(Vector const& v, double tol) const;

    /// `equals(v, 1e-15)`. @throws MathError "Bad vector dimensions" when the sizes differ.
    int operator==(Vector const& v) const;
    /// Not `==`. @throws MathError "Bad vector dimensions" when the sizes differ.
    bool operator!=(Vector const& v) const { return !(*this == v); }

    /// The `count` elements from `start` on, copied. A negative `start` is not checked.
    /// @throws MathError "Bad start index" when start + count exceeds the size.
    template <class S, class C, measuremath::IfIndex<S, C> = 0>
    Vector operator()(S start, C count) const
    {
        requireFit(start, count);
        return Vector(begin() + start, count);
    }

    /// Overwrites the elements from `start` on by `v`. A negative `start` is not checked.
    /// @throws MathError "Bad start index" when start + v.size() exceeds the size.
    template <class S, measuremath::IfIndex<S> = 0>
    Vector& operator()(S start, Vector const& v)
    {
        requireFit(start, v.size());
        overwrite(static_cast<std::ptrdiff_t>(start), v);
        return *this;
    }

private:
    template <class S, class C>
    void requireFit(S start, C count) const
    {
        assert(measuremath::indexValue(start) >= 0);
        measuremath::require(
            measuremath::indexValue(start) + measuremath::indexValue(count) <= getSize(),
            "Bad start index");
    }
    void overwrite(std::ptrdiff_t start, Vector const& v);

    template <class Op>
    Vector combined(Vector const& b, Op op) const;
    template <class Op>
    Vector combinedAnySize(Vector const& b, Op op) const;
    template <class Op>
    Vector& combineInto(Vector& out, Vector const& b, Op op) const;

    friend MEASUREMATH_API Vector operator*(double s, Vector const& v);
};

/// @name Every element times `s`
/// @{
MEASUREMATH_API Vector operator*(double s, Vector const& v);
MEASUREMATH_API Vector operator*(double s, Vector&& v);
MEASUREMATH_API Vector operator*(Vector const& v, double s);
MEASUREMATH_API Vector operator*(Vector&& v, double s);
/// @}

/// Writes "(v0, v1, ...)" with the stream's own formatting; 17 digits round-trip.
MEASUREMATH_API std::ostream& operator<<(std::ostream& os, Vector const& v);

/// @name Conversions; all copy every element
/// @{
MEASUREMATH_API Vector toVector(std::valarray<double> const& values);
MEASUREMATH_API Vector toVector(std::vector<double> const& values);
MEASUREMATH_API std::valarray<double> toValarray(Vector const& v);
MEASUREMATH_API std::vector<double> toStlVector(Vector const& v);
/// @}
