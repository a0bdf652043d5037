#include "math/ConvexPolyedron.h"

#include "math/LinearAlgebra.h"
#include "math/MathError.h"
#include "math/internal/BoxGrid.h"
#include "math/internal/EdgeClipper.h"
#include "math/internal/HalfSpace.h"
#include "math/internal/Log.h"
#include "math/internal/Vec3.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <utility>

using log4cplus::INFO_LOG_LEVEL;
using log4cplus::TRACE_LOG_LEVEL;
using measuremath::BoxGrid;
using measuremath::EdgeClipper;
using measuremath::HalfSpace;
using measuremath::log;
using measuremath::planeValue;
using measuremath::require;
using measuremath::toVec3;
using measuremath::Vec3;

namespace {

constexpr char const* badPlaneSize = "ConvexPolyedron::addPlane : Bad vector size.";

void requireIndexOf(std::vector<Vector> const& list, long long i, char const* message,
                    int line = __builtin_LINE())
{
    require(measuremath::isInRange(i, static_cast<int>(list.size())), message, line);
}

// A null vector stays null.
Vec3 unitOrNull(Vec3 const& v)
{
    double const length = norm(v);
    return length == 0.0 ? v : v / length;
}

// The points where three planes meet, for one triple after the other.
class TripleSolver {
public:
    // False when the LU factors are singular.
    bool solve(HalfSpace const& h, HalfSpace const& i, HalfSpace const& j)
    {
        double* row = _normals.begin();
        double* side = _rightSide.begin();
        for (HalfSpace const* const s : {&h, &i, &j}) {
            row = std::copy(s->plane, s->plane + 3, row);
            *side++ = -s->plane[3];
        }
        return luSolve(_normals, _rightSide, _point);
    }

    Vector const& getPoint() const { return _point; }

private:
    Matrix _normals{3, 3};
    Vector _rightSide{3};
    Vector _point{3};
};

std::vector<unsigned int> topsNearPlane(Vector const& plane, std::vector<Vector> const& tops,
                                        double epsilon)
{
    std::vector<unsigned int> result;
    for (std::size_t i = 0; i < tops.size(); ++i) {
        double const* const p = tops[i].begin();
        if (std::abs(planeValue(plane.begin(), p[0], p[1], p[2])) < epsilon)
            result.push_back(static_cast<unsigned int>(i));
    }
    return result;
}

// Sorts the vertices of a face by the angle about their centroid, from the first one. Of vertices at
// exactly the same angle the first one stays.
std::vector<unsigned int> inAngularOrder(std::vector<unsigned int> const& face,
                                         std::vector<Vector> const& tops, Vec3 const& normal)
{
    if (face.size() < 2) return face;
    Vec3 sum = {};
    for (unsigned int const i : face) sum = sum + toVec3(tops[i]);
    Vec3 const centroid = sum / static_cast<double>(face.size());

    Vec3 const u = unitOrNull(toVec3(tops[face[0]]) - centroid);
    Vec3 const w = cross(u, normal);
    std::map<double, unsigned int> byAngle = {{0.0, face[0]}};
    for (unsigned int const i : face) {
        Vec3 const e = unitOrNull(toVec3(tops[i]) - centroid);
        if (i != face[0]) byAngle.emplace(std::atan2(dot(w, e), dot(u, e)), i);
    }

    std::vector<unsigned int> result;
    result.reserve(byAngle.size());
    for (auto const& [angle, i] : byAngle) result.push_back(i);
    return result;
}

void logNbTops(std::size_t count)
{
    if (count == 0)
        log(INFO_LOG_LEVEL, "  An empty polyedron is compute");
    else if (count == 2 || count == 3)
        log(INFO_LOG_LEVEL, "  A degenerated polyedron is compute with ", count, " verticies");
    else
        log(INFO_LOG_LEVEL, "  A polyedron is compute with ", count, " verticies");
}

// Volume of the share of the grid's box that the inside points make up.
double estimateVolume(BoxGrid const& grid, std::uint64_t inside)
{
    double const ratio = static_cast<double>(inside) / grid.getNominalCount();
    double const volume = ratio * grid.getBoxVolume();
    log(INFO_LOG_LEVEL, "  in/tot = ", ratio, "%");
    log(INFO_LOG_LEVEL, "  bounding box = ", grid.getBoxVolume());
    log(INFO_LOG_LEVEL, "  estimate volume = ", volume);
    return volume;
}

}  // namespace

void ConvexPolyedron::addPlane(Vector const& plane)
{
    require(plane.size() == 4, badPlaneSize);
    require(std::all_of(plane.begin(), plane.end(), [](double c) { return std::isfinite(c); }),
            "ConvexPolyedron::addPlane : Not finite.");

    double const* const p = plane.begin();
    log(INFO_LOG_LEVEL, "addPlane : ", p[0], ".x + ", p[1], ".y + ", p[2], ".z + ", p[3], " = 0 ");
    _listOfPlanes.push_back(plane);
    _listOfVertices.clear();
    _topsByPlane.clear();
}

void ConvexPolyedron::addPlane(Vector const& p1, Vector const& p2, Vector const& p3, double offset)
{
    require(p1.size() == 3 && p2.size() == 3 && p3.size() == 3, badPlaneSize);

    Vec3 const start = toVec3(p1);
    Vec3 n = cross(toVec3(p2) - start, toVec3(p3) - start);
    double d = -dot(n, start);
    if (!(std::abs(offset) <= _epsilon)) {
        n = unitOrNull(n);
        d = -dot(n, start - offset * n);
    }
    addPlane(Vector::of({n[0], n[1], n[2], d}));
}

