// Finds the dominant plane in measured points, the outliers flagged, then registers the same points
// from a second position, and draws both.

#include "math/MathError.h"
#include "math/PlanEstimator.h"
#include "math/Random.h"
#include "math/Ransac.h"

#include "panels/Registration.h"
#include "support/PointFile.h"
#include "support/Svg.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <iomanip>
#include <iostream>

namespace {

struct Options {
    std::string points = "data/street_scan.csv";
    std::string picture = "plane.svg";
    std::string registration = "registration.svg";
    double threshold = 0.05;
    unsigned int seed = 42;
};

// Counts the samples that the controller draws.
class CountingPlane : public PlanEstimator {
public:
    unsigned int samples() const { return _samples; }

protected:
    void computeDataRandomSample(std::vector<Vector>& sample) const override
    {
        ++_samples;
        PlanEstimator::computeDataRandomSample(sample);
    }

private:
    mutable unsigned int _samples = 0;
};

// The plane n·x = d with n of unit length, upwards.
struct Plane {
    Vector normal;
    double distance;

    explicit Plane(Vector const& params)
    {
        double const sign = params[2] < 0.0 ? -1.0 : 1.0;
        double const length = sign * params(0, 3).length();
        normal = params(0, 3) / length;
        distance = params[3] / length;
    }
    double tiltInDegrees() const
    {
        return std::atan2(std::hypot(normal[0], normal[1]), normal[2]) * 180.0 / 3.141592653589793;
    }
};

void print(Plane const& plane, CountingPlane const& estimator, Ransac const& ransac)
{
    unsigned int const n = estimator.getNbData();
    unsigned int const inliers = n - ransac.getNbOutliers();
    std::cout << std::fixed << std::setprecision(4)
              << "Points     " << n << '\n'
              << "Plane      " << plane.normal[0] << " x + " << plane.normal[1] << " y + "
              << plane.normal[2] << " z = " << plane.distance << " m\n"
              << std::setprecision(1)
              << "Inliers    " << inliers << " (" << 100.0 * inliers / n << " %)\n"
              << "RMS        " << 1000.0 * ransac.getInlierRms() << " mm\n"
              << std::setprecision(2)
              << "Tilt       " << plane.tiltInDegrees() << " degrees from the horizontal\n"
              << "Trials     " << estimator.samples() << '\n';
}

// Seen from above: what lies on the plane, and what does not.
void draw(std::vector<Vector> const& points, Ransac const& ransac, std::string const& file)
{
    SvgPlot::Rows inliers;
    SvgPlot::Rows outliers;
    for (unsigned int i = 0; i < points.size(); ++i)
        (ransac.isOutlier(i) ? outliers : inliers).push_back({points[i][0], points[i][1]});

    SvgPlot plot(file, "The dominant plane of a measured scene, seen from above", "x [m]", "y [m]");
    plot.set("size ratio -1");
    plot.add("off the plane: " + std::to_string(outliers.size()),
             "points pt 7 ps 0.4 lc rgb '#b8b8b8'", outliers);
    plot.add("on the plane: " + std::to_string(inliers.size()),
             "points pt 7 ps 0.4 lc rgb '#d95f02'", inliers);
    plot.write();
}

bool run(Options const& options)
{
    std::vector<Vector> const points = readPoints(options.points, 3);
    CountingPlane estimator;
    estimator.setDataColl(points);

    Ransac ransac;
    ransac.setEstimator(&estimator);
    ransac.setOutliersThreshold(options.threshold);
    ransac.setOutliersRatio(0.9);
    ransac.setSuccessRatio(0.999999);
    initRandGene(options.seed);
    if (!ransac.robustEstimation()) {
        std::cerr << options.points << ": no plane was found\n";
        return false;
    }
    print(Plane(ransac.getEstimParams()), estimator, ransac);
    draw(points, ransac, options.picture);
    std::cout << "Picture    " << options.picture << "\n\n";

    registration::Result const registered = registration::run(points);
    registration::print(registered, std::cout);
    registration::draw(points, registered, options.registration);
    std::cout << "Picture       " << options.registration << '\n';
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    Options options;
    CLI::App app("Finds the dominant plane in measured points (x, y, z in metres, one a line).");
    app.add_option("points", options.points, "CSV file of points")->capture_default_str();
    app.add_option("picture", options.picture, "SVG file to write")->capture_default_str();
    app.add_option("registration", options.registration, "SVG file of the registration to write")
        ->capture_default_str();
    app.add_option("--threshold", options.threshold, "largest distance of an inlier [m]")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.add_option("--seed", options.seed, "seed of the random samples")->capture_default_str();
    CLI11_PARSE(app, argc, argv);

    try {
        return run(options) ? 0 : 1;
    } catch (std::exception const& error) {
        std::cerr << "measuremath-demo: " << error.what() << '\n';
        return 1;
    }
}
