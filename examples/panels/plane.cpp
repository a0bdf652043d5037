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

// Counts the samples that the controller draws.
class CountingPlane : public PlanEstimator {
public:
    mutable std::size_t nbSamples = 0;

protected:
    void computeDataRandomSample(std::vector<Vector>& sample) const override
    {
        ++nbSamples;
        PlanEstimator::computeDataRandomSample(sample);
    }
};

std::string picture(std::vector<Vector> const& points, Ransac const& ransac)
{
    std::vector<Vector> on, off;
    for (unsigned int i = 0; i < points.size(); ++i)
        (ransac.isOutlier(i) ? off : on).push_back(points[i]);
    Chart chart("Street scan from above: the points on the road form arcs about the sensor.",
                "x [m]", "y [m]");
    chart.dots("off the plane", Chart::grey, 1.6, off);
    chart.dots("on the plane", Chart::blue, 1.6, on);
    chart.dots("sensor", Chart::orange, 7.0, {Vector(3)});
    return chart.svg();
}

}  // namespace

Panel planePanel(std::string const& pointFile)
{
    std::vector<Vector> const points = readPoints(pointFile, 3);
    CountingPlane road;
    Ransac ransac;
    Repeated const runs = repeated([&] {
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
        return Vector::of({height(plane), tilt(plane), heightError, 1e3 * ransac.getInlierRms(),
                           static_cast<double>(points.size() - ransac.getNbOutliers())});
    });
    auto const& [mean, deviation] = runs;
    double const share = 100.0 * mean[4] / static_cast<double>(points.size());
    return {
        "plane",
        "A plane among outliers",
        "A rotating laser scanner saw a street. The road is the plane that most of the points lie "
        "on: found by random samples, then fitted to its own points alone. The scatter of the "
        "points explains only a part of the spread over twenty runs with different samples: the "
        "road is not quite flat, and which of its points count differs.",
        {{"Points", count(points.size())},
         {"Within 5 cm of the plane",
          measured(mean[4], deviation[4], "") + "(" + quantity(share, 1, "%") + ")"},
         {"RMS distance of these", measured(mean[3], deviation[3], "mm")},
         {"Height of the sensor", measured(mean[0], deviation[0], "m")},
         {"Of this, by the scatter", "±\u00a0" + quantity(mean[2], 4, "m")},
         {"Tilt against the sensor", measured(mean[1], deviation[1], "°")},
         {"Samples in a run", count(road.nbSamples / 20)}},
        picture(points, ransac)};
}
