#pragma once

#include "math/Export.h"
#include "math/MatrixR.h"

#include <vector>

/// Rigid transform as a homogeneous 4 × 4 matrix [R t; 0 0 0 1]: a point p maps to R·p + t.
///
/// The bottom row is never checked; a transform made from any 4 × 4 matrix keeps it.
class MEASUREMATH_API MatrixTH : public Matrix {
public:
    /// The identity.
    MatrixTH();
    /// Copy of sixteen elements, row after row.
    explicit MatrixTH(double const* p);

    /// Shares the buffer of `m`, or takes over that of a temporary.
    /// @throws MathError "Bad matrix dimesions" unless m is 4 × 4; m keeps its buffer then.
    MatrixTH(Matrix const& m);
    MatrixTH(Matrix&& m);  ///< @copydoc MatrixTH(Matrix const&)

    /// Rotation by the Euler angles (e0, e1, e2), translation (tx, ty, tz).
    MatrixTH(double e0, double e1, double e2, double tx, double ty, double tz);

    /// @name Rotation R and translation t
    /// `t` must have three elements at least, which is not checked.
    /// @{
    MatrixTH(MatrixR const& R, Vector const& t);     ///< From a rotation matrix.
    MatrixTH(Euler const& R, Vector const& t);       ///< From Euler angles.
    MatrixTH(Quaternion const& R, Vector const& t);  ///< From a quaternion.
    MatrixTH(VectorR const& R, Vector const& t);     ///< From a rotation vector.
    /// @}

    /// Shares the buffer of `other`.
    MatrixTH(MatrixTH const& other) = default;
    /// Shares the buffer of `other`.
    MatrixTH& operator=(MatrixTH const& other) = default;
    /// Shares the buffer of `m`. @throws MathError "Bad matrix dimesions" unless m is 4 × 4.
    MatrixTH& operator=(Matrix const& m);
    ~MatrixTH() override = default;

    /// @name Rotation and translation
    /// @throws MathError "Invalid index value" when this matrix was resized through its base.
    /// @{
    void setMatrixRot(MatrixR const& R);  ///< Sets R; the rest is untouched.
    MatrixR getMatrixRot() const;         ///< R.
    void setVectorPos(Vector const& t);   ///< Sets t: three elements at least, not checked.
    Vector getVectorPos() const;          ///< t, 3 elements.
    Euler getEuler() const;               ///< R by `matrixToEuler`.
    VectorR getVectorR() const;           ///< R by `matrixToVect`.
    Quaternion getQuaternion() const;     ///< R by `matrixToQuat`.
    /// @}

    using Matrix::operator*;
    /// The transform by `b`, then by this one.
    MatrixTH operator*(MatrixTH const& b) const;

    /// Replaces this transform by its inverse [Rᵀ -Rᵀ·t; 0 0 0 1].
    Matrix& invert() override;
    /// The inverse transform; this one is unchanged.
    Matrix inverse() const override;

    /// R·p + t. @throws MathError "Bad vector dimensions" unless p has 3 elements.
    Vector mapPoint(Vector const& p) const;

    /// Maps `n` points in place that lie one after the other: x, y, z, x, y, z, ...
    template <class N, measuremath::IfIndex<N> = 0>
    void mapPoints(double* xyz, N n) const
    {
        mapPacked(xyz, measuremath::indexValue(n));
    }
    /// Maps every point in place.
    /// @throws MathError "Bad vector dimensions" unless each has 3 elements; all are unchanged then.
    void mapPoints(std::vector<Vector>& points) const;

    /// Frame from three points: x from `origin` towards `onX`, y square to it towards `inPlane`,
    /// z = x × y. Coincident or collinear points give NaN.
    /// @throws MathError "Invalid index value" when this matrix was resized below 3 × 4;
    ///         "Bad vector dimensions" unless the points have 3 elements.
    void init(Vector const& origin, Vector const& onX, Vector const& inPlane);

    /// Registration of matched points, b_i ≈ s·R·a_i + t, in closed form by unit quaternions
    /// (Horn 1987): R minimises Σ |b_i - (s·R·a_i + t)|², the scale is the ratio of the spreads,
    /// s = √(Σ|b_i - b̄|² / Σ|a_i - ā|²), which treats both sets alike, and t takes s·R·ā to b̄.
    /// This transform becomes [R t; 0 0 0 1]: the scale is in t but not in R.
    ///
    /// One pass over the points; their distance from the origin costs no accuracy. Collinear
    /// points leave the rotation about their line open: one of the best is found.
    ///
    /// @param a, b     n points of 3 elements each.
    /// @param used     which pairs to use; null for all. Unused ones are not read.
    /// @param noScale  true to keep s = 1.
    /// @return s
    /// @throws MathError "Number of matched points must exceed or equal 3"; "Bad vector dimensions"
    ///         unless the used points have 3 elements; "Eigen Values/Vectors computation failed",
    ///         as for NaN in a used point; "Matched points coincide, scale is undefined". This
    ///         transform is unchanged then.
    template <class N, measuremath::IfIndex<N> = 0>
    double init(Vector const* a, Vector const* b, N n, bool const* used, bool noScale)
    {
        return registerPoints(a, b, measuremath::indexValue(n), used, noScale);
    }

    /// Principal-axes frame of n points: origin in their centroid, x along the direction of the
    /// largest variance, y of the middle one, each towards the side of point `index`, and
    /// z = x × y, whatever side that is. One pass over the points.
    ///
    /// @param pts               n points of 3 elements.
    /// @param[out] eigenValues  variances along z, y and x (divided by n): ascending. Made 3 long.
    /// @throws MathError "Vector number must exceed or equal 3", "Bad index value"; "Bad vector
    ///         dimensions" unless all points have 3 elements; "Eigen Values/Vectors computation
    ///         failed", `eigenValues` being 0 then. This transform is unchanged.
    template <class N, class I, measuremath::IfIndex<N, I> = 0>
    void init(Vector const* pts, N n, Vector& eigenValues, I index)
    {
        alignWithAxes(pts, measuremath::indexValue(n), eigenValues, measuremath::indexValue(index));
    }
    /// The same frame without the variances.
    template <class N, class I, measuremath::IfIndex<N, I> = 0>
    void init(Vector const* pts, N n, I index)
    {
        Vector eigenValues;
        init(pts, n, eigenValues, index);
    }

private:
    void setAxes(Vector const& x, Vector const& y, Vector const& z, Vector const& origin);
    void mapPacked(double* xyz, long long n) const;
    double registerPoints(Vector const* a, Vector const* b, long long n, bool const* used,
                          bool noScale);
    void alignWithAxes(Vector const* pts, long long n, Vector& eigenValues, long long index);
};
