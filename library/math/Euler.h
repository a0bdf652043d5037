#pragma once

#include "math/Export.h"
#include "math/Vector.h"

class MatrixR;
class Quaternion;
class VectorR;

/// Rotation as Euler angles (roulis, tangage, lacet) in radians: R = Rz(roulis)·Ry(tangage)·Rx(lacet).
///
/// Mind the order: `Roulis`, index 0, turns about z and `Lacet`, index 2, about x.
class MEASUREMATH_API Euler : public Vector {
public:
    /// (0, 0, 0), the identity.
    Euler();
    /// The angles about z, y and x.
    Euler(double roulis, double tangage, double lacet);

    /// Shares the buffer of `v`. @throws MathError "Bad vector dimension" unless v has 3 elements.
    Euler(Vector const& v);

    /// @name The angles of another form, as `matrixToEuler` chooses them
    /// @{
    Euler(MatrixR const& R);     ///< From a rotation matrix.
    Euler(VectorR const& r);     ///< From a rotation vector.
    Euler(Quaternion const& q);  ///< From a quaternion.
    /// @}

    /// Shares the buffer of `other`.
    Euler(Euler const& other) = default;
    /// Shares the buffer of `other`.
    Euler& operator=(Euler const& other) = default;
    ~Euler() override = default;

    double getRoulis() const { return (*this)[0]; }   ///< Angle about z.
    double getTangage() const { return (*this)[1]; }  ///< Angle about y.
    double getLacet() const { return (*this)[2]; }    ///< Angle about x.

    void setRoulis(double angle) { (*this)[0] = angle; }   ///< Angle about z.
    void setTangage(double angle) { (*this)[1] = angle; }  ///< Angle about y.
    void setLacet(double angle) { (*this)[2] = angle; }    ///< Angle about x.
};
