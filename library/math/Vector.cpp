#include "math/Vector.h"

#include "math/internal/Elementwise.h"

#include <algorithm>
#include <functional>
#include <ostream>
#include <utility>

char const* const Vector::badDim = "Bad vector dimensions";

Vector Vector::of(std::initializer_list<double> values)
{
    return Vector(values.begin(), values.size());
}

namespace {

void requireSameSize(Vector const& a, Vector const& b)
{
    measuremath::require(a.size() == b.size(), Vector::badDim);
}

template <class Container>
Container toContainer(Vector const& v)
{
    Container values(v.size());
    std::copy(v.begin(), v.end(), std::begin(values));
    return values;
}

}  // namespace

// With code of their own for points, chains of expressions take an eighth less time.
template <class Op>
Vector Vector::combined(Vector const& b, Op op) const
{
    if (size() != 3 || b.size() != 3) return combinedAnySize(b, op);
    Vector result(3, NO_INIT);
    measuremath::transform(begin(), b.begin(), result.ownElements(), 3, op);
    return result;
}

template <class Op>
[[gnu::noinline]] Vector Vector::combinedAnySize(Vector const& b, Op op) const
{
    requireSameSize(*this, b);
    Vector result(size(), NO_INIT);
    measuremath::transform(begin(), b.begin(), result.ownElements(), size(), op);
    return result;
}

// `out` is this vector or `b`.
template <class Op>
Vector& Vector::combineInto(Vector& out, Vector const& b, Op op) const
{
    requireSameSize(*this, b);
    double* const p = out.begin();
    measuremath::transform(begin(), b.begin(), p, size(), op);
    return out;
}

Vector& Vector::operator+=(Vector const& b)
{
    return combineInto(*this, b, std::plus<>());
}
Vector& Vector::operator-=(Vector const& b)
{
    return combineInto(*this, b, std::minus<>());
}
Vector& Vector::operator*=(Vector const& b)
{
    return combineInto(*this, b, std::multiplies<>());
}
Vector& Vector::operator/=(Vector const& b)
{
    return combineInto(*this, b, std::divides<>());
}

Vector Vector::operator+(Vector const& b) const&
{
    return combined(b, std::plus<>());
}
Vector Vector::operator-(Vector const& b) const&
{
    return combined(b, std::minus<>());
}
Vector Vector::operator*(Vector const& b) const&
{
    return combined(b, std::multiplies<>());
}
Vector Vector::operator/(Vector const& b) const&
{
    return combined(b, std::divides<>());
}
Vector Vector::operator-() const&
{
    return combined(*this, measuremath::negated);
}

// A temporary's buffer takes the result.
Vector Vector::operator+(Vector const& b) &&
{
    return std::move(*this += b);
}
Vector Vector::operator-(Vector const& b) &&
{
    return std::move(*this -= b);
}
Vector Vector::operator*(Vector const& b) &&
{
    return std::move(*this *= b);
}
Vector Vector::operator/(Vector const& b) &&
{
    return std::move(*this /= b);
}
Vector Vector::operator+(Vector&& b) const&
{
    return std::move(combineInto(b, b, std::plus<>()));
}
Vector Vector::operator-(Vector&& b) const&
{
    return std::move(combineInto(b, b, std::minus<>()));
}
Vector Vector::operator+(Vector&& b) &&
{
    return std::move(*this += b);
}
Vector Vector::operator-(Vector&& b) &&
{
    return std::move(*this -= b);
}
Vector Vector::operator-() &&
{
    return std::move(combineInto(*this, *this, measuremath::negated));
}

Vector& Vector::operator*=(double s)
{
    return s == 1.0 ? *this : combineInto(*this, *this, measuremath::times(s));
}

Vector& Vector::operator/=(double s)
{
    if (s == 0.0) return *this;  // kept: leaves the vector as it is, though operator/ does not
    return *this *= 1.0 / s;
}

Vector Vector::operator/(double s) const&
{
    return *this * (1.0 / s);
}
Vector Vector::operator/(double s) &&
{
    return std::move(*this *= 1.0 / s);
}

Vector operator*(double s, Vector const& v)
{
    return s == 1.0 ? v : v.combined(v, measuremath::times(s));
}
Vector operator*(double s, Vector&& v)
{
    return std::move(v *= s);
}
Vector operator*(Vector const& v, double s)
{
    return s * v;
}
Vector operator*(Vector&& v, double s)
{
    return std::move(v *= s);
}

double Vector::dot(Vector const& b) const
{
    requireSameSize(*this, b);
    return measuremath::dot(begin(), b.begin(), size());
}

Vector Vector::cross(Vector const& b) const
{
    requireSameSize(*this, b);
    assert(size() >= 3);
    double const* const p = begin();
    double const* const q = b.begin();
    Vector result(3, NO_INIT);
    double* const r = result.ownElements();
    r[0] = p[1] * q[2] - p[2] * q[1];
    r[1] = p[2] * q[0] - p[0] * q[2];
    r[2] = p[0] * q[1] - p[1] * q[0];
    return result;
}

double Vector::length() const
{
    return measuremath::norm(begin(), size());
}

int Vector::minPos() const
{
    return static_cast<int>(std::min_element(begin(), end()) - begin());
}

int Vector::equals(Vector const& v, double tol) const
{
    return (*this - v).length() <= tol ? 1 : 0;
}

int Vector::operator==(Vector const& v) const
{
    return equals(v, 1e-15);
}

void Vector::overwrite(std::ptrdiff_t start, Vector const& v)
{
    Vector const source = v;  // v may be this vector
    std::copy(source.begin(), source.end(), begin() + start);
}

std::ostream& operator<<(std::ostream& os, Vector const& v)
{
    os << '(';
    char const* separator = "";
    for (double const x : v) {
        os << separator << x;
        separator = ", ";
    }
    return os << ')';
}

Vector toVector(std::valarray<double> const& values)
{
    return Vector(std::begin(values), values.size());
}

Vector toVector(std::vector<double> const& values)
{
    return Vector(values.data(), values.size());
}

std::valarray<double> toValarray(Vector const& v)
{
    return toContainer<std::valarray<double>>(v);
}

std::vector<double> toStlVector(Vector const& v)
{
    return toContainer<std::vector<double>>(v);
}
