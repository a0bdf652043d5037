#include "math/Quatern.h"

#include "math/Euler.h"
#include "math/Rotation.h"
#include "math/VectorR.h"
#include "math/internal/FixedSize.h"

Quaternion::Quaternion() : Vector(4) {}

Quaternion::Quaternion(double q0, double q1, double q2, double q3) : Vector(of({q0, q1, q2, q3})) {}

Quaternion::Quaternion(Vector const& v) : Vector(v)
{
    measuremath::requireSize(*this, 4);
}

Quaternion::Quaternion(VectorR const& r) : Quaternion()
{
    double const angle = r.getModule();
    vectToQuat(angle, r / angle, *this);  // kept: `/` gives NaN for a null rotation
}

Quaternion::Quaternion(Euler const& e) : Quaternion(VectorR(e)) {}
