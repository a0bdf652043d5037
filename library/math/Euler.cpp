#include "math/Euler.h"

#include "math/MatrixR.h"
#include "math/Quatern.h"
#include "math/Rotation.h"
#include "math/VectorR.h"
#include "math/internal/FixedSize.h"

Euler::Euler() : Vector(3) {}

Euler::Euler(double roulis, double tangage, double lacet) : Vector(of({roulis, tangage, lacet})) {}

Euler::Euler(Vector const& v) : Vector(v)
{
    measuremath::requireSize(*this, 3);
}

Euler::Euler(MatrixR const& R) : Euler()
{
    matrixToEuler(R, *this);
}

Euler::Euler(VectorR const& r) : Euler(MatrixR(r)) {}

Euler::Euler(Quaternion const& q) : Euler(MatrixR(q)) {}
