#pragma once

#include "math/Euler.h"
#include "math/Export.h"
#include "math/Matrix.h"
#include "math/Quatern.h"
#include "math/VectorR.h"

/// Rotation as a 3 × 3 matrix that acts on columns: x' = R·x.
///
/// Its inverse is its transpose. That it is orthogonal is assumed, never checked.
class MEASUREMATH_API MatrixR : public Matrix {
public:
    /// The identity.
    MatrixR();
    /// Copy of nine elements, row after row.
    explicit MatrixR(double const* p);

    /// Shares the buffer of `m`, or takes over that of a temporary.
    /// @throws MathError "Bad matrix dimesions" unless m is 3 × 3; m keeps its buffer then.
    MatrixR(Matrix const& m);
    MatrixR(Matrix&& m);  ///< @copydoc MatrixR(Matrix const&)

    /// @name The matrix of another form
    /// @{
    MatrixR(Quaternion const& q);  ///< From a quaternion.
    MatrixR(Euler const& e);       ///< From Euler angles.
    MatrixR(VectorR const& r);     ///< From a rotation vector.
    /// @}

    /// Shares the buffer of `other`.
    MatrixR(MatrixR const& other) = default;
    /// Shares the buffer of `other`.
    MatrixR& operator=(MatrixR const& other) = default;
    ~MatrixR() override = default;

    /// @name Overwriting in place by another form
    /// A null rotation vector writes the diagonal only, as `vectToMatrix` does: start from an
    /// identity or assign `MatrixR(r)` where it may be null.
    /// @{
    void init(Quaternion const& q);           ///< From a quaternion.
    void init(Euler const& e);                ///< From Euler angles.
    void init(VectorR const& r);              ///< From a rotation vector.
    MatrixR& operator=(Quaternion const& q);  ///< From a quaternion.
    MatrixR& operator=(Euler const& e);       ///< From Euler angles.
    MatrixR& operator=(VectorR const& r);     ///< From a rotation vector.
    /// @}

    /// Shares the buffer of `m`.
    /// @throws MathError "Bad matrix dimesions" unless m has this matrix's dimensions.
    MatrixR& operator=(Matrix const& m);

    Euler getEuler() const;            ///< By `matrixToEuler`.
    VectorR getVectorR() const;        ///< By `matrixToVect`.
    Quaternion getQuaternion() const;  ///< By `matrixToQuat`; the identity gives (1, 0, 0, 0).

    using Matrix::operator*;
    /// The rotation by `b`, then by this one.
    MatrixR operator*(MatrixR const& b) const;
    /// The rotated vector. @throws MathError "Bad vector and matrix dimensions"
    Vector operator*(Vector const& v) const;

    /// Replaces this matrix by its transpose.
    Matrix& invert() override;
    /// The transpose; this matrix is unchanged.
    Matrix inverse() const override;
};
