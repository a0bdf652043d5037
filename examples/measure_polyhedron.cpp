// The inside of a bookcase, measured from one shot of a depth camera: six planes found among the
// points, the polyhedron that they bound, and its volume.

#include "math/ConvexPolyedron.h"
#include "math/MathError.h"
#include "math/PlanEstimator.h"
#include "math/Random.h"
#include "math/Ransac.h"

#include "support/PointFile.h"
#include "support/Svg.h"

#include <array>
#include <cmath>
#include <iostream>

namespace {

using Points = std::vector<Vector>;

// Rough directions of the bookcase in the camera's frame: out of the wall, to the left, up.
Vector const directions[] = {Vector::of({-0.982, 0.080, 0.169}), Vector::of({0.087, 0.996, 0.033}),
                             Vector::of({0.166, -0.047, 0.985})};
constexpr double wall = 2.172;  // the camera's distance to it

// A face and where to look for its points: [low, high] along each direction, in metres.
struct Face {
    char const* name;
    double outward[3];
    std::array<double, 2> depth, width, height;
};
constexpr double slack = 0.035;
constexpr std::array<double, 2> deep = {0.06, 0.365}, wide = {-0.59, 0.79}, high = {-0.26, 0.35};
constexpr std::array<double, 2> around(double x)
{
    return {x - slack, x + slack};
}

Face const faces[] = {
    {"back", {-1, 0, 0}, around(0.035), wide, high},
    {"front", {1, 0, 0}, around(0.395), wide, high},
    {"right panel", {0, -1, 0}, deep, around(-0.62), high},
    {"left panel", {0, 1, 0}, deep, around(0.82), high},
    {"shelf", {0, 0, -1}, deep, {-0.59, 0.05}, around(-0.285)},
    {"top", {0, 0, 1}, deep, wide, around(0.38)},
};

bool isWithin(std::array<double, 2> const& range, double x)
{
    return range[0] < x && x < range[1];
}

Points pointsNear(Face const& face, Points const& points)
{
    Points near;
    for (Vector const& p : points)
        if (isWithin(face.depth, directions[0].dot(p) + wall) &&
            isWithin(face.width, directions[1].dot(p)) &&
            isWithin(face.height, directions[2].dot(p)))
            near.push_back(p);
    return near;
}

// The dominant plane near a face as (a, b, c, d) of unit normal, turned outward.
Vector findPlane(Face const& face, Points const& near)
{
    PlanEstimator estimator;
    estimator.setDataColl(near);
    Ransac ransac;
    ransac.setEstimator(&estimator);
    ransac.setOutliersThreshold(0.012);
    ransac.setOutliersRatio(0.5);
    if (!ransac.robustEstimation()) throw std::runtime_error(std::string("no ") + face.name);
    std::cout << face.name << ": " << near.size() - ransac.getNbOutliers() << " of " << near.size()
              << " points, RMS " << 1000.0 * ransac.getInlierRms() << " mm\n";

    Vector plane = ransac.getEstimParams();  // a·x + b·y + c·z - d = 0
    plane[3] = -plane[3];
    double side = 0.0;
    for (int i = 0; i < 3; ++i) side += face.outward[i] * directions[i].dot(plane(0, 3));
    return plane / std::copysign(plane(0, 3).length(), side);
}

void draw(ConvexPolyedron const& body, std::vector<Points> const& measured, std::string const& file)
{
    SvgPlot plot(file, "The inside of a bookcase, bounded by six measured planes", "x [m]",
                 "y [m]");
    plot.inSpace("z [m]");
    plot.set("view 68,250,1.45");
    plot.set("view equal xyz");
    plot.set("xyplane relative 0");
    plot.set("key outside right top vertical");
    for (char const* const tics : {"xtics 0.2", "ytics 0.4", "ztics 0.2"}) plot.set(tics);
    SvgPlot::Rows edges;
    for (std::size_t i = 0; i < measured.size(); ++i) {
        SvgPlot::Rows points;
        for (Vector const& p : measured[i]) points.push_back({p[0], p[1], p[2]});
        plot.add(faces[i].name, "points pt 7 ps 0.25 lc " + std::to_string(i + 1), points);

        Points outline = body.getTopsOnPlane(i);
        outline.push_back(outline.front());
        for (Vector const& top : outline) edges.push_back({top[0], top[1], top[2]});
        edges.insert(edges.end(), 2, {});  // a single empty row would span a mesh
    }
    plot.add("", "lines lw 2 lc rgb '#404040'", edges);
    plot.write();
}

bool run(std::string const& data)
{
    Points const points = readPoints(data + "/bookcase_scan.csv", 3);
    ConvexPolyedron body;
    std::vector<Points> measured;
    for (Face const& face : faces) {
        measured.push_back(pointsNear(face, points));
        body.addPlane(findPlane(face, measured.back()));
    }
    double maxErr = 0.0;
    double const volume = body.computeVolumeAndMaxErr(maxErr, 0.0031);
    draw(body, measured, "bookcase.svg");
    std::cout << body.getNbTops() << " corners, " << volume
              << " cubic metres, error of the grid below " << maxErr << " %\n";
    return body.getNbTops() == 8 && volume > 0.31 && volume < 0.33;
}

}  // namespace

int main(int argc, char** argv)
{
    initRandGene(7);
    try {
        return run(argc > 1 ? argv[1] : "data") ? 0 : 1;
    } catch (std::exception const& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
