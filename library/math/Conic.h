#pragma once

/// @file
/// Ellipses as coefficients, as centre, angle and axes, and as the map of the unit circle onto
/// them.
///
///   quadParams  (A, B, D, E, F):     x² + A·y² + B·x·y + D·x + E·y + F = 0
///   cartParams  (x0, y0, θ, a, b):   centre, angle of the major axis from the x axis in radians,
///                                    semi-major axis a, semi-minor axis b

#include "math/Export.h"
#include "math/Matrix.h"
#include "math/Vector.h"

/// Centre, angle and axes of an ellipse from its coefficients.
///
/// An ellipse with its axes along x and y has no cross term and is rejected: B must not be 0.
///
/// @param[out] cartParams  resized to 5 when needed; may be `quadParams` itself. θ lies in
///                         [-π/2, π/2], and is 0 for a circle to within rounding; a >= b.
/// @throws MathError in this order: "Wrong size of quadParams, must be 5"; "quadParams[1] must not
///         be 0"; "Wrong quadParams (D2<=0), check fonction definition" for a conic that is no
///         ellipse; "Wrong quadParams (K<0), check fonction definition" for an ellipse without a
///         real point.
MEASUREMATH_API void ellipticQuadToCartParams(Vector const& quadParams, Vector& cartParams);

/// Coefficients of an ellipse from its centre, angle and axes.
///
/// @param[in]  cartParams  the two axes may come in either order; the larger is taken as a, so that
///                         θ is always the angle of the major axis.
/// @param[out] quadParams  resized to 5 when needed; may be `cartParams` itself.
/// @throws MathError in this order: "Wrong size of cartParams, must be 5"; "Wrong cartParams,
///         semi-axes must not be negative"; "Wrong quadParams (Q=0), check fonction definition" for
///         a segment along x, or a point, which have no equation with x² in it.
MEASUREMATH_API void ellipticCartToQuadParams(Vector const& cartParams, Vector& quadParams);

/// Three 3 × 3 homogeneous matrices whose product, translation · rotation · scaling, maps the unit
/// circle onto the ellipse.
///
/// The first column of the rotation (determinant +1) is the major axis, up to its sign. When
/// `g_MathLogger` is enabled for level 10000, the steps and the results are logged.
///
/// @param[out] translation,rotation,scaling  replaced, whatever their size was.
/// @throws MathError in this order: "Wrong size of ellipse parameters, must be 5"; "Can't processed
///         : wrong ellipse parameters" for a parabola or a hyperbola; "Can't processed
///         decomposition, invalid conic" for an ellipse with one real point or none.
MEASUREMATH_API void ellipseDecomposition(Vector const& quadParams, Matrix& translation,
                                          Matrix& rotation, Matrix& scaling);
