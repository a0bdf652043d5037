// Vertices and grid volumes of bodies whose planes touch a sphere, beside the plain loops and, where
// it is installed, qhull's intersection of half-spaces.

#include "math/ConvexPolyedron.h"
#include "math/LinearAlgebra.h"

#include "support/Check.h"

#include <benchmark/benchmark.h>
#ifdef MEASUREMATH_HAVE_QHULL
#include <libqhull_r/qhull_ra.h>
#endif

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Planes = std::vector<Vector>;

constexpr std::size_t bodyCount = 16;  // in turn, so that no branch learns one body

// Planes that touch the unit sphere: first those of a turned box, which close the body.
Planes tangentPlanes(int count, unsigned int seed)
{
    std::mt19937 generator(seed);
    std::normal_distribution<double> normal;
    auto const direction = [&] {
        Vector const v = Vector::of({normal(generator), normal(generator), normal(generator)});
        return v / v.length();
    };
    Vector const u = direction();
    Planes planes;
    for (int i = 0; i < count; ++i) {
        Vector n = direction();
        if (i < 6) {
            Vector axis(3);
            axis[i / 2] = i % 2 == 0 ? 1.0 : -1.0;
            n = axis - 2.0 * axis.dot(u) * u;
        }
        planes.push_back(Vector::of({n[0], n[1], n[2], -1.0}));
    }
    return planes;
}

std::vector<Planes> bodies(int planeCount)
{
    std::vector<Planes> result;
    for (unsigned int seed = 0; seed < bodyCount; ++seed)
        result.push_back(tangentPlanes(planeCount, seed));
    return result;
}

ConvexPolyedron polyhedron(Planes const& planes)
{
    ConvexPolyedron result;
    for (Vector const& plane : planes) result.addPlane(plane);
    return result;
}

std::vector<Vector> verticesOurs(Planes const& planes)
{
    return polyhedron(planes).getTops();
}

// Every triple solved, every solution tested.
std::vector<Vector> verticesOfTriples(Planes const& planes)
{
    ConvexPolyedron const body = polyhedron(planes);
    std::vector<Vector> vertices;
    Matrix normals(3, 3);
    Vector side(3), p(3);
    for (std::size_t i = 0; i < planes.size(); ++i) {
        for (std::size_t j = i + 1; j < planes.size(); ++j) {
            for (std::size_t k = j + 1; k < planes.size(); ++k) {
                int row = 0;
                for (Vector const* const plane : {&planes[i], &planes[j], &planes[k]}) {
                    double const* const c = plane->begin();
                    std::copy(c, c + 3, normals[row]);
                    side[row++] = -c[3];
                }
                if (luSolve(normals, side, p) && body.contain(p)) vertices.push_back(p);
            }
        }
    }
    return vertices;
}

#ifdef MEASUREMATH_HAVE_QHULL
std::vector<Vector> verticesOfQhull(Planes const& planes)
{
    std::vector<double> coefficients;
    for (Vector const& plane : planes)
        coefficients.insert(coefficients.end(), plane.begin(), plane.end());
    std::string options = "qhull H0,0,0 Pp";  // the origin is inside; no warnings

    qhT context;
    qhT* const qh = &context;
    qh_zero(qh, nullptr);
    if (qh_new_qhull(qh, 4, static_cast<int>(planes.size()), coefficients.data(), 0, options.data(),
                     nullptr, nullptr) != 0)
        throw std::runtime_error("qhull failed");
    std::vector<Vector> vertices;
    facetT* facet;  // of the dual hull
    FORALLfacets
    {
        double const* const n = facet->normal;
        vertices.push_back(Vector(n, 3) / -facet->offset);
    }
    qh_freeqhull(qh, qh_ALL);
    int chunks, bytes;
    qh_memfreeshort(qh, &chunks, &bytes);
    return vertices;
}
#endif

// The same points in any order.
bool areSame(std::vector<Vector> a, std::vector<Vector> b)
{
    auto const isLess = [](Vector const& p, Vector const& q) { return p[0] < q[0]; };
    std::sort(a.begin(), a.end(), isLess);
    std::sort(b.begin(), b.end(), isLess);
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](Vector const& p, Vector const& q) { return isClose(p, q, 1e-9); });
}

