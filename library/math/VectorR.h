#pragma once

#include "math/Export.h"
#include "math/Vector.h"

class Euler;
class Quaternion;

/// Rotation as a vector: unit axis times angle, in radians.
class MEASUREMATH_API VectorR : public Vector {
public:
    /// (0, 0, 0), the identity.
    VectorR();
    /// The components of axis · angle.
    VectorR(double x, double y, double z);

    /// Shares the buffer of `v`. @throws MathError "Bad vector dimension" unless v has 3 elements.
    VectorR(Vector const& v);

    /// @name The vector of another form, its angle in [0, π] as `matrixToVect` gives it
    /// @{
    VectorR(Euler const& e);       ///< From Euler angles.
    VectorR(Quaternion const& q);  ///< From a quaternion.
    /// @}

    /// Shares the buffer of `other`.
    VectorR(VectorR const& other) = default;
    /// Shares the buffer of `other`.
    VectorR& operator=(VectorR const& other) = default;
    ~VectorR() override = default;

    /// The angle: the vector's length.
    double getModule() const { return length(); }

    /// The unit axis; (0, 0, 0) of a null rotation.
    Vector getVector() const;
};
