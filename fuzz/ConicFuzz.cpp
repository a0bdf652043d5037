#include "FuzzInput.h"
#include "math/Conic.h"
#include "math/CrossRatio.h"
#include "math/Geometry.h"
#include "math/LineUtils.h"

#include <utility>

namespace {

// Relative to the sum of the terms' magnitudes; coordinates are at most 14 and nothing cancels more
// than the discriminant of a conic, which is 2^-6 at least or known with 16 bits.
constexpr double tolerance = 1e-8;

// A sum of products, and the sum of their magnitudes.
struct Sum {
    double value = 0.0;
    double magnitude = 0.0;

    void add(double term)
    {
        value += term;
        magnitude += std::abs(term);
    }
    bool isZero(double relative = tolerance) const
    {
        return std::abs(value) <= relative * magnitude;
    }
};

Sum product(Vector const& a, Vector const& b)
{
    Sum sum;
    for (int i = 0; i < a.getSize(); ++i) sum.add(a[i] * b[i]);
    return sum;
}

// Coefficients of an ellipse of which no point lies farther out than `reach` along x or y.
class Equation {
public:
    Equation(Vector const& quad, double reach)
        : _quad(quad),
          _magnitude(reach * reach * (1.0 + std::abs(quad[0]) + std::abs(quad[1])) +
                     reach * (std::abs(quad[2]) + std::abs(quad[3])) + std::abs(quad[4]))
    {
    }

