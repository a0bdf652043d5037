#pragma once

#include "math/Export.h"
#include "math/Matrix.h"
#include "math/Vector.h"

/// @file
/// Directions as two angles (φ, θ) in radians on the unit sphere, in two conventions.
///
///   standard     φ about z, from x towards y, in [0, 2π]; θ from +z, in [0, π]:
///                direction (cos φ·sin θ, sin φ·sin θ, cos θ)
///   particular   φ about y, from z towards x, in [0, 2π]; θ towards -y, in [-π/2, π/2], as in a
///                camera where z looks forward and y down:
///                direction (sin φ·cos θ, -sin θ, cos φ·cos θ)
///
/// Outputs are written in place and must already have their size; sizes are not checked. They may
/// alias inputs. Nothing throws. A Jacobian has one row per output and one column per input.

/// Standard angles of a direction v of any length but 0 (NaN then). The poles are (0, 0) and
/// (0, π): exactly those directions whose z, after division by |v|, rounds to 1 or -1.
MEASUREMATH_API void cartToSph(Vector const& v, Vector& s);

/// Unit direction of standard angles.
MEASUREMATH_API void sphToCart(Vector const& s, Vector& v);

/// Particular angles of a direction v of any length. Within 2^-52 of the y axis they are
/// (0, -π/2) for y > 0, (0, π/2) for y < 0, and left as they were for y = 0.
MEASUREMATH_API void cartToSphParticular(Vector const& v, Vector& s);

/// Unit direction of particular angles.
MEASUREMATH_API void sphToCartParticular(Vector const& s, Vector& v);

/// ∂(φ, θ)/∂(x, y, z) of the standard angles at v, 2 × 3; v need not be of length 1. Within 2^-52
/// of the z axis a large finite gain stands for the infinite one: rows (-10000, 10000, 0) and
/// (1/z, 1/z, 0).
MEASUREMATH_API void computeJSph(Vector const& v, Matrix& J);

/// ∂(x, y, z)/∂(φ, θ) of the standard direction, 3 × 2.
MEASUREMATH_API void computeJCart(Vector const& s, Matrix& J);

/// ∂(φ, θ)/∂(x, y, z) of the particular angles at v, 2 × 3; v need not be of length 1. Within
/// 2^-52 of the y axis: rows (10000, 0, -10000) and (1/y, 0, 1/y).
MEASUREMATH_API void computeJSphParticular(Vector const& v, Matrix& J);

/// ∂(x, y, z)/∂(φ, θ) of the particular direction, 3 × 2.
MEASUREMATH_API void computeJCartParticular(Vector const& s, Matrix& J);
