#pragma once

/// @file
/// The cross ratio of four points of one line, which projections keep.
///
/// With A, B, C, D the signed positions of the points a, b, c, d along their line,
///
///   k = (C - A)·(D - B) / ((C - B)·(D - A)).
///
/// Points are Vectors of 2 or 3 elements, all four of the same size, and are taken to be
/// collinear: what they lie apart from the line is not looked at.

#include "math/Export.h"
#include "math/Vector.h"

/// The point `d` of the line through `a` and `b` for which the cross ratio of a, b, c, d is `k`:
/// the inverse of crossRatioFromPoint.
///
/// @param[out] d  of the size of the others; may be one of them.
/// @throws MathError "Invalid vector size" unless all have 2 or all have 3 elements; "Invalid cross
///         Ratio points " (with a blank at the end) when a = b, which leaves no line or no unique
///         d, or when d would lie at infinity. `d` is untouched then.
MEASUREMATH_API void pointFromCrossRatio(double k, Vector const& a, Vector const& b,
                                         Vector const& c, Vector& d);

/// The cross ratio of four collinear points.
/// @throws MathError "Invalid vector size" unless all have 2 or all have 3 elements; "Invalid cross
///         Ratio points " (with a blank at the end) when b = c or a = d.
MEASUREMATH_API double crossRatioFromPoint(Vector const& a, Vector const& b, Vector const& c,
                                           Vector const& d);