void vertices(benchmark::State& state, std::vector<Vector> (*find)(Planes const&))
{
    std::vector<Planes> const all = bodies(static_cast<int>(state.range(0)));
    requireRight(areSame(find(all[0]), verticesOurs(all[0])), state);
    std::size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(find(all[i++ % bodyCount]));
}

std::vector<double> walk(double from, double to, double step)
{
    std::vector<double> points = {from};
    while (points.back() + step <= to) points.push_back(points.back() + step);
    return points;
}

bool hasCornerOutside(ConvexPolyedron const& body, double x, double y, double z, double h)
{
    for (double const cx : {x - h, x + h})
        for (double const cy : {y - h, y + h})
            for (double const cz : {z - h, z + h})
                if (!body.contain(cx, cy, cz)) return true;
    return false;
}

// Every point of the grid tested and, with `maxErr`, every corner of its cell until one is outside.
double volumeOfPoints(ConvexPolyedron const& body, double step, double* maxErr)
{
    Vector min(3), max(3);
    body.computeBoundingBox(min, max);
    double inside = 0.0, boundary = 0.0, total = 1.0, box = 1.0;
    for (double const extent : max - min) {
        total *= std::trunc(extent * (1.0 / step)) + 1.0;
        box *= extent;
    }
    std::vector<double> const ys = walk(min[1], max[1], step);
    std::vector<double> const zs = walk(min[2], max[2], step);
    for (double const x : walk(min[0], max[0], step)) {
        for (double const y : ys) {
            for (double const z : zs) {
                if (!body.contain(x, y, z)) continue;
                ++inside;
                if (maxErr && hasCornerOutside(body, x, y, z, step * 0.5)) ++boundary;
            }
        }
    }
    if (maxErr) *maxErr = 50.0 * boundary / inside;
    return inside / total * box;
}

double volumeOurs(ConvexPolyedron const& body, double step, double* maxErr)
{
    return maxErr ? body.computeVolumeAndMaxErr(*maxErr, step) : body.computeVolume(step);
}

using Measure = double (*)(ConvexPolyedron const&, double, double*);

void volume(benchmark::State& state, Measure measure, bool withError)
{
    ConvexPolyedron const body = polyhedron(tangentPlanes(static_cast<int>(state.range(0)), 1));
    Vector min(3), max(3);
    body.computeBoundingBox(min, max);
    Vector const extent = max - min;
    double const step =
        std::cbrt(extent[0] * extent[1] * extent[2] / static_cast<double>(state.range(1)));

    double errors[2] = {};
    double const ours = volumeOurs(body, step, withError ? errors : nullptr);
    double result = 0.0;
    for (auto _ : state) {
        result = measure(body, step, withError ? errors + 1 : nullptr);
        benchmark::DoNotOptimize(result);
    }
    requireRight(result == ours && errors[0] == errors[1], state);
}

void planeCounts(benchmark::internal::Benchmark* b)
{
    for (int const planes : {6, 20, 60, 200}) b->Arg(planes);
}

// Planes, and about how many grid points.
void grids(benchmark::internal::Benchmark* b)
{
    b->Args({6, 1000000})->Args({60, 1000000})->Args({60, 10000000});
}

BENCHMARK_CAPTURE(vertices, , verticesOurs)->Name("PolyhedronVertices/ours")->Apply(planeCounts);
BENCHMARK_CAPTURE(vertices, , verticesOfTriples)
    ->Name("PolyhedronVertices/every_triple")
    ->Apply(planeCounts);
#ifdef MEASUREMATH_HAVE_QHULL
BENCHMARK_CAPTURE(vertices, , verticesOfQhull)
    ->Name("PolyhedronVertices/qhull")
    ->Apply(planeCounts);
#endif
BENCHMARK_CAPTURE(volume, , volumeOurs, false)->Name("PolyhedronVolume/ours")->Apply(grids);
BENCHMARK_CAPTURE(volume, , volumeOfPoints, false)
    ->Name("PolyhedronVolume/every_point")
    ->Apply(grids);
BENCHMARK_CAPTURE(volume, , volumeOurs, true)->Name("PolyhedronVolumeAndError/ours")->Apply(grids);
BENCHMARK_CAPTURE(volume, , volumeOfPoints, true)
    ->Name("PolyhedronVolumeAndError/every_point")
    ->Apply(grids);

}  // namespace
