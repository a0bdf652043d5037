// The inside of a bookcase from one shot of a depth camera: six planes found among the points, the
// polyhedron that they bound, and its volume.

#include "math/ConvexPolyedron.h"
#include "math/PlanEstimator.h"
#include "math/Ransac.h"

#include "panels/Panel.h"
#include "support/Bookcase.h"
#include "support/Chart.h"
#include "support/Measured.h"
#include "support/PointFile.h"

#include <stdexcept>

namespace {

using namespace bookcase;

//! [code]
// Bounds a body by the plane that most of the points near each face lie on.
ConvexPolyedron measureBody(std::vector<Points> const& nearFaces)
{
    ConvexPolyedron body;
    for (Points const& near : nearFaces) {
        PlanEstimator plane;
        plane.setDataColl(near);
        Ransac ransac;
        ransac.setEstimator(&plane);
        ransac.setOutliersThreshold(0.012);  // metres
        if (!ransac.robustEstimation()) throw std::runtime_error("a face is missing");
        body.addPlane(outward(ransac.getEstimParams(), faces[body.getNbPlanes()]));
    }
    return body;
}
//! [code]

// Distance between the two faces across a direction, through the middle of the body.
double extent(ConvexPolyedron const& body, std::size_t axis)
{
    Vector const middle = centroid(body.getTops());
    double distance = 0.0;
    for (std::size_t i = 2 * axis; i < 2 * axis + 2; ++i)
        distance -= body.getPlane(i)(0, 3).dot(middle) + body.getPlane(i)[3];
    return distance;
}

std::string picture(ConvexPolyedron const& body, std::vector<Points> const& nearFaces)
{
    Points near;
    std::vector<Points> edges;
    for (std::size_t i = 0; i < nearFaces.size(); ++i) {
        near.insert(near.end(), nearFaces[i].begin(), nearFaces[i].end());
        edges.push_back(closed(seen(body.getTopsOnPlane(i))));
    }
    return Chart(
               "The points near six faces of a bookcase, and the edges of the polyhedron that "
               "their planes bound.",
               "across the view [m]", "up the view [m]")
        .dots("points near the faces", Chart::blue, 1.4, seen(near))
        .lines("polyhedron", Chart::orange, 1.6, edges)
        .svg();
}

}  // namespace

Panel polyhedronPanel(std::string const& pointFile)
{
    Points const points = readPoints(pointFile, 3);
    std::vector<Points> nearFaces;
    for (Face const& face : faces) nearFaces.push_back(pointsNear(face, points));
    ConvexPolyedron body;
    auto const [mean, deviation] = repeated([&] {
        body = measureBody(nearFaces);
        double gridError = 0.0;  // percent
        double const volume = body.computeVolumeAndMaxErr(gridError, 0.0031);
        return Vector::of({extent(body, 0), extent(body, 1), extent(body, 2), volume, gridError});
    });
    return {"polyhedron",
            {{"Corners", count(body.getNbTops())},
             {"Depth", measured(mean[0], deviation[0], "m")},
             {"Width", measured(mean[1], deviation[1], "m")},
             {"Height", measured(mean[2], deviation[2], "m")},
             {"Volume", measured(mean[3], deviation[3], "m³")},
             {"Error of the grid, at most", quantity(mean[4], 2, "%")}},
            picture(body, nearFaces)};
}
