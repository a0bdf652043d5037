#include "math/VectorR.h"

#include "math/Euler.h"
#include "math/MatrixR.h"
#include "math/Quatern.h"
#include "math/Rotation.h"
#include "math/internal/FixedSize.h"

VectorR::VectorR() : Vector(3) {}

VectorR::VectorR(double x, double y, double z) : Vector(of({x, y, z})) {}

VectorR::VectorR(Vector const& v) : Vector(v)
{
    measuremath::requireSize(*this, 3);
}

VectorR::VectorR(Euler const& e) : VectorR()
{
    matrixToVect(MatrixR(e), *this);
}

VectorR::VectorR(Quaternion const& q) : VectorR()
{
    matrixToVect(MatrixR(q), *this);
}

Vector VectorR::getVector() const
{
    Vector axis = *this;
    axis /= getModule();  // leaves a null vector null
    return axis;
}