bool ConvexPolyedron::contain(double const& x, double const& y, double const& z) const
{
    require(!_listOfPlanes.empty(), "ConvexPolyedron::contain : Liste of plane is empty.");

    return std::all_of(_listOfPlanes.begin(), _listOfPlanes.end(), [&](Vector const& plane) {
        return planeValue(plane.begin(), x, y, z) <= _epsilon;
    });
}

bool ConvexPolyedron::contain(Vector const& p) const
{
    require(p.size() == 3, "ConvexPolyedron::contain : Bad vector size.");

    return contain(p[0], p[1], p[2]);
}

void ConvexPolyedron::computeTops() const
{
    log(TRACE_LOG_LEVEL, "Computing tops...");
    if (_listOfPlanes.size() < 3) {
        log(INFO_LOG_LEVEL, "  Number of planes < 3");
        return;
    }
    std::vector<Vector> const found = findTops();
    _listOfVertices.insert(_listOfVertices.end(), found.begin(), found.end());
    logNbTops(_listOfVertices.size());
}

void ConvexPolyedron::computeTopsByPlane() const
{
    std::vector<std::vector<unsigned int>> faces;
    for (Vector const& plane : _listOfPlanes)
        faces.push_back(inAngularOrder(topsNearPlane(plane, _listOfVertices, _epsilon),
                                       _listOfVertices, toVec3(plane)));
    _topsByPlane = std::move(faces);
}

std::vector<Vector> ConvexPolyedron::findTops() const
{
    std::vector<HalfSpace> const planes = measuremath::packed(_listOfPlanes);
    EdgeClipper clipper(planes, _epsilon);
    TripleSolver triple;
    std::vector<Vector> tops;
    std::vector<std::size_t> thirds;
    for (std::size_t i = 0; i < planes.size(); ++i) {
        for (std::size_t j = i + 1; j + 1 < planes.size(); ++j) {
            clipper.thirdPlanes(i, j, thirds);
            for (std::size_t const k : thirds)
                if (triple.solve(planes[i], planes[j], planes[k]) && contain(triple.getPoint()))
                    tops.push_back(triple.getPoint());
        }
    }
    return tops;
}

std::vector<Vector> const& ConvexPolyedron::tops() const
{
    if (_listOfVertices.empty()) computeTops();
    return _listOfVertices;
}

Vector ConvexPolyedron::planeAt(long long i) const
{
    requireIndexOf(_listOfPlanes, i, "ConvexPolyedron::getPlane : Plane not in _listOfPlanes !");

    return _listOfPlanes[static_cast<std::size_t>(i)];
}

Vector ConvexPolyedron::topAt(long long i) const
{
    requireIndexOf(tops(), i, "ConvexPolyedron::getTop : Vertex not in _listOfVertices !");

    return _listOfVertices[static_cast<std::size_t>(i)];
}

std::vector<Vector> ConvexPolyedron::topsOnPlaneAt(long long i) const
{
    requireIndexOf(_listOfPlanes, i,
                   "ConvexPolyedron::getTopsOnPlane : Plane not in _listOfPlanes !");

    std::vector<Vector> const& corners = tops();
    if (_topsByPlane.empty()) computeTopsByPlane();
    std::vector<Vector> result;
    for (unsigned int const top : _topsByPlane[static_cast<std::size_t>(i)])
        result.push_back(corners[top]);
    return result;
}

void ConvexPolyedron::computeBoundingBox(Vector& min, Vector& max) const
{
    require(!_listOfPlanes.empty(),
            "ConvexPolyedron::computeBoundingBox : Liste of plane is empty.");
    require(min.size() == 3 && max.size() == 3,
            "ConvexPolyedron::computeBoundingBox : Bad vector size.");
    std::vector<Vector> const& corners = tops();
    require(!corners.empty(), "ConvexPolyedron::computeBoundingBox : Le polyedre est vide.");

    Vec3 low = toVec3(corners[0]);
    Vec3 high = low;
    for (Vector const& top : corners) {
        for (int i = 0; i < 3; ++i) {
            low[i] = std::min(low[i], top[i]);
            high[i] = std::max(high[i], top[i]);
        }
    }
    store(low, min);
    store(high, max);
}

measuremath::BoxGrid ConvexPolyedron::boundingGrid(double step) const
{
    Vector min(3), max(3);
    computeBoundingBox(min, max);
    return BoxGrid(toVec3(min), toVec3(max), step);
}

double ConvexPolyedron::computeVolume(double step) const
{
    BoxGrid const grid = boundingGrid(step);
    log(TRACE_LOG_LEVEL, "Computing volume...");

    return estimateVolume(grid,
                          grid.countInside(measuremath::packed(_listOfPlanes), _epsilon, 0.0));
}

double ConvexPolyedron::computeVolumeAndMaxErr(double& maxErr, double step) const
{
    BoxGrid const grid = boundingGrid(step);
    log(TRACE_LOG_LEVEL, "Computing volume and max error...");

    std::vector<HalfSpace> const planes = measuremath::packed(_listOfPlanes);
    std::uint64_t const inside = grid.countInside(planes, _epsilon, 0.0);
    // A point is inside when the corners of its cell are: these have the larger values.
    std::uint64_t const interior = grid.countInside(planes, _epsilon, step * 0.5);
    double const volume = estimateVolume(grid, inside);
    maxErr = 50.0 * static_cast<double>(inside - interior) / static_cast<double>(inside);
    log(INFO_LOG_LEVEL, "  max error = ", maxErr);
    return volume;
}
