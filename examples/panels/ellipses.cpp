// Ellipses found one after another in the edge points of a photograph of coins.

#include "math/EllipseEstimator.h"
#include "math/MathError.h"
#include "math/Random.h"
#include "math/Ransac.h"

#include "panels/Panel.h"
#include "support/Chart.h"
#include "support/Coins.h"
#include "support/Measured.h"
#include "support/PointFile.h"

#include <optional>
#include <stdexcept>

namespace {

using namespace coins;

//! [code]
// Centre, angle and semi-axes of the ellipse that most of the points lie on.
Vector fitEllipse(Points const& points)
{
    EllipseEstimator ellipse;
    ellipse.setDataColl(points);
    Ransac ransac;
    ransac.setEstimator(&ellipse);
    ransac.setOutliersThreshold(50.0);  // of the conic's value: a pixel at a radius of 25
    ransac.setOutliersRatio(0.65);
    if (!ransac.robustEstimation()) throw std::runtime_error("no ellipse was found");
    return axesOf(ransac.getEstimParams());  // by ellipticQuadToCartParams of Conic.h
}
//! [code]

// The coin that most of the edge points about a place lie on.
std::optional<Coin> coinNear(Vector const& place, Points const& points)
{
    Points const near =
        selected(points, [&](Vector const& p) { return (p - place).length() < 75.0; });
    if (near.size() < 60) return {};
    try {
        Coin coin = {fitEllipse(near), {}};
        coin.edge = selected(points, [&](Vector const& p) { return distance(coin.axes, p) < 1.5; });
        return isWhole(coin) ? std::optional(coin) : std::nullopt;
    } catch (std::exception const&) {
        return {};  // no ellipse fits what is here
    }
}

std::vector<Coin> findCoins(Points points)
{
    std::vector<Coin> found;
    for (int attempt = 0; attempt < 300 && !points.empty(); ++attempt) {
        auto const nbPoints = static_cast<unsigned int>(points.size());
        std::optional<Coin> const coin = coinNear(points[rand(0u, nbPoints)], points);
        if (!coin) continue;
        points = selected(points, [&](Vector const& p) { return isBeyond(*coin, p); });
        found.push_back(*coin);
    }
    return found;
}

}  // namespace

Panel ellipsesPanel(std::string const& pointFile)
{
    g_MathLogger.setLogLevel(log4cplus::OFF_LOG_LEVEL);  // many places hold no ellipse
    initRandGene(7);
    Points const points = readPoints(pointFile, 2);
    std::vector<Coin> const found = findCoins(points);
    if (found.empty()) throw std::runtime_error(pointFile + ": no ellipse was found");
    auto const [edge, outlines, rms] = summary(found);
    return {"ellipses",
            {{"Coins found", count(found.size()) + " of 24"},
             {"Edge points on them", count(edge.size()) + " of " + count(points.size())},
             {"RMS distance of these", quantity(rms, 2, "px")},
             {"First coin, semi-major axis", measuredAxis(3, found.front())},
             {"First coin, semi-minor axis", measuredAxis(4, found.front())}},
            Chart("Edge points of a photograph of coins, with the ellipses found among them.",
                  "x [px]", "y [px]", true)
                .dots("edge points", Chart::grey, 1.2, points)
                .dots("on an ellipse", Chart::blue, 3.0, edge)
                .lines("ellipses", Chart::orange, 1.0, outlines)
                .svg()};
}
