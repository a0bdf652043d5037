#pragma once

/// @file
/// Vectors and matrices as OpenCV arrays, without copies, and OpenCV arrays as ours.
///
/// The library does not depend on OpenCV: this header needs the core module of OpenCV 3 or newer
/// from whoever includes it.
///
///     cv::Rodrigues(measuremath::asOpenCV(std::as_const(rotationVector)), R);
///     Matrix const rotation = measuremath::toMatrix(R);
///
/// A view does not own its elements. One for writing un-shares the object first and is valid until
/// the object is next copied, written through another name, or destroyed: a copy taken in between
/// would share what the view writes. One for reading never copies and is valid until the next
/// write. A function of OpenCV that gives its output another shape or type replaces the view and
/// leaves the object as it was.

#include "math/MathError.h"
#include "math/Matrix.h"
#include "math/Vector.h"

#include <opencv2/core.hpp>

namespace measuremath {

/// The elements of `v` as an n × 1 array of double, for writing.
inline cv::Mat_<double> asOpenCV(Vector& v)
{
    return {v.getSize(), 1, v.begin()};
}

/// The elements of `m` as a rows × columns array of double, for writing.
inline cv::Mat_<double> asOpenCV(Matrix& m)
{
    return {m.getRow(), m.getCol(), m.begin()};
}

/// @name Views for reading
/// OpenCV has no array of constant elements: nothing stops a copy of the result from writing to
/// `v` or `m`, and to all that shares its buffer. Hand it to inputs only.
/// @{
// The const keeps asOpenCV(v)(0) = x from compiling. NOLINTBEGIN(readability-const-return-type)

/// The elements of `v` as an n × 1 array of double.
inline cv::Mat_<double> const asOpenCV(Vector const& v)
{
    return {v.getSize(), 1, const_cast<double*>(v.begin())};
}
/// The elements of `m` as a rows × columns array of double.
inline cv::Mat_<double> const asOpenCV(Matrix const& m)
{
    return {m.getRow(), m.getCol(), const_cast<double*>(m.begin())};
}
// NOLINTEND(readability-const-return-type)
/// @}

/// @name A view of a temporary would dangle
/// @{
cv::Mat_<double> asOpenCV(Vector const&& v) = delete;
cv::Mat_<double> asOpenCV(Matrix const&& m) = delete;
/// @}

/// The values of a two-dimensional array of any numeric type, converted to double. A list of n
/// points, such as `std::vector<cv::Point3d>`, gives one row a point: n × 3.
/// @throws MathError "Bad matrix dimensions" for more than two dimensions, and for several channels
///         in more than one row and column.
inline Matrix toMatrix(cv::InputArray array)
{
    cv::Mat const source = array.getMat();
    bool const isPoints = source.channels() > 1;
    require(source.dims <= 2 && (!isPoints || source.rows <= 1 || source.cols <= 1),
            Matrix::badDim);
    if (source.empty()) return Matrix(source.rows, source.cols);

    cv::Mat const values = source.reshape(1, isPoints && source.rows == 1 ? source.cols : 0);
    Matrix m(values.rows, values.cols, Matrix::NO_INIT);
    values.convertTo(asOpenCV(m), CV_64F);
    return m;
}

/// The values of a column or a row of any numeric type, converted to double; one point of several
/// channels is a row.
/// @throws MathError "Bad matrix dimensions" as `toMatrix`, "Bad vector dimensions" when there are
///         several rows and several columns.
inline Vector toVector(cv::InputArray array)
{
    Matrix const values = toMatrix(array);
    require(values.getRow() <= 1 || values.getCol() <= 1, Vector::badDim);
    return Vector(values.begin(), values.getLength());
}

}  // namespace measuremath
