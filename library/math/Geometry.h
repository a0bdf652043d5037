#pragma once

/// @file
/// Distances to lines, the polar form of a 2-D line, and the intersection of a plane and a line.
///
///   2-D line, polar             (θ, ρ) with ρ = y·cos θ - x·sin θ for every point (x, y) of it:
///                               θ is the angle of its direction from the x axis, in radians, and
///                               |ρ| its distance from the origin
///   line, point and direction   a point on it and a direction, any length but 0
///   plane                       a point on it and a normal, any length but 0
///
/// A point or a direction is a Vector of 2 or 3 elements. A vector that receives a result must
/// have its size beforehand, and may be one of the arguments.

#include "math/Export.h"
#include "math/Vector.h"

/// Distance from `point` to the 3-D line through `linePoint` along `lineDir`.
/// @throws MathError in this order: "Invalid Line vector size" unless both line vectors have 3
///         elements; "Invalid Point vector size" unless `point` has 3; "Invalid Line direction
///         vector, should not be null".
MEASUREMATH_API double pointToLine3DDist(Vector const& linePoint, Vector const& lineDir,
                                         Vector const& point);

/// Polar form of the 2-D line through `p1` and `p2`.
///
/// The two points are taken to be different; where they are equal the line is the vertical one.
///
/// @param[out] theta  in (-π/2, π/2] up to rounding; π/2 when the abscissas are equal.
/// @throws MathError "Invalid vector size" unless both points have 2 elements.
MEASUREMATH_API void computePolarLine(Vector const& p1, Vector const& p2, double& theta,
                                      double& rho);

/// Distance from the 2-D `point` to the line (θ, ρ): |y·cos θ - x·sin θ - ρ|.
/// @throws MathError "Invalid vector size" unless `point` has 2 elements.
MEASUREMATH_API double pointToPolarLineDist(double theta, double rho, Vector const& point);

/// Point where a plane and a 3-D line meet.
///
/// @param[out] intersection  3 elements; untouched when the result is false.
/// @return false when the line is parallel to the plane: when the unit normal and the unit
///         direction have a dot product of exactly 0. A line that is parallel only up to rounding
///         gives a very distant point instead.
/// @throws MathError in this order: "Invalid Plan vector size" unless both plane vectors have 3
///         elements; "Invalid Line vector size" unless both line vectors have; "Invalid Point
///         vector size" unless `intersection` has; "Invalid plane normal vector, should not be
///         null"; "Invalid line direction vector, should not be null".
MEASUREMATH_API bool planLineIntersection(Vector const& planPoint, Vector const& planNormal,
                                          Vector const& linePoint, Vector const& lineDir,
                                          Vector& intersection);
