#pragma once

#include "math/MatrixTH.h"

#include "support/Svg.h"

#include <cmath>
#include <iomanip>
#include <ostream>
#include <random>
#include <string>
#include <vector>

/// Registration shown on one scan in two positions.
namespace registration {

/// Standard deviation of the noise of each coordinate of the second position, metres.
constexpr double noise = 0.01;

/// What registering the second position back to the first gave.
struct Result {
    std::vector<Vector> second;  ///< The scan as the second position has it.
    std::vector<Vector> back;    ///< The second position brought back to the first.
    MatrixTH error;              ///< What remains of the known motion: the identity when perfect.
    double rms;                  ///< Of the residuals between `back` and the first, metres.
};

/// The scan as another position of the sensor has it, with noise of its own.
inline std::vector<Vector> moved(std::vector<Vector> points, MatrixTH const& motion)
{
    std::mt19937 generator(1);
    std::normal_distribution<double> normal(0.0, noise);
    motion.mapPoints(points);
    for (Vector& p : points)
        for (double& x : p) x += normal(generator);
    return points;
}

/// Moves the scan by a known transform, and finds that transform again from the points.
inline Result run(std::vector<Vector> const& first)
{
    MatrixTH const motion(Euler(0.6, 0.02, -0.03), Vector::of({12.0, -7.0, 0.3}));
    std::vector<Vector> const second = moved(first, motion);

    MatrixTH found;
    found.init(second.data(), first.data(), first.size(), nullptr, true);

    std::vector<Vector> back = second;
    found.mapPoints(back);
    double squares = 0.0;
    for (std::size_t i = 0; i < first.size(); ++i)
        squares += std::pow((back[i] - first[i]).length(), 2);
    return {second, back, found * motion, std::sqrt(squares / static_cast<double>(first.size()))};
}

inline void print(Result const& result, std::ostream& out)
{
    out << std::fixed << std::setprecision(3) << "Rotation      off by "
        << 1e6 * result.error.getVectorR().getModule() << " microradians\n"
        << "Translation   off by " << 1e3 * result.error.getVectorPos().length() << " mm\n"
        << "Residuals     " << 1e3 * result.rms << " mm RMS, " << 1e3 * noise * std::sqrt(3.0)
        << " mm of noise\n";
}

/// Both positions seen from above, the second one brought back with its residuals in colour.
inline void draw(std::vector<Vector> const& first, Result const& result, std::string const& file)
{
    SvgPlot::Rows second;
    SvgPlot::Rows back;
    for (std::size_t i = 0; i < first.size(); ++i) {
        Vector const& p = result.back[i];
        second.push_back({result.second[i][0], result.second[i][1]});
        back.push_back({p[0], p[1], 1e3 * (p - first[i]).length()});
    }
    SvgPlot plot(file, "A scan registered back from a second position, seen from above", "x [m]",
                 "y [m]");
    plot.set("size ratio -1");
    plot.set("cblabel 'residual [mm]'");
    plot.set("palette defined (0 '#1f77b4', 1 '#ffbf00', 2 '#d62728')");
    plot.add("second position", "points pt 7 ps 0.25 lc rgb '#b8b8b8'", second);
    plot.add("registered back", "points pt 7 ps 0.3 palette", back);
    plot.write();
}

}  // namespace registration
