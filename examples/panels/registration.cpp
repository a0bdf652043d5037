// Two stations of one street scan, registered to each other from their matched points.

#include "math/MatrixTH.h"

#include "panels/Panel.h"
#include "support/Chart.h"
#include "support/Measured.h"
#include "support/PointFile.h"

#include <cmath>
#include <random>

namespace {

constexpr double degrees = 180.0 / 3.141592653589793;
constexpr double noise = 0.01;  // m, of each coordinate of the second station

// The scan as the second station has it.
Points movedWithNoise(Points points, MatrixTH const& motion)
{
    std::mt19937 generator(1);
    std::normal_distribution<double> normal(0.0, noise);
    motion.mapPoints(points);
    for (Vector& p : points)
        for (double& x : p) x += normal(generator);
    return points;
}

// Every 20th residual as a stroke a hundred times its length.
std::vector<Points> residuals(Points const& from, Points const& to)
{
    std::vector<Points> strokes;
    for (std::size_t i = 0; i < from.size(); i += 20)
        strokes.push_back({from[i], from[i] + 100.0 * (to[i] - from[i])});
    return strokes;
}

}  // namespace

Panel registrationPanel(std::string const& pointFile)
{
    Points const first = readPoints(pointFile, 3);
    MatrixTH const motion(Euler(0.6, 0.02, -0.03), Vector::of({12.0, -7.0, 0.3}));
    Points const second = movedWithNoise(first, motion.inverse());
    //! [code]
    MatrixTH found;  // takes the second station to the first
    found.init(second.data(), first.data(), first.size(), nullptr, true);  // true: no scale

    std::vector<Vector> back = second;
    found.mapPoints(back);
    double const rms = rmsDistance(back, first);
    double const miss = (found.getVectorPos() - motion.getVectorPos()).length();
    double const angle = found.getVectorR().getModule();
    double const angleError = noise * angleSensitivity(first, found.getVectorR() / angle);
    //! [code]
    return {"registration",
            {{"Matched points", count(first.size())},
             {"Angle applied", quantity(degrees * motion.getVectorR().getModule(), 5, "°")},
             {"Angle found", measured(degrees * angle, degrees * angleError, "°")},
             {"Position found, off by", quantity(1e3 * miss, 2, "mm")},
             {"RMS residual", quantity(1e3 * rms, 2, "mm")},
             {"Expected from the noise", quantity(1e3 * noise * std::sqrt(3.0), 2, "mm")}},
            Chart("Two stations of a street scan from above, and what separates their points when "
                  "the second is brought back to the first.",
                  "x [m]", "y [m]")
                .dots("second station, as it was", Chart::grey, 1.2, second)
                .dots("first station", Chart::blue, 1.4, first)
                .lines("residuals × 100 (every 20th)", Chart::orange, 0.9, residuals(first, back))
                .svg()};
}
