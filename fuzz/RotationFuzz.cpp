#include "FuzzInput.h"
#include "math/Euler.h"
#include "math/MatrixR.h"
#include "math/MatrixTH.h"
#include "math/Quatern.h"
#include "math/Rotation.h"
#include "math/Spherical.h"
#include "math/VectorR.h"

#include <algorithm>
#include <memory>

namespace {

// Angles are at most 14 and points at most 14 · √3 from the origin: some hundred roundings. Near
// gimbal lock the angles lose half the digits, the rotation does not.
constexpr double tolerance = 1e-13;

bool isRotation(MatrixR const& R)
{
    return (R * R.inverse()).equals(MatrixR(), tolerance) != 0 &&
           isNear(R.determinant3x3(), 1.0, tolerance);
}

// Any matrix and any vectors, of a size that the functions ask for.
void convertAnything(FuzzInput& input)
{
    Matrix const R = input.matrix(3, 3);
    Vector const v = input.vector(3);
    Vector const q = input.vector(4);
    Vector out(4);
    Matrix M(4, 4);
    double angle = 0.0;
    vectToQuat(input.number(), v, out);
    quatToVect(q, angle, out);
    eulerToMatrix(v, M);
    matrixToEuler(R, out);
    matrixToVect(R, out);
    vectToMatrix(v, M);
    dRotdEuler(v, input.vector(3), M);
    quatToMatrix(q, M);
    matrixToQuat(R, out);
    azElRoToMatrix(v, M);
    matrixToAzElRo(R, out);
    dEulerRotInvdEulerRot(v, M);
}

void anyDirection(FuzzInput& input)
{
    Vector const v = input.vector(3);
    Vector out(3);
    Matrix J(3, 3);
    cartToSph(v, out);
    sphToCart(v, out);
    cartToSphParticular(v, out);
    sphToCartParticular(v, out);
    computeJSph(v, J);
    computeJCart(v, J);
    computeJSphParticular(v, J);
    computeJCartParticular(v, J);
}

void roundTrip(FuzzInput& input)
{
    MatrixR const R{Euler(input.point(3))};
    check(isRotation(R));
    check(MatrixR(R.getEuler()).equals(R, tolerance) != 0);
    check(MatrixR(R.getQuaternion()).equals(R, tolerance) != 0);
    check(MatrixR(R.getVectorR()).equals(R, tolerance) != 0);
    check(isNear(R.getQuaternion().length(), 1.0, tolerance));
    check(R.getVectorR().length() <= 3.141592653589793 + tolerance);

    MatrixR const S{VectorR(input.point(3))};
    check(isRotation(S) && isRotation(R * S));
}

void azElRoRoundTrip(FuzzInput& input)
{
    Vector azElRo = input.point(3);
    MatrixR R, again;
    azElRoToMatrix(azElRo, R);
    check(isRotation(R));
    matrixToAzElRo(R, azElRo);
    azElRoToMatrix(azElRo, again);
    // The elevation comes from an arcsine and loses digits towards the poles.
    if (std::cos(azElRo[1]) > 0.01) check(again.equals(R, 1e4 * tolerance) != 0);
}

void directions(FuzzInput& input)
{
    Vector const v = input.point(3);
    if (v.length() == 0.0) return;
    Vector const unit = v / v.length();
    Vector angles(2), back(3);
    constexpr double arcTolerance = 1e-7;  // of an arcsine or arccosine beside a pole
    cartToSph(v, angles);
    sphToCart(angles, back);
    check(back.equals(unit, arcTolerance) != 0);
    cartToSphParticular(v, angles);
    sphToCartParticular(angles, back);
    check(back.equals(unit, arcTolerance) != 0);
}

void anyTransform(FuzzInput& input)
{
    MatrixTH T(input.matrix(4, 4));
    std::vector<Vector> points = input.vectors(input.integer(0, 6), 3);
    T.mapPoints(points);
    T.invert();
    T.init(input.vector(3), input.vector(3), input.vector(3));
}

void transform(FuzzInput& input)
{
    MatrixTH const T(Euler(input.point(3)), input.point(3));
    std::vector<Vector> const points = input.points(input.integer(0, 6), 3);
    std::vector<Vector> mapped = points;
    T.mapPoints(mapped);
    MatrixTH const back = T.inverse();
    for (std::size_t i = 0; i < points.size(); ++i) {
        check(mapped[i].equals(T.mapPoint(points[i]), tolerance * 14.0) != 0);
        check(back.mapPoint(mapped[i]).equals(points[i], tolerance * 14.0) != 0);
    }
}

// The middle variance of the points, 0 for those on a line.
double widthOf(std::vector<Vector> const& points)
{
    Vector variances;
    MatrixTH().init(points.data(), points.size(), variances, 0);
    return variances[1];
}

// Points that a transform has mapped are registered without a residual. About the line of points
// that nearly lie on one, the rotation is known to half the digits only.
void registration(FuzzInput& input)
{
    int const n = input.integer(0, 8);
    std::vector<Vector> const a = input.points(n, 3);
    MatrixTH const moved(Euler(input.point(3)), input.point(3));
    bool const noScale = input.flag();
    double const scale = noScale ? 1.0 : 0.125 * input.integer(1, 32);
    std::vector<Vector> b = a;
    for (Vector& p : b) p *= scale;
    moved.mapPoints(b);
    auto const used = std::make_unique<bool[]>(a.size());
    std::vector<Vector> usedPoints;
    for (std::size_t i = 0; i < a.size(); ++i) {
        used[i] = input.byte() != 0;
        if (used[i])
            usedPoints.push_back(a[i]);
        else
            b[i] = Vector();  // which would be refused
    }

    MatrixTH T;
    double const s = T.init(a.data(), b.data(), n, used.get(), noScale);
    MatrixR const R = T.getMatrixRot();
    check(isRotation(R));
    double const allowed = widthOf(usedPoints) > 0.01 ? 1e-9 : 1e-5;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (used[i]) check((s * (R * a[i]) + T.getVectorPos()).equals(b[i], allowed) != 0);
}

void anyRegistration(FuzzInput& input)
{
    int const n = input.integer(0, 6);
    std::vector<Vector> const a = input.vectors(n, 3);
    std::vector<Vector> const b = input.vectors(n, 3);
    MatrixTH T;
    T.init(a.data(), b.data(), n, nullptr, input.flag());
}

void principalFrame(FuzzInput& input)
{
    int const n = input.integer(0, 6);
    bool const anything = input.flag();
    std::vector<Vector> const points = anything ? input.vectors(n, 3) : input.points(n, 3);
    Vector variances;
    MatrixTH T;
    T.init(points.data(), n, variances, input.integer(-1, 7));
    check(std::is_sorted(variances.cbegin(), variances.cend()));
    check(isRotation(T.getMatrixRot()));
    if (anything) return;
    MatrixTH const toFrame = T.inverse();
    Vector sum(3);
    Vector squares(3);
    for (Vector const& p : points) {
        Vector const q = toFrame.mapPoint(p);
        sum += q;
        squares += q * q;
    }
    check(sum.equals(Vector(3), 1e-11) != 0);
    for (int i = 0; i < 3; ++i) check(isNear(squares[i] / n, variances[2 - i], 1e-11 * 600.0));
}

}  // namespace

void fuzz(FuzzInput& input)
{
    constexpr std::array operations = {
        anyDirection, anyRegistration, anyTransform, azElRoRoundTrip, convertAnything,
        directions,   principalFrame,  registration, roundTrip,       transform};
    operations[input.byte() % operations.size()](input);
}
