// Ellipses found one after another in the edge points of a photograph of coins.

#include "math/EllipseEstimator.h"
#include "math/MathError.h"
#include "math/Random.h"
#include "math/Ransac.h"

#include "panels/Panel.h"
#include "support/Chart.h"
#include "support/Ellipse.h"
#include "support/Measured.h"
#include "support/PointFile.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <stdexcept>

namespace {

constexpr double pi = 3.141592653589793;
using Points = std::vector<Vector>;

struct Coin {
    Vector axes;  // centre, angle, semi-axes
    Points edge;
};

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

template <class Test>
Points selected(Points const& points, Test test)
{
    Points result;
    std::copy_if(points.begin(), points.end(), std::back_inserter(result), test);
    return result;
}

// A coin has edge points almost all around, and is seen nearly from above.
bool isCoin(Coin const& coin)
{
    double const a = coin.axes[3], b = coin.axes[4];
    auto const nbEdge = static_cast<double>(coin.edge.size());
    return a < 45.0 && b > 12.0 && a / b < 1.4 && nbEdge > 1.5 * pi * b;
}

std::vector<Coin> findCoins(Points points)
{
    std::vector<Coin> coins;
    for (int attempt = 0; attempt < 300 && !points.empty(); ++attempt) {
        Vector const seed =
            points[static_cast<std::size_t>(rand(0, static_cast<int>(points.size())))];
        Points const near =
            selected(points, [&](Vector const& p) { return (p - seed).length() < 75.0; });
        if (near.size() < 60) continue;
        try {
            Coin coin = {fitEllipse(near), {}};
            coin.edge =
                selected(points, [&](Vector const& p) { return distance(coin.axes, p) < 1.5; });
            if (!isCoin(coin)) continue;
            Vector const centre = coin.axes(0, 2);
            double const reach = coin.axes[3] + 2.0;
            std::erase_if(points, [&](Vector const& p) { return (p - centre).length() < reach; });
            coins.push_back(coin);
        } catch (std::exception const&) {
            continue;  // no ellipse fits what is here
        }
    }
    return coins;
}

std::string picture(Points const& points, std::vector<Coin> const& coins)
{
    Chart chart("Edge points of a photograph of coins, with the ellipses found among them.",
                "x [px]", "y [px]", true);
    Points onEllipses;
    for (Coin const& coin : coins)
        onEllipses.insert(onEllipses.end(), coin.edge.begin(), coin.edge.end());
    chart.dots("edge points", Chart::grey, 1.2, points);
    for (Coin const& coin : coins)
        chart.line(&coin == &coins.front() ? "ellipses" : "", Chart::orange, 2.2,
                   outline(coin.axes));
    chart.dots("on an ellipse", Chart::blue, 1.1, onEllipses);
    return chart.svg();
}

}  // namespace

Panel ellipsesPanel(std::string const& pointFile)
{
    g_MathLogger.setLogLevel(log4cplus::OFF_LOG_LEVEL);  // many places hold no ellipse
    initRandGene(7);
    Points const points = readPoints(pointFile, 2);
    std::vector<Coin> const coins = findCoins(points);
    if (coins.empty()) throw std::runtime_error(pointFile + ": no ellipse was found");

    double squares = 0.0;
    std::size_t nbEdge = 0;
    for (Coin const& coin : coins) {
        nbEdge += coin.edge.size();
        for (Vector const& p : coin.edge) squares += std::pow(distance(coin.axes, p), 2);
    }
    EllipseEstimator first;
    first.setDataColl(coins.front().edge);
    if (!first.estim()) throw std::runtime_error(pointFile + ": no ellipse was found");
    auto const axis = [&first](int k) {
        auto const f = [k](Vector const& conic) { return axesOf(conic)(k, 1).length(); };
        Vector const& conic = first.getEstimParams();
        return measured(f(conic), uncertainty(f, conic, first.getEstimCov()), "px");
    };
    return {"ellipses",
            "Ellipses one after another",
            "Edge points of a photograph of 24 coins, some with relief inside. Around a random "
            "point the "
            "ellipse with the most support is found and taken away, and so on. The ± of the first "
            "coin comes from the scatter of its own edge points: the coin is not quite an ellipse.",
            {{"Coins found", count(coins.size()) + " of 24"},
             {"Edge points on them", count(nbEdge) + " of " + count(points.size())},
             {"RMS distance of these",
              quantity(std::sqrt(squares / static_cast<double>(nbEdge)), 2, "px")},
             {"First coin, semi-major axis", axis(3)},
             {"First coin, semi-minor axis", axis(4)}},
            picture(points, coins)};
}
