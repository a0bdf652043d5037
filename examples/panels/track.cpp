// A target followed by range and bearing, with the uncertainty of every position.

#include "math/LinearAlgebra.h"

#include "panels/Panel.h"
#include "support/Chart.h"
#include "support/Measured.h"
#include "support/PlanarMotion.h"

#include <cmath>
#include <random>
#include <stdexcept>

namespace {

using Points = std::vector<Vector>;
constexpr int nbSteps = 60;            // of one second
constexpr double rangeSigma = 0.5;     // m
constexpr double bearingSigma = 0.05;  // rad
constexpr double within95 = 5.991;     // squared distance that one in twenty exceeds, in the plane

//! [code]
// PlanarMotion knows how a target moves on; this one says what is seen of it.
class RadarTrack : public PlanarMotion {
public:
    RadarTrack() : PlanarMotion(1.0, 0.2, 2) {}

    // 0 where the observation z = (range, bearing) fits the state x = (x, y, vx, vy).
    void obsFct(Vector& x, Vector& z, Vector& value) override
    {
        value[0] = std::hypot(x[0], x[1]) - z[0];
        value[1] = std::remainder(std::atan2(x[1], x[0]) - z[1], 6.283185307179586);
    }
};
//! [code]

Vector fromPolar(double range, double bearing)
{
    return Vector::of({range * std::cos(bearing), range * std::sin(bearing)});
}

// Holds the position with a probability of 0.95.
Points ellipse(Vector const& centre, Matrix const& cov)
{
    Matrix U(2, 2);
    posDefDecomp(cov, U);
    Points points;
    for (int i = 0; i <= 48; ++i)
        points.push_back(centre + U.transpose() *
                                      fromPolar(std::sqrt(within95), i * 3.141592653589793 / 24.0));
    return points;
}

double rmsDistance(Points const& a, Points const& b)
{
    double squares = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) squares += std::pow((a[i] - b[i]).length(), 2);
    return std::sqrt(squares / static_cast<double>(a.size()));
}

}  // namespace

Panel trackPanel()
{
    std::mt19937 generator(4);
    std::normal_distribution<double> normal;
    Matrix const R =
        Matrix::of({{rangeSigma * rangeSigma, 0.0}, {0.0, bearingSigma * bearingSigma}});
    RadarTrack track;
    track.setParams(Vector::of({-60.0, 40.0, 0.0, 0.0}));
    track.setParamsCov(25.0 * Matrix(4, 4, Matrix::IDENTITY));

    Chart chart(
        "The true way of a target, its observed positions scattered about it, and the tracked "
        "positions close to it with ellipses of 95 % confidence.",
        "x [m]", "y [m]");
    Points truth, seen, tracked;
    std::size_t nbInside = 0;
    for (int k = 1; k <= nbSteps; ++k) {
        Vector const at = Vector::of({-60.0 + 2.0 * k, 40.0 + 25.0 * std::sin(0.1 * k)});
        double const range = at.length() + rangeSigma * normal(generator);
        double const bearing = std::atan2(at[1], at[0]) + bearingSigma * normal(generator);
        //! [steps]
        track.predict();
        track.setObs(Vector::of({range, bearing}), R);
        track.update();
        //! [steps]
        if (track.getStatus() != Kalman::KL_OK) throw std::runtime_error(track.getStatusMessage());

        Vector const position = track.getParams()(0, 2);
        Matrix const cov = track.getParamsCov()(0, 0, 2, 2);
        if ((at - position).dot(cov.inverse() * (at - position)) < within95) ++nbInside;
        truth.push_back(at);
        seen.push_back(fromPolar(range, bearing));
        tracked.push_back(position);
        chart.line(k == 1 ? "95 % ellipse" : "", Chart::grey, 0.7, ellipse(position, cov));
    }
    chart.line("true way", Chart::green, 2.0, truth);
    chart.dots("observed", Chart::blue, 3.5, seen);
    chart.dots("tracked", Chart::orange, 4.5, tracked);

    Vector const x = track.getParams();
    Matrix const P = track.getParamsCov();
    return {"track",
            "A target tracked",
            "Made data: a target on a curved way, seen every second from the origin by range "
            "(±\u00a00.5\u00a0m) "
            "and bearing (±\u00a00.05\u00a0rad). An iterated extended Kalman filter follows it, "
            "and its "
            "covariance tells how far to trust each position.",
            {{"RMS error of the observations", quantity(rmsDistance(seen, truth), 2, "m")},
             {"RMS error of the track", quantity(rmsDistance(tracked, truth), 2, "m")},
             {"Truth inside the 95 % ellipse", count(nbInside) + " of " + count(nbSteps)},
             {"Last position, x", measured(x[0], std::sqrt(P[0][0]), "m")},
             {"Last position, y", measured(x[1], std::sqrt(P[1][1]), "m")},
             {"Last speed along x", measured(x[2], std::sqrt(P[2][2]), "m/s")}},
            chart.svg()};
}
