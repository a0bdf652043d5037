#pragma once

/// @file
/// Lines as coefficients and as a point with a direction, and where two 2-D lines meet.
///
///   2-D line    (a, b, c):                         a·x + b·y + c = 0
///   3-D line    (a1, b1, c1, d1, a2, b2, c2, d2):  where the two planes a·x + b·y + c·z + d = 0
///                                                  with these coefficients meet
///
/// The other form is a point and a direction of any length but 0, each a Vector of 2 or 3
/// elements. Vectors that receive a result must have their size beforehand.

#include "math/Export.h"
#include "math/Vector.h"

/// Point where two 2-D lines meet.
///
/// Each determinant is computed to within two units in the last place, so that the point is as
/// exact as the coefficients however small the angle between the lines.
///
/// @param[out] point  2 elements.
/// @throws MathError "Invalid parameter size" unless the lines have 3 elements and `point` 2;
///         "Lines are parallel", also for two equal lines and for (0, 0, c). Lines that are
///         parallel only up to the rounding of their coefficients give a very distant point.
MEASUREMATH_API void lineIntersection(Vector const& line1, Vector const& line2, Vector& point);

/// Coefficients of the 2-D line through `point` along `dir`.
///
/// @param[out] line  3 elements, normalised to b = 1 where point and point + dir have the same
///                   ordinate and to a = 1 elsewhere.
/// @throws MathError "Invalid parameter size" unless `point` and `dir` have 2 elements and `line`
///         3; "Vector dir must not be null".
MEASUREMATH_API void ptDir2DToCart2D(Vector const& point, Vector const& dir, Vector& line);

/// A point and the direction of the 3-D line where two planes meet.
///
/// @param[in]  planes  8 elements.
/// @param[out] point   3 elements, one of which is 1: the one along the largest component of dir.
/// @param[out] dir     3 elements: the cross product of the normals (a1, b1, c1) and (a2, b2, c2).
/// @throws MathError in this order: "Invalid parameter size"; "No 3D line" for a normal (0, 0, 0);
///         "Lines are parallel" for parallel planes.
MEASUREMATH_API void cart3DToPtDir3D(Vector const& planes, Vector& point, Vector& dir);

/// Two planes that meet in the 3-D line through `point` along `dir`.
///
/// With i the axis along which dir is largest in magnitude, there is one plane for each other axis
/// j, of normal e_j - (dir_j / dir_i)·e_i: coefficients within [-1, 1], one of them 1.
///
/// @param[out] planes  8 elements.
/// @throws MathError "Invalid parameter size" unless `point` and `dir` have 3 elements and
///         `planes` 8; "Vector dir must not be null".
MEASUREMATH_API void ptDir3DToCart3D(Vector const& point, Vector const& dir, Vector& planes);
