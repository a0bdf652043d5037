// Tracks a target by range and bearing and draws its way with the ellipses of uncertainty.

#include "math/LinearAlgebra.h"
#include "support/PlanarMotion.h"
#include "support/Svg.h"

#include <cmath>
#include <iomanip>
#include <iostream>
#include <random>

namespace {

constexpr int nbSteps = 40;            // of one second
constexpr double rangeSigma = 0.5;     // m
constexpr double bearingSigma = 0.05;  // rad
constexpr double twoPi = 6.283185307179586;

class RadarTrack : public PlanarMotion {
public:
    RadarTrack() : PlanarMotion(1.0, 0.15, 2) {}

    void obsFct(Vector& x, Vector& z, Vector& value) override
    {
        value[0] = std::hypot(x[0], x[1]) - z[0];
        value[1] = std::remainder(std::atan2(x[1], x[0]) - z[1], twoPi);
    }
    void obsJacParams(Vector& x, Vector& z, Matrix& H) override
    {
        Vector value(2);
        obsFct(x, z, value);
        Jacobien(&Kalman::ptObsFctParams, 4, x, z, 2, value, H, 0.0);
    }
};

Vector fromPolar(double range, double bearing)
{
    return Vector::of({range * std::cos(bearing), range * std::sin(bearing)});
}

// Holds the position with a probability of 0.95.
SvgPlot::Rows ellipse(Vector const& x, Matrix const& P)
{
    Matrix U(2, 2);
    posDefDecomp(P(0, 0, 2, 2), U);
    SvgPlot::Rows rows;
    for (double t = 0.0; t < twoPi + 0.1; t += 0.1) {
        Vector const p = x(0, 2) + U.transpose() * fromPolar(std::sqrt(5.991), t);
        rows.push_back({p[0], p[1]});
    }
    return rows;
}

}  // namespace

int main()
{
    std::mt19937 generator(4);
    std::normal_distribution<double> normal;
    Matrix const R = Matrix::of({{rangeSigma * rangeSigma, 0.0}, {0.0, bearingSigma * bearingSigma}});
    RadarTrack track;
    track.setParams(Vector::of({-60.0, 30.0, 0.0, 0.0}));
    track.setParamsCov(25.0 * Matrix(4, 4, Matrix::IDENTITY));

    SvgPlot plot("track.svg", "Tracked by range and bearing from the origin", "x [m]", "y [m]", 900,
                 450);
    SvgPlot::Rows way, seen, estimated;
    double seenSquares = 0.0, trackSquares = 0.0;
    for (int k = 1; k <= nbSteps; ++k) {
        Vector const at = Vector::of({-60.0 + 3.0 * k, 30.0 + 20.0 * std::sin(0.08 * k)});
        double const range = at.length() + rangeSigma * normal(generator);
        double const bearing = std::atan2(at[1], at[0]) + bearingSigma * normal(generator);

        track.predict();
        track.setObs(Vector::of({range, bearing}), R);
        track.update();
        if (track.getStatus() != Kalman::KL_OK) return 1;

        Vector const x = track.getParams();
        Vector const z = fromPolar(range, bearing);
        seenSquares += (z - at).dot(z - at);
        trackSquares += (x(0, 2) - at).dot(x(0, 2) - at);
        way.push_back({at[0], at[1]});
        seen.push_back({z[0], z[1]});
        estimated.push_back({x[0], x[1]});
        plot.add(k == 1 ? "95 %" : "", "lines lc rgb '#bbbbbb'", ellipse(x, track.getParamsCov()));
    }
    std::cout << std::setprecision(3) << "RMS error of the observations "
              << std::sqrt(seenSquares / nbSteps) << " m, of the track "
              << std::sqrt(trackSquares / nbSteps) << " m\n";

    plot.set("size ratio -1");
    plot.add("truth", "lines lw 2 lc rgb '#2ca02c'", way);
    plot.add("observed", "points pt 7 ps 0.4 lc rgb '#1f77b4'", seen);
    plot.add("tracked", "linespoints pt 6 ps 0.4 lc rgb '#d95f02'", estimated);
    plot.write();
    return trackSquares < 0.5 * seenSquares ? 0 : 1;
}
