#include "math/MatrixR.h"

#include "math/Rotation.h"
#include "math/internal/FixedSize.h"

#include <utility>

MatrixR::MatrixR() : Matrix(3, 3, IDENTITY) {}

MatrixR::MatrixR(double const* p) : Matrix(p, 3, 3) {}

MatrixR::MatrixR(Matrix const& m) : Matrix(m)
{
    measuremath::requireDimensions(m, 3, 3);
}

MatrixR::MatrixR(Matrix&& m)
{
    measuremath::requireDimensions(m, 3, 3);
    Matrix::operator=(std::move(m));
}

MatrixR::MatrixR(Quaternion const& q) : Matrix(3, 3)
{
    init(q);
}

MatrixR::MatrixR(Euler const& e) : Matrix(3, 3)
{
    init(e);
}

MatrixR::MatrixR(VectorR const& r) : MatrixR()
{
    init(r);
}

void MatrixR::init(Quaternion const& q)
{
    quatToMatrix(q, *this);
}

void MatrixR::init(Euler const& e)
{
    eulerToMatrix(e, *this);
}

void MatrixR::init(VectorR const& r)
{
    vectToMatrix(r, *this);
}

MatrixR& MatrixR::operator=(Quaternion const& q)
{
    init(q);
    return *this;
}

MatrixR& MatrixR::operator=(Euler const& e)
{
    init(e);
    return *this;
}

MatrixR& MatrixR::operator=(VectorR const& r)
{
    init(r);
    return *this;
}

MatrixR& MatrixR::operator=(Matrix const& m)
{
    measuremath::requireDimensions(m, getRow(), getCol());
    Matrix::operator=(m);
    return *this;
}

Euler MatrixR::getEuler() const
{
    return Euler(*this);
}

VectorR MatrixR::getVectorR() const
{
    VectorR r;
    matrixToVect(*this, r);
    return r;
}

Quaternion MatrixR::getQuaternion() const
{
    Quaternion q;
    matrixToQuat(*this, q);
    return q;
}

MatrixR MatrixR::operator*(MatrixR const& b) const
{
    return Matrix::operator*(static_cast<Matrix const&>(b));
}

Vector MatrixR::operator*(Vector const& v) const
{
    return static_cast<Matrix const&>(*this) * v;
}

Matrix& MatrixR::invert()
{
    return *this = transpose();
}

Matrix MatrixR::inverse() const
{
    return transpose();
}
