#include "FuzzInput.h"
#include "math/ConvexPolyedron.h"
#include "math/LinearAlgebra.h"

#include <algorithm>

namespace {

void addPlanes(FuzzInput& input, ConvexPolyedron& body)
{
    bool const hard = input.byte() == 0;
    for (int n = input.integer(0, 12); n > 0; --n) {
        if (input.flag()) {
            body.addPlane(hard ? input.vector(4) : input.point(4));
        } else {
            Vector const p1 = input.point(3);
            Vector const p2 = input.point(3);
            body.addPlane(p1, p2, input.point(3), input.coordinate());
        }
    }
}

// Cubes up to a side of 28 about the origin, so that bodies are not always empty or open.
void addCube(FuzzInput& input, ConvexPolyedron& body)
{
    double const halfSide = static_cast<double>(input.byte()) / 18.0;
    for (int axis = 0; axis < 3; ++axis) {
        for (double const sign : {-1.0, 1.0}) {
            Vector plane(4);
            plane[axis] = sign;
            plane[3] = -halfSide;
            body.addPlane(plane);
        }
    }
}

// The vertices by their definition: every triple of planes, in order, that meets inside.
std::vector<Vector> vertices(ConvexPolyedron const& body)
{
    std::vector<Vector> result;
    int const n = static_cast<int>(body.getNbPlanes());
    for (int i = 0; i < n; ++i) {
        for (int j = i + 1; j < n; ++j) {
            for (int k = j + 1; k < n; ++k) {
                Matrix normals(3, 3);
                Vector point(3);
                int row = 0;
                for (int const plane : {i, j, k}) {
                    normals.setRowVector(row, body.getPlane(plane)(0, 3));
                    point[row++] = -body.getPlane(plane)[3];
                }
                if (luSolve(normals, point, point) && body.contain(point)) result.push_back(point);
            }
        }
    }
    return result;
}

void checkFaces(ConvexPolyedron const& body)
{
    for (unsigned int i = 0; i < body.getNbPlanes(); ++i) {
        Vector const plane = body.getPlane(i);
        for (Vector const& top : body.getTopsOnPlane(i)) {
            double const value =
                plane[0] * top[0] + plane[1] * top[1] + plane[2] * top[2] + plane[3];
            check(std::abs(value) < body.getEpsilon());
        }
    }
}

// The volume by its definition: every point of the grid asked for.
double countedVolume(ConvexPolyedron const& body, Vector const& min, Vector const& max, double step)
{
    double inside = 0.0;
    for (double x = min[0]; x <= max[0]; x += step)
        for (double y = min[1]; y <= max[1]; y += step)
            for (double z = min[2]; z <= max[2]; z += step) inside += body.contain(x, y, z) ? 1 : 0;
    double boxVolume = 1.0;
    double points = 1.0;
    for (int axis = 0; axis < 3; ++axis) {
        boxVolume *= max[axis] - min[axis];
        points *= std::trunc((max[axis] - min[axis]) * (1.0 / step)) + 1.0;
    }
    return inside / points * boxVolume;
}

void checkVolume(FuzzInput& input, ConvexPolyedron const& body)
{
    Vector min(3), max(3);
    body.computeBoundingBox(min, max);
    double longest = 0.0;
    for (int axis = 0; axis < 3; ++axis) longest = std::max(longest, max[axis] - min[axis]);
    double const step = longest / input.integer(1, 12);
    double error = 0.0;
    double const volume = body.computeVolumeAndMaxErr(error, step);
    check(volume == body.computeVolume(step) || std::isnan(volume));
    check(!(error < 0.0 || error > 50.0));
    if (longest < 1e50) check(isNear(volume, countedVolume(body, min, max, step), 1e-12 * volume));
}

}  // namespace

void fuzz(FuzzInput& input)
{
    ConvexPolyedron body;
    if (input.flag()) addCube(input, body);
    if (input.byte() == 255) body.setEpsilon(input.number());
    addPlanes(input, body);
    std::vector<Vector> const tops = body.getTops();
    check(tops == vertices(body));
    checkFaces(body);
    checkVolume(input, body);
}
