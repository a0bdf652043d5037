#pragma once

#include "math/Export.h"
#include "math/Vector.h"

class Euler;
class VectorR;

/// Rotation as a quaternion, scalar first: (cos θ/2, sin θ/2 · axis). Stored as it comes, never
/// normalised; q and -q are the same rotation.
///
/// The operators are those of `Vector`: `*` multiplies element by element.
class MEASUREMATH_API Quaternion : public Vector {
public:
    /// (0, 0, 0, 0): not a unit quaternion, though its matrix is the identity.
    Quaternion();
    /// Scalar part `q0`, vector part (q1, q2, q3).
    Quaternion(double q0, double q1, double q2, double q3);

    /// Shares the buffer of `v`. @throws MathError "Bad vector dimension" unless v has 4 elements.
    Quaternion(Vector const& v);

    /// The quaternion of a rotation that is not null: a null one, which has no axis, gives
    /// (1, NaN, NaN, NaN). Where it may occur, use `MatrixR::getQuaternion`.
    Quaternion(VectorR const& r);
    /// Same as of `VectorR(e)`, with the same gap at the identity.
    Quaternion(Euler const& e);

    /// Shares the buffer of `other`.
    Quaternion(Quaternion const& other) = default;
    /// Shares the buffer of `other`.
    Quaternion& operator=(Quaternion const& other) = default;
    ~Quaternion() override = default;
};
