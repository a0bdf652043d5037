#pragma once

#include "math/Export.h"
#include "math/Matrix.h"
#include "math/Vector.h"

/// @file
/// Conversions between the parameterisations of a rotation in space, and their derivatives.
/// Angles in radians, right-handed and counter-clockwise positive.
///
///   matrix R            3 × 3, acts on columns: x' = R·x
///   Euler angles e      R = Rz(e0)·Ry(e1)·Rx(e2): about x first, then y, then z
///   quaternion q        scalar first, (cos θ/2, sin θ/2 · axis); q and -q are the same rotation
///   rotation vector r   axis · θ
///   azElRo a            (azimuth, elevation, roll), R = Rz(a0)·Rx(π/2 + a1)·Rz(a2)
///
/// Inputs must have, and outputs already have, at least the size of the table; sizes are not
/// checked. Results are written in place and elements beyond them are kept, so that a 4 × 4
/// transform lends its leading 3 × 3 block. Outputs may alias inputs. Nothing throws; where a
/// singularity is not treated, infinities or NaN come out. Nothing is allocated, beyond making
/// a shared output private.

/// Quaternion of the rotation by `angle` about `axis`. A non-unit axis gives a non-unit quaternion.
MEASUREMATH_API void vectToQuat(double angle, Vector const& axis, Vector& quaternion);

/// Angle in [0, 2π] and unit axis of a quaternion of any length. The axis of an angle of exactly 0
/// is (0, 1, 0); that of (-1, 0, 0, 0), whose angle is 2π, is NaN.
MEASUREMATH_API void quatToVect(Vector const& quaternion, double& angle, Vector& axis);

/// Rotation matrix of Euler angles.
MEASUREMATH_API void eulerToMatrix(Vector const& euler, Matrix& R);

/// Euler angles of a rotation matrix: e0 and e2 in (-π, π], e1 in [-π/2, π/2]. In gimbal lock,
/// where R00 and R10 are exactly 0, e0 is 0.
MEASUREMATH_API void matrixToEuler(Matrix const& R, Vector& euler);

/// Rotation vector of a rotation matrix, of length θ in [0, π]. At exactly π, where both signs of
/// the axis serve, its largest component is negative.
MEASUREMATH_API void matrixToVect(Matrix const& R, Vector& r);

/// Rotation matrix of a rotation vector (Rodrigues). The null vector writes only the diagonal:
/// give an identity or a zero matrix.
MEASUREMATH_API void vectToMatrix(Vector const& r, Matrix& R);

/// Derivative of the rotated point R(e)·p with respect to the Euler angles e:
/// J(i, j) = ∂(R·p)_i / ∂e_j, 3 × 3.
MEASUREMATH_API void dRotdEuler(Vector const& euler, Vector const& p, Matrix& J);

/// Rotation matrix of a quaternion of any length; the null quaternion gives the identity.
MEASUREMATH_API void quatToMatrix(Vector const& quaternion, Matrix& R);

/// Unit quaternion of a rotation matrix. Its sign is not normalised: q0 may be negative where
/// the diagonal has negative elements.
MEASUREMATH_API void matrixToQuat(Matrix const& R, Vector& quaternion);

/// Rotation matrix of azimuth, elevation and roll.
MEASUREMATH_API void azElRoToMatrix(Vector const& azElRo, Matrix& R);

/// Azimuth and roll in [-π/2, 3π/2] and elevation in [-π/2, π/2] of such a matrix. At elevations
/// of ±π/2 azimuth and roll are not determined; no error says so.
MEASUREMATH_API void matrixToAzElRo(Matrix const& R, Vector& azElRo);

/// Derivative of the Euler angles f of the inverse rotation R(e)ᵀ with respect to e:
/// J(i, j) = ∂f_i / ∂e_j, 3 × 3. Singular where f is in gimbal lock.
MEASUREMATH_API void dEulerRotInvdEulerRot(Vector const& euler, Matrix& J);