    void checkPoint(double x, double y) const
    {
        double const value =
            x * x + _quad[0] * y * y + _quad[1] * x * y + _quad[2] * x + _quad[3] * y + _quad[4];
        check(std::abs(value) <= tolerance * _magnitude);
    }

private:
    Vector _quad;
    double _magnitude;
};

// Any numbers in a vector of about the right size: errors are all that may come.
Vector anything(FuzzInput& input, int size)
{
    return input.vector(input.byte() == 0 ? input.integer(0, 9) : size);
}

void withAnything(FuzzInput& input)
{
    Vector a = anything(input, input.integer(2, 8));
    Vector b = anything(input, input.integer(2, 8));
    Vector c = anything(input, input.integer(2, 8));
    Vector d = anything(input, input.integer(2, 8));
    Matrix T, R, S;
    double theta = 0.0;
    double rho = 0.0;
    switch (input.integer(0, 11)) {
        case 0:
            ellipticQuadToCartParams(a, b);
            return;
        case 1:
            ellipticCartToQuadParams(a, a);
            return;
        case 2:
            ellipseDecomposition(a, T, R, S);
            return;
        case 3:
            crossRatioFromPoint(a, b, c, d);
            return;
        case 4:
            pointFromCrossRatio(input.number(), a, b, c, c);
            return;
        case 5:
            lineIntersection(a, b, a);
            return;
        case 6:
            ptDir2DToCart2D(a, b, c);
            return;
        case 7:
            cart3DToPtDir3D(a, a, b);
            return;
        case 8:
            ptDir3DToCart3D(a, b, b);
            return;
        case 9:
            pointToLine3DDist(a, b, c);
            return;
        case 10:
            computePolarLine(a, b, theta, rho);
            return;
        default:
            planLineIntersection(a, b, c, d, a);
    }
}

void checkEllipse(Vector const& cart, Equation const& equation)
{
    for (int i = 0; i < 8; ++i) {
        double const u = cart[3] * std::cos(i);
        double const v = cart[4] * std::sin(i);
        double const c = std::cos(cart[2]);
        double const s = std::sin(cart[2]);
        equation.checkPoint(cart[0] + c * u - s * v, cart[1] + s * u + c * v);
    }
}

// Points of an ellipse in each of its forms satisfy its equation.
void ellipses(FuzzInput& input)
{
    Vector cart = input.point(5);
    if (std::abs(cart[3]) < 0.1 || std::abs(cart[4]) < 0.1) return;  // nearly a segment
    Vector quad, again;
    ellipticCartToQuadParams(cart, quad);
    Equation const equation(quad, std::abs(cart[0]) + std::abs(cart[1]) + cart[3] + cart[4]);
    if (cart[3] < cart[4]) std::swap(cart[3], cart[4]);  // the angle is that of the longer axis
    checkEllipse(cart, equation);

    Matrix T, R, S;
    ellipseDecomposition(quad, T, R, S);
    check((R * R.transpose()).equals(Matrix(3, 3, Matrix::IDENTITY), tolerance) != 0);
    Matrix const M = T * R * S;
    for (int i = 0; i < 8; ++i) {
        Vector const p = M * Vector::of({std::cos(i), std::sin(i), 1.0});
        equation.checkPoint(p[0], p[1]);
    }
    ellipticQuadToCartParams(quad, again);
    check(again[3] >= again[4]);
    checkEllipse(again, equation);
}

void crossRatio(FuzzInput& input)
{
    int const dimension = input.integer(2, 3);
    Vector const origin = input.point(dimension);
    Vector const dir = input.point(dimension);
    double const at[] = {input.coordinate(), input.coordinate(), input.coordinate(),
                         input.coordinate()};
    Vector p[4];
    for (int i = 0; i < 4; ++i) p[i] = origin + at[i] * dir;
    double const k = crossRatioFromPoint(p[0], p[1], p[2], p[3]);
    Vector d(dimension);
    pointFromCrossRatio(k, p[0], p[1], p[2], d);

    double const expected = (at[2] - at[0]) * (at[3] - at[1]);
    Sum difference;
    difference.add(k * (at[2] - at[1]) * (at[3] - at[0]));
    difference.add(-expected);
    bool const isWellSeparated = dir.length() > 0.01 && std::abs(at[0] - at[1]) > 0.01 &&
                                 std::abs(at[2] - at[1]) > 0.01 && std::abs(at[2] - at[0]) > 0.01 &&
                                 std::abs(at[3] - at[0]) > 0.01;
    if (!isWellSeparated) return;
    check(std::abs(difference.value) <= tolerance * (1.0 + difference.magnitude));
    check(d.equals(p[3], 1e-7) != 0);
}

void lines(FuzzInput& input)
{
    Vector const p = input.point(2);
    Vector const q = input.point(2);
    Vector a(3), b(3), meeting(2);
    ptDir2DToCart2D(p, q - p, a);
    ptDir2DToCart2D(q, input.point(2), b);
    lineIntersection(a, b, meeting);
    Vector const homogeneous = Vector::of({meeting[0], meeting[1], 1.0});
    check(product(a, homogeneous).isZero(1e-14) && product(b, homogeneous).isZero(1e-14));

    double theta = 0.0;
    double rho = 0.0;
    computePolarLine(p, q, theta, rho);
    check(isNear(pointToPolarLineDist(theta, rho, p), 0.0, tolerance));
    check(isNear(pointToPolarLineDist(theta, rho, q), 0.0, tolerance));
}

void checkOnPlanes(Vector const& planes, Vector const& point, Vector const& dir)
{
    for (int const first : {0, 4}) {
        Vector const normal = planes(first, 3);
        check(product(normal, dir).isZero());
        Sum value = product(normal, point);
        value.add(planes[first + 3]);
        check(value.isZero());
    }
}

void linesInSpace(FuzzInput& input)
{
    Vector planes = input.point(8);
    Vector start(3), dir(3), meeting(3);
    cart3DToPtDir3D(planes, start, dir);
    checkOnPlanes(planes, start, dir);
    ptDir3DToCart3D(start, dir, planes);
    checkOnPlanes(planes, start, dir);

    Vector const onPlane = input.point(3);
    Vector const normal = input.point(3);
    if (!planLineIntersection(onPlane, normal, start, dir, meeting)) return;
    double const reach = meeting.length() + start.length() + onPlane.length();
    check(isNear((meeting - onPlane).dot(normal), 0.0, tolerance * reach * normal.length()));
    check(isNear(pointToLine3DDist(start, dir, meeting), 0.0, tolerance * reach));
}

}  // namespace

void fuzz(FuzzInput& input)
{
    constexpr std::array operations = {crossRatio, ellipses, lines, linesInSpace, withAnything};
    operations[input.byte() % operations.size()](input);
}
