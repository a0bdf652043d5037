// The road in a street scan: the dominant plane among points of which most lie elsewhere.

#include "math/PlanEstimator.h"
#include "math/Ransac.h"

#include "panels/Panel.h"
#include "support/Chart.h"
#include "support/Measured.h"
#include "support/PointFile.h"

#include <cmath>
#include <stdexcept>

namespace {

// Height of the sensor, the origin, above the plane a·x + b·y + c·z = d.
double height(Vector const& plane)
{
    return std::abs(plane[3]) / plane(0, 3).length();
}

// Between the plane's normal and the z axis, in degrees.
double tilt(Vector const& plane)
{
    double const angle = std::atan2(std::hypot(plane[0], plane[1]), std::abs(plane[2]));
    return angle * 180.0 / 3.141592653589793;
}

std::string picture(Points const& points, Ransac const& ransac)
{
    Points on, off;
    for (unsigned int i = 0; i < points.size(); ++i)
        (ransac.isOutlier(i) ? off : on).push_back(points[i]);
    return Chart("Street scan from above: the points on the road form arcs about the sensor.",
                 "x [m]", "y [m]")
        .dots("off the plane", Chart::grey, 1.6, off)
        .dots("on the plane", Chart::blue, 1.6, on)
        .dots("sensor", Chart::orange, 7.0, {Vector(3)})
        .svg();
}

}  // namespace

Panel planePanel(std::string const& pointFile)
{
    Points const points = readPoints(pointFile, 3);
    PlanEstimator road;
    Ransac ransac;
    auto const [mean, deviation] = repeated([&] {
        //! [code]
        road.setDataColl(points);           // a PlanEstimator
        ransac.setEstimator(&road);         // a Ransac
        ransac.setOutliersThreshold(0.05);  // metres off the plane
        ransac.setSuccessRatio(0.999999);
        if (!ransac.robustEstimation()) throw std::runtime_error("no plane was found");

        Vector const& plane = ransac.getEstimParams();  // a x + b y + c z = d
        Matrix const& cov = road.getEstimCov();
        double const heightError = uncertainty(height, plane, cov);
        //! [code]
        return Vector::of({height(plane), tilt(plane), heightError, ransac.getInlierRms(),
                           static_cast<double>(points.size() - ransac.getNbOutliers())});
    });
    double const share = 100.0 * mean[4] / static_cast<double>(points.size());
    return {"plane",
            {{"Points", count(points.size())},
             {"Within 5 cm of the plane",
              measured(mean[4], deviation[4], "") + "(" + quantity(share, 1, "%") + ")"},
             {"RMS distance of these", measured(1e3 * mean[3], 1e3 * deviation[3], "mm")},
             {"Height of the sensor", measured(mean[0], deviation[0], "m")},
             {"Of this, by the scatter", "±\u00a0" + quantity(1e3 * mean[2], 2, "mm")},
             {"Tilt against the sensor", measured(mean[1], deviation[1], "°")}},
            picture(points, ransac)};
}
