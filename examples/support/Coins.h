#pragma once

#include "math/Conic.h"
#include "math/EllipseEstimator.h"
#include "support/Measured.h"
#include "support/Points.h"

#include <cmath>
#include <stdexcept>
#include <string>

/// Coins of the photograph behind coins_edges.csv, as ellipses by their axes: (centre x, centre y,
/// angle, semi-major axis, semi-minor axis), in pixels.
namespace coins {

struct Coin {
    Vector axes;
    Points edge;  ///< The points on the ellipse.
};

/// Axes of a conic; throws for one that is no ellipse.
inline Vector axesOf(Vector const& conic)
{
    Vector axes;
    ellipticQuadToCartParams(conic, axes);
    return axes;
}

/// Distance of a point from the ellipse, to first order.
inline double distance(Vector const& axes, Vector const& p)
{
    double const c = std::cos(axes[2]), s = std::sin(axes[2]);
    double const u = c * (p[0] - axes[0]) + s * (p[1] - axes[1]);
    double const v = c * (p[1] - axes[1]) - s * (p[0] - axes[0]);
    return std::abs(std::hypot(u / axes[3], v / axes[4]) - 1.0) * std::sqrt(axes[3] * axes[4]);
}

/// The ellipse as a closed line.
inline Points outline(Vector const& e)
{
    Points points;
    for (int i = 0; i <= 72; ++i) {
        double const t = i * 3.141592653589793 / 36.0;
        double const u = e[3] * std::cos(t), v = e[4] * std::sin(t);
        points.push_back(e(0, 2) + fromPolar(std::hypot(u, v), e[2] + std::atan2(v, u)));
    }
    return points;
}

/// A coin has edge points almost all around, and is seen nearly from above.
inline bool isWhole(Coin const& coin)
{
    double const a = coin.axes[3], b = coin.axes[4];
    auto const nbEdge = static_cast<double>(coin.edge.size());
    return a < 45.0 && b > 12.0 && a / b < 1.4 && nbEdge > 1.5 * 3.141592653589793 * b;
}

/// Whether a point lies well outside the coin.
inline bool isBeyond(Coin const& coin, Vector const& p)
{
    return (p - coin.axes(0, 2)).length() >= coin.axes[3] + 2.0;
}

/// A semi-axis, 3 or 4, with the uncertainty that the scatter of the edge points gives it.
inline std::string measuredAxis(int k, Coin const& coin)
{
    EllipseEstimator ellipse;
    ellipse.setDataColl(coin.edge);
    if (!ellipse.estim()) throw std::runtime_error("no ellipse was found");
    // Not axesOf(conic)[k], of which g++ 12 at -O3 thinks that the vector may be empty.
    auto const f = [k](Vector const& conic) { return axesOf(conic)(k, 1).length(); };
    Vector const& conic = ellipse.getEstimParams();
    return measured(f(conic), uncertainty(f, conic, ellipse.getEstimCov()), "px");
}

/// What was found, to be drawn and told.
struct Summary {
    Points edge;                   ///< The points on the ellipses.
    std::vector<Points> outlines;  ///< Of the ellipses.
    double rms;                    ///< Distance of the points from their ellipses, in pixels.
};

inline Summary summary(std::vector<Coin> const& coins)
{
    Summary result = {};
    double squares = 0.0;
    for (Coin const& coin : coins) {
        result.edge.insert(result.edge.end(), coin.edge.begin(), coin.edge.end());
        result.outlines.push_back(outline(coin.axes));
        for (Vector const& p : coin.edge) squares += std::pow(distance(coin.axes, p), 2);
    }
    result.rms = std::sqrt(squares / static_cast<double>(result.edge.size()));
    return result;
}

}  // namespace coins
