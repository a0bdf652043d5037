#include "math/Euler.h"
#include "math/MatrixR.h"
#include "math/Quatern.h"
#include "math/VectorR.h"

#include "support/MathErrorExpectations.h"
#include "support/ReferenceValues.h"

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

namespace {

Matrix const identity(3, 3, Matrix::IDENTITY);

void expectRotation(MatrixR const& actual, Matrix const& R)
{
    EXPECT_LT(ulps(actual, R), 32);  // two conversions and the rounding of the reference
}

template <class... To, class From>
void expectConversionsKeep(Matrix const& R, From const& from)
{
    (expectRotation(To(from), R), ...);
}

TEST(RotationClasses, EveryConversionKeepsTheRotation)
{
    for (auto const& [r, R, q, e] : knownRotations()) {
        SCOPED_TRACE(testing::PrintToString(toStlVector(r)));
        expectConversionsKeep<VectorR, MatrixR>(R, Euler(e));
        expectConversionsKeep<Euler, MatrixR>(R, VectorR(r));
        expectConversionsKeep<Euler, VectorR, MatrixR>(R, Quaternion(q));
        expectConversionsKeep<Euler>(R, MatrixR(R));
        expectRotation(MatrixR(R).getEuler(), R);
        expectRotation(MatrixR(R).getVectorR(), R);
        expectRotation(MatrixR(R).getQuaternion(), R);
        if (r.length() == 0) continue;  // has no axis for a quaternion
        expectConversionsKeep<Quaternion>(R, Euler(e));
        expectConversionsKeep<Quaternion>(R, VectorR(r));
    }
}

TEST(RotationClasses, HoldTheirElementsInOrder)
{
    EXPECT_EQ(Quaternion(), Vector(4)) << "the null quaternion, not the identity";
    EXPECT_TRUE(isNear(MatrixR(Quaternion()), identity, 0));
    Euler e(1, 2, 3);
    EXPECT_EQ(Vector::of({e.getRoulis(), e.getTangage(), e.getLacet()}), Vector::of({1, 2, 3}));
    e.setRoulis(4);
    e.setTangage(5);
    e.setLacet(6);
    EXPECT_EQ(e, Vector::of({4, 5, 6}));
    EXPECT_EQ(VectorR(0, 3, 4).getModule(), 5);
    EXPECT_TRUE(VectorR(0, 3, 4).getVector().equals(Vector::of({0, 0.6, 0.8}), 1e-15));
    EXPECT_EQ(VectorR().getVector(), Vector(3));
}

TEST(RotationClasses, TakePlainVectorsAndMatricesOfTheirSizeBySharing)
{
    Vector const v(3), w(4);
    Matrix const m(3, 3);
    auto const address = [](auto const& container) { return container.begin(); };
    EXPECT_EQ(address(Euler(v)), address(v));
    EXPECT_EQ(address(VectorR(v)), address(v));
    EXPECT_EQ(address(Quaternion(w)), address(w));
    EXPECT_EQ(address(MatrixR(m)), address(m));
    MatrixR R;
    EXPECT_MATH_ERROR(Euler{w}, "Bad vector dimension");
    EXPECT_MATH_ERROR(VectorR{w}, "Bad vector dimension");
    EXPECT_MATH_ERROR(Quaternion{v}, "Bad vector dimension");
    EXPECT_MATH_ERROR(MatrixR(Matrix(3, 4)), "Bad matrix dimesions");
    EXPECT_MATH_ERROR(R = Matrix(4, 3), "Bad matrix dimesions");
    EXPECT_TRUE(isNear(R, identity, 0));
    EXPECT_TRUE(isNear(MatrixR(identity.begin()), identity, 0)) << "of nine elements";
    EXPECT_EQ(address(R = m), address(m));
}

TEST(RotationClasses, QuaternionOfANullRotationHasNoAxis)
{
    for (Quaternion const& q : {Quaternion(VectorR()), Quaternion(Euler())})
        EXPECT_TRUE(q[0] == 1 && std::isnan(q[1]) && std::isnan(q[2]) && std::isnan(q[3])) << q;
    EXPECT_EQ(MatrixR(VectorR()).getQuaternion(), Quaternion(1, 0, 0, 0));
}

TEST(MatrixR, AssignmentOverwritesInPlace)
{
    Euler const e(0.1, 0.2, 0.3);
    MatrixR R;
    double const* const address = R.data();
    expectRotation(R = e, MatrixR(e));
    expectRotation(R = VectorR(e), MatrixR(e));
    expectRotation(R = Quaternion(e), MatrixR(e));
    double const kept = R[0][1];
    R = VectorR();
    EXPECT_EQ(Vector::of({R[0][1], R[1][1]}), Vector::of({kept, 1})) << "writes the diagonal only";
    EXPECT_EQ(R.data(), address);
}

TEST(MatrixR, InverseIsTheTransposeWhateverTheMatrix)
{
    MatrixR R(Matrix::of({{1, 2, 3}, {0, 0, 4}, {0, 0, 0}}));
    Matrix const transpose = R.transpose();
    Matrix& viaBase = R;
    EXPECT_TRUE(isNear(viaBase.inverse(), transpose, 0));
    EXPECT_EQ(&viaBase.invert(), &R);
    EXPECT_TRUE(isNear(R, transpose, 0));
}

TEST(MatrixR, ProductsOfRotationsAreRotations)
{
    MatrixR const R(Euler(0.4, 0, 0));
    static_assert(std::is_same_v<decltype(R * R), MatrixR>);
    EXPECT_TRUE((R * R).getEuler().equals(Euler(0.8, 0, 0), 1e-15));
    EXPECT_TRUE(
        (R * VectorR(1, 0, 0)).equals(Vector::of({std::cos(0.4), std::sin(0.4), 0}), 1e-15));
    EXPECT_EQ(R * Matrix(3, 2), Matrix(3, 2));
    EXPECT_MATH_ERROR(R * Quaternion(), "Bad vector and matrix dimensions");
}

}  // namespace
