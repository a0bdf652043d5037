// Two stations of one street scan, registered to each other from their matched points.

#include "math/MatrixTH.h"

#include "panels/Panel.h"
#include "support/Chart.h"
#include "support/Measured.h"
#include "support/PointFile.h"

#include <cmath>
#include <random>

namespace {

using Points = std::vector<Vector>;
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

// Standard uncertainty of the angle about `axis`: the information on a rotation is the moment of
// inertia of the points about their centroid, divided by the variance of the noise.
double angleUncertainty(Points const& points, Vector const& axis)
{
    Vector centroid(3);
    for (Vector const& p : points) centroid += p / static_cast<double>(points.size());
    Matrix inertia(3, 3);
    for (Vector const& p : points) {
        Vector const q = p - centroid;
        Matrix const row(q.begin(), 1, 3);
        inertia += q.dot(q) * Matrix(3, 3, Matrix::IDENTITY) - row.transpose() * row;
    }
    return noise * std::sqrt(axis.dot(inertia.inverse() * axis));
}

// Every 20th residual as a stroke a hundred times its length.
Points residuals(Points const& from, Points const& to)
{
    Points strokes;
    for (std::size_t i = 0; i < from.size(); i += 20) {
        strokes.push_back(from[i]);
        strokes.push_back(from[i] + 100.0 * (to[i] - from[i]));
    }
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
    double squares = 0.0;
    for (std::size_t i = 0; i < first.size(); ++i)
        squares += std::pow((back[i] - first[i]).length(), 2);
    double const rms = std::sqrt(squares / static_cast<double>(first.size()));
    //! [code]
    double const angle = found.getVectorR().getModule();
    double const angleError = angleUncertainty(first, found.getVectorR() / angle);
    double const miss = (found.getVectorPos() - motion.getVectorPos()).length();

    Chart chart(
        "Two stations of a street scan from above, and what separates their points when the "
        "second is brought back to the first.",
        "x [m]", "y [m]");
    chart.dots("second station, as it was", Chart::grey, 1.2, second);
    chart.dots("first station", Chart::blue, 1.4, first);
    chart.strokes("residuals × 100 (every 20th)", Chart::orange, 0.9, residuals(first, back));
    return {
        "registration",
        "Two stations registered",
        "The same scan as a second station would have it: moved by a known transform, with noise "
        "of 10 mm in every coordinate. Unit quaternions find the transform again in closed form, "
        "and it can be compared with the one applied.",
        {{"Matched points", count(first.size())},
         {"Angle applied", quantity(degrees * motion.getVectorR().getModule(), 5, "°")},
         {"Angle found", measured(degrees * angle, degrees * angleError, "°")},
         {"Position found, off by", quantity(1e3 * miss, 2, "mm")},
         {"RMS residual", quantity(1e3 * rms, 2, "mm")},
         {"Expected from the noise", quantity(1e3 * noise * std::sqrt(3.0), 2, "mm")}},
        chart.svg()};
}
