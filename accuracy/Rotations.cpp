#include "Report.h"

#include "math/Rotation.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

namespace {

using std::numbers::pi;

constexpr double limit = 16.0;  // ulp: some ten roundings on the way there and back

// The two signs of a quaternion, or of a half turn, are the same rotation.
double errorUpToSign(Vector const& actual, Vector const& expected)
{
    return std::min(ulps(actual, expected), ulps(-actual, expected)) / expected.length();
}

// Modulo full turns. The outer angles are as well determined as the cosine of the middle one is
// large, so their errors count times that.
double angleError(Vector const& actual, Vector const& expected, double cosine)
{
    Vector difference(3);
    for (int i = 0; i < 3; ++i) difference[i] = std::remainder(actual[i] - expected[i], 2 * pi);
    return ulps(difference, Vector(3), pi / std::abs(cosine));
}

Matrix matrixOf(Vector const& r)
{
    Matrix R(3, 3, Matrix::IDENTITY);
    vectToMatrix(r, R);
    return R;
}

double vectorByMatrix(Vector const& r)
{
    Vector back(3);
    matrixToVect(matrixOf(r), back);
    return ulps(back, r, r.length());
}

double vectorByQuaternion(Vector const& r)
{
    double const theta = r.length();
    double angle = 0.0;
    Vector q(4), axis(3);
    vectToQuat(theta, r / theta, q);
    quatToVect(q, angle, axis);
    return ulps(angle * axis, r, theta);
}

double quaternionByMatrix(Vector const& r)
{
    Vector q(4), back(4);
    vectToQuat(r.length(), r / r.length(), q);
    Matrix R(3, 3);
    quatToMatrix(q, R);
    matrixToQuat(R, back);
    return errorUpToSign(back, q);
}

double matrixByQuaternion(Vector const& r)
{
    Matrix const R = matrixOf(r);
    Vector q(4);
    Matrix back(3, 3);
    matrixToQuat(R, q);
    quatToMatrix(q, back);
    return ulps(back, R);
}

double eulerByMatrix(Vector const& r)
{
    Vector e(3), back(3);
    matrixToEuler(matrixOf(r), e);
    Matrix R(3, 3);
    eulerToMatrix(e, R);
    matrixToEuler(R, back);
    return angleError(back, e, std::cos(e[1]));
}

double azElRoByMatrix(Vector const& r)
{
    Vector a(3), back(3);
    matrixToAzElRo(matrixOf(r), a);
    Matrix R(3, 3);
    azElRoToMatrix(a, R);
    matrixToAzElRo(R, back);
    return angleError(back, a, std::cos(a[1]));
}

struct RoundTrip {
    char const* name;
    double (*error)(Vector const& r);
};

RoundTrip const roundTrips[] = {
    {"rotation vector → matrix → rotation vector", vectorByMatrix},
    {"rotation vector → quaternion → rotation vector", vectorByQuaternion},
    {"quaternion → matrix → quaternion", quaternionByMatrix},
    {"matrix → quaternion → matrix", matrixByQuaternion},
    {"Euler angles → matrix → Euler angles", eulerByMatrix},
    {"azimuth, elevation, roll → matrix → back", azElRoByMatrix},
};

struct Range {
    double from, to;
};

}  // namespace

void reportRotations(Report& report)
{
    report.section(
        "Rotations there and back",
        R"(Worst difference in ulp over 5000 random axes for each range of the angle, in radians;
relative to the rotation vector's length, so that tiny rotations keep all their digits, too.
The conversions themselves agree with 60-digit references within 3 ulp (the tests of
rotations).)",
        {"way", "1e-9 to 1e-3", "1e-3 to 1", "1 to 3", "3 to π - 1e-9"});
    for (RoundTrip const& trip : roundTrips) {
        std::vector<std::string> cells;
        for (Range const& range : {Range{1e-9, 1e-3}, {1e-3, 1.0}, {1.0, 3.0}, {3.0, pi - 1e-9}}) {
            RandomData random(2);
            double worst = 0.0;
            for (int i = 0; i < 5000; ++i) {
                Vector const axis = random.vector(3);
                Vector const r = random.uniform(range.from, range.to) / axis.length() * axis;
                if (double const error = trip.error(r); !(error <= worst)) worst = error;
            }
            cells.push_back(report.error(worst, limit));
        }
        report.row(trip.name, cells);
    }
}
