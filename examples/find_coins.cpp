// Ellipses found one after another in the edge points of a photograph of coins.

#include "math/Conic.h"
#include "math/EllipseEstimator.h"
#include "math/MathError.h"
#include "math/Random.h"
#include "math/Ransac.h"

#include "support/PointFile.h"
#include "support/Svg.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <iterator>

namespace {

constexpr double pi = 3.141592653589793;
using Points = std::vector<Vector>;

struct Coin {
    Vector params;  // centre, angle, semi-axes, in pixels
    Points edge;
};

// The points within a coin's reach of a seed: what a local search looks at.
Points neighbours(Points const& points, Vector const& seed)
{
    Points near;
    std::copy_if(points.begin(), points.end(), std::back_inserter(near),
                 [&seed](Vector const& p) { return (p - seed).length() < 75.0; });
    return near;
}

double distanceTo(Vector const& params, Vector const& p)
{
    double const c = std::cos(params[2]), s = std::sin(params[2]);
    double const u = c * (p[0] - params[0]) + s * (p[1] - params[1]);
    double const v = c * (p[1] - params[1]) - s * (p[0] - params[0]);
    double const radius = std::hypot(u / params[3], v / params[4]);
    return std::abs(radius - 1.0) * std::sqrt(params[3] * params[4]);
}

bool isCoin(Vector const& params)
{
    return params[3] < 45.0 && params[4] > 12.0 && params[3] < 1.4 * params[4];
}

// One coin around the seed: the ellipse that most edge points support, all around.
bool findCoin(Points const& points, Vector const& seed, Coin& coin)
{
    Points const near = neighbours(points, seed);
    if (near.size() < 60) return false;
    try {
        EllipseEstimator ellipse;
        ellipse.setDataColl(near);
        Ransac ransac;
        ransac.setEstimator(&ellipse);
        ransac.setOutliersThreshold(50.0);  // algebraic: about a pixel for a radius of 25
        ransac.setOutliersRatio(0.65);
        if (!ransac.robustEstimation()) return false;
        ellipticQuadToCartParams(ransac.getEstimParams(), coin.params);
    } catch (MathError const&) {
        return false;  // no ellipse fits what is here
    }
    coin.edge.clear();
    for (Vector const& p : points)
        if (distanceTo(coin.params, p) < 1.5) coin.edge.push_back(p);
    return isCoin(coin.params) &&
           static_cast<double>(coin.edge.size()) > 0.75 * 2.0 * pi * coin.params[4];
}

void remove(Points& points, Vector const& params)
{
    std::erase_if(points, [&params](Vector const& p) {
        return std::hypot(p[0] - params[0], p[1] - params[1]) < params[3] + 2.0;
    });
}

std::vector<Coin> findCoins(Points points)
{
    std::vector<Coin> coins;
    for (int attempt = 0; attempt < 300 && !points.empty(); ++attempt) {
        auto const seed = static_cast<std::size_t>(rand(0, static_cast<int>(points.size())));
        Coin coin;
        if (!findCoin(points, points[seed], coin)) continue;
        remove(points, coin.params);
        coins.push_back(coin);
    }
    return coins;
}

SvgPlot::Rows outline(Vector const& e)
{
    SvgPlot::Rows rows;
    for (int i = 0; i <= 72; ++i) {
        double const t = i * pi / 36.0, u = e[3] * std::cos(t), v = e[4] * std::sin(t);
        rows.push_back({e[0] + u * std::cos(e[2]) - v * std::sin(e[2]),
                        e[1] + u * std::sin(e[2]) + v * std::cos(e[2])});
    }
    rows.push_back({});
    return rows;
}

void draw(Points const& points, std::vector<Coin> const& coins, std::string const& file)
{
    SvgPlot plot(file, "Coins found one after another in edge points", "x [pixel]", "y [pixel]");
    plot.set("size ratio -1");
    plot.set("yrange [*:*] reverse");
    SvgPlot::Rows edges, inliers, outlines;
    for (Vector const& p : points) edges.push_back({p[0], p[1]});
    for (Coin const& coin : coins) {
        for (Vector const& p : coin.edge) inliers.push_back({p[0], p[1]});
        for (auto const& row : outline(coin.params)) outlines.push_back(row);
    }
    plot.add("edge points", "points pt 7 ps 0.2 lc rgb '#b8b8b8'", edges);
    plot.add("inliers", "points pt 7 ps 0.25 lc rgb '#1f77b4'", inliers);
    plot.add("ellipses", "lines lw 1 lc rgb '#d95f02'", outlines);
    plot.write();
}

}  // namespace

int main(int argc, char** argv)
{
    g_MathLogger.setLogLevel(log4cplus::OFF_LOG_LEVEL);
    initRandGene(7);
    std::string const data = argc > 1 ? argv[1] : "data";
    Points const points = readPoints(data + "/coins_edges.csv", 2);
    std::vector<Coin> const coins = findCoins(points);
    for (Coin const& coin : coins)
        std::cout << "centre (" << coin.params[0] << ", " << coin.params[1] << "), semi-axes "
                  << coin.params[3] << ", " << coin.params[4] << ", " << coin.edge.size() << " points\n";
    draw(points, coins, "coins.svg");
    std::cout << coins.size() << " coins of 24\n";
    return coins.size() >= 20 ? 0 : 1;
}
