// A target followed by range and bearing, with the uncertainty of every position.

#include "math/LinearAlgebra.h"

#include "panels/Panel.h"
#include "support/Chart.h"
#include "support/Measured.h"
#include "support/PlanarMotion.h"
#include "support/RadarTarget.h"

#include <cmath>
#include <stdexcept>

namespace {

constexpr double within95 = 5.991;  // squared distance that one in twenty exceeds, in the plane

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

}  // namespace

Panel trackPanel()
{
    RadarTrack track;
    track.setParams(Vector::of({-60.0, 40.0, 0.0, 0.0}));
    track.setParamsCov(25.0 * Matrix(4, 4, Matrix::IDENTITY));
    Points truth, observed, tracked;
    std::vector<Points> ellipses;
    std::size_t nbInside = 0;
    for (auto const& [at, seen] : radar::sightings()) {
        //! [steps]
        track.predict();
        track.setObs(seen, radar::noise);  // range, bearing, and their covariance
        track.update();
        //! [steps]
        if (track.getStatus() != Kalman::KL_OK) throw std::runtime_error(track.getStatusMessage());

        Vector const position = track.getParams()(0, 2);
        Matrix const cov = track.getParamsCov()(0, 0, 2, 2);
        if ((at - position).dot(cov.inverse() * (at - position)) < within95) ++nbInside;
        truth.push_back(at);
        observed.push_back(fromPolar(seen[0], seen[1]));
        tracked.push_back(position);
        ellipses.push_back(ellipse(position, cov));
    }
    Vector const x = track.getParams();
    Vector const variances = track.getParamsCov().getDiagVector();
    return {"track",
            {{"RMS error of the observations", quantity(rmsDistance(observed, truth), 2, "m")},
             {"RMS error of the track", quantity(rmsDistance(tracked, truth), 2, "m")},
             {"Truth inside the 95 % ellipse", count(nbInside) + " of " + count(truth.size())},
             {"Last position, x", measured(x[0], std::sqrt(variances[0]), "m")},
             {"Last position, y", measured(x[1], std::sqrt(variances[1]), "m")},
             {"Last speed along x", measured(x[2], std::sqrt(variances[2]), "m/s")}},
            Chart("The true way of a target, its observed positions scattered about it, and the "
                  "tracked positions close to it with ellipses of 95 % confidence.",
                  "x [m]", "y [m]")
                .lines("95 % ellipse", Chart::grey, 0.7, ellipses)
                .line("true way", Chart::green, 2.0, truth)
                .dots("observed", Chart::blue, 3.5, observed)
                .dots("tracked", Chart::orange, 4.5, tracked)
                .svg()};
}
