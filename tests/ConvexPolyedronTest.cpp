#include "math/ConvexPolyedron.h"

#include "math/LinearAlgebra.h"
#include "math/MathError.h"
#include "support/LogRecords.h"
#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
using Planes = std::vector<Vector>;

ConvexPolyedron polyhedron(Planes const& planes)
{
    ConvexPolyedron body;
    for (Vector const& plane : planes) body.addPlane(plane);
    return body;
}

Planes box(double x, double y, double z)
{
    return {Vector::of({1, 0, 0, -x}), Vector::of({-1, 0, 0, 0}), Vector::of({0, 1, 0, -y}),
            Vector::of({0, -1, 0, 0}), Vector::of({0, 0, 1, -z}), Vector::of({0, 0, -1, 0})};
}

Planes cubeCorners()
{
    Planes corners;
    for (int i = 0; i < 8; ++i)
        corners.push_back(Vector::of({i & 1 ? 1.0 : -1.0, i & 2 ? 1.0 : -1.0, i & 4 ? 1.0 : -1.0}));
    return corners;
}

// The described search word by word: every triple solved, every solution tested.
Planes topsOfEveryTriple(ConvexPolyedron const& body)
{
    Planes tops;
    for (unsigned int i = 0; i < body.getNbPlanes(); ++i) {
        for (unsigned int j = i + 1; j < body.getNbPlanes(); ++j) {
            for (unsigned int k = j + 1; k < body.getNbPlanes(); ++k) {
                Vector const a = body.getPlane(i), b = body.getPlane(j), c = body.getPlane(k);
                Matrix normals(3, 3);
                normals.setRowVector(0, a(0, 3)).setRowVector(1, b(0, 3)).setRowVector(2, c(0, 3));
                Vector p(3);
                if (luSolve(normals, -Vector::of({a[3], b[3], c[3]}), p) && body.contain(p))
                    tops.push_back(p);
            }
        }
    }
    return tops;
}

// The described walk word by word, every point and every corner tested: the volume and the error.
std::pair<double, double> measureEveryPoint(ConvexPolyedron const& body, double step)
{
    static Planes const corners = cubeCorners();
    Vector min(3), max(3);
    body.computeBoundingBox(min, max);
    double inside = 0.0, boundary = 0.0, total = 1.0;
    for (double x = min[0]; x <= max[0]; x += step) {
        for (double y = min[1]; y <= max[1]; y += step) {
            for (double z = min[2]; z <= max[2]; z += step) {
                if (!body.contain(x, y, z)) continue;
                ++inside;
                boundary += std::ranges::any_of(corners, [&](Vector const& c) {
                    return !body.contain(Vector::of({x, y, z}) + step * 0.5 * c);
                });
            }
        }
    }
    for (double const extent : max - min) total *= std::trunc(extent * (1.0 / step)) + 1.0;
    double const box = (max[0] - min[0]) * (max[1] - min[1]) * (max[2] - min[2]);
    return {inside / total * box, 50.0 * boundary / inside};
}

Vector awkwardNormal(int kind, RandomData& random, Planes const& before)
{
    Vector n = random.vector(3);
    switch (kind) {
        case 1:  // many planes through one point, many parallel ones
            for (double& x : n) x = std::floor(2.5 * x + 0.5);
            return n;
        case 2:  // parallel to the last one up to 1e-17 to 0.1, either way
            if (before.empty() || random.integer(0, 2) == 0) return n;
            return std::pow(10.0, random.uniform(-17.0, -1.0)) * n +
                   random.uniform(-3.0, 3.0) * before.back()(0, 3);
        case 3:
            return n * Vector::of({1e-7, 1e-7, 1.0});  // a needle
        case 4:
            return std::pow(10.0, random.uniform(-6.0, 6.0)) * n;  // of many lengths
        case 5:
            return random.integer(0, 1) ? 1e160 * n : 1e-160 * n;  // squares overflow
        default:
            return n;
    }
}

class AwkwardPlanes : public testing::TestWithParam<int> {};

// What the search and the count leave out must not matter, to the last bit.
TEST_P(AwkwardPlanes, GiveTheTopsAndVolumesOfTheDescribedMethod)
{
    RandomData random(40);
    for (int i = 0; i < 150; ++i) {
        Vector const centre = random.vector(3) * (i % 3 == 0 ? 1e6 : 1.0);
        Planes planes;
        for (int j = 0; j < 5 + i % 9; ++j) {
            Vector const n = awkwardNormal(GetParam(), random, planes);
            double const distance = i % 4 == 0 ? 0.0 : std::floor(random.uniform(1.0, 4.0));
            planes.push_back(
                Vector::of({n[0], n[1], n[2], -n.dot(centre) - distance * n.length()}));
        }
        double const epsilons[] = {0.0, 1e-15, 1.5e-8, 1e-3, -1e-12, infinity};
        ConvexPolyedron body = polyhedron(planes);
        body.setEpsilon(epsilons[i % 6]);

        Planes const tops = topsOfEveryTriple(body);
        ASSERT_EQ(body.getNbTops(), tops.size());
        EXPECT_TRUE(body.getTops() == tops);
        for (std::size_t t = 0; t < tops.size(); ++t) EXPECT_EQ(ulps(body.getTop(t), tops[t]), 0.0);
        if (tops.empty()) continue;
        Vector min(3), max(3);
        body.computeBoundingBox(min, max);
        double const step = (max - min).length() / (i % 2 ? 4.3 : 20.0);
        if (!(step > 1e-6 && step < 1e3)) continue;  // an open body's far-off vertices
        auto const [volume, error] = measureEveryPoint(body, step);
        double maxErr = 0.0;
        EXPECT_EQ(body.computeVolume(step), volume);
        EXPECT_EQ(body.computeVolumeAndMaxErr(maxErr, step), volume);
        EXPECT_TRUE(maxErr == error || (std::isnan(maxErr) && std::isnan(error))) << maxErr;
    }
}
INSTANTIATE_TEST_SUITE_P(ConvexPolyedron, AwkwardPlanes, testing::Range(0, 6));

// A hundred additions of 0.01 overshoot 1, while the nominal count has the last layer.
TEST(ConvexPolyedron, StepThatDividesTheExtentMayLoseALayer)
{
    EXPECT_DOUBLE_EQ(polyhedron(box(1, 1, 1)).computeVolume(0.01), std::pow(100.0 / 101.0, 3));
}

TEST(ConvexPolyedron, FacesListTheirTopsClockwiseFromOutside)
{
    ConvexPolyedron const cube = polyhedron(box(1, 1, 1));
    for (int i = 0; i < 6; ++i) {
        Planes const face = cube.getTopsOnPlane(i);
        ASSERT_EQ(face.size(), 4u);
        for (std::size_t j = 0; j < 4; ++j)
            EXPECT_EQ((face[(j + 1) % 4] - face[j]).cross(face[(j + 2) % 4] - face[j]),
                      -cube.getPlane(i)(0, 3));
    }
    Vector min(3), max(3);
    cube.computeBoundingBox(min, max);
    EXPECT_TRUE(min == Vector(3) && max == Vector::of({1, 1, 1}));
}

TEST(ConvexPolyedron, FaceListsATopOfManyPlanesOnce)
{
    Planes planes;  // of an octahedron
    for (Vector const& n : cubeCorners()) planes.push_back(Vector::of({n[0], n[1], n[2], -1}));
    planes.push_back(Vector::of({1, 0, 0, -1}));  // touches a vertex
    planes.push_back(Vector::of({1, 0, 0, -2}));  // touches nothing
    ConvexPolyedron const body = polyhedron(planes);
    EXPECT_EQ(body.getTopsOnPlane(0).size(), 3u);
    EXPECT_EQ(body.getTopsOnPlane(8).size(), 1u);
    EXPECT_EQ(body.getTopsOnPlane(9).size(), 0u);
}

TEST(ConvexPolyedron, ContainsWhatLiesOutsideByLessThanTheTolerance)
{
    ConvexPolyedron const cube = polyhedron(box(1, 1, 1));
    double const epsilon = std::sqrt(std::numeric_limits<double>::epsilon());
    EXPECT_EQ(cube.getEpsilon(), epsilon);
    EXPECT_TRUE(cube.contain(1 + 0.9 * epsilon, 0.5, 0.5));
    EXPECT_FALSE(cube.contain(Vector::of({1 + 1.1 * epsilon, 0.5, 0.5})));
    EXPECT_FALSE(cube.contain(std::nan(""), 0.5, 0.5));
}

TEST(ConvexPolyedron, PlaneThroughThreePointsMovesInwardByTheOffset)
{
    Vector const a = Vector::of({0, 0, 3}), b = Vector::of({2, 0, 3}), c = Vector::of({0, 2, 3});
    ConvexPolyedron body;
    body.addPlane(a, b, c, 1e-9);  // no offset to speak of: the normal keeps its length
    body.addPlane(a, b, c, 0.5);
    body.addPlane(a, a, c, -0.5);  // no plane: a null normal, which bounds nothing
    EXPECT_EQ(body.getPlane(0), Vector::of({0, 0, 4, -12}));
    EXPECT_EQ(body.getPlane(1), Vector::of({0, 0, 1, -2.5}));
    EXPECT_TRUE(body.contain(1e6, 1e6, 2.5));
    EXPECT_FALSE(body.contain(0, 0, 2.6));
}

TEST(ConvexPolyedron, NewPlaneRenewsTheTopsAndANewToleranceDoesNot)
{
    ConvexPolyedron body = polyhedron(box(1, 1, 1));
    EXPECT_EQ(body.getTopsOnPlane(0).size(), 4u);
    ConvexPolyedron const copy = body;
    body.setEpsilon(-0.1);
    EXPECT_EQ(body.getTopsOnPlane(0).size(), 4u);
    body.addPlane(Vector::of({1, 0, 0, -0.5}));
    EXPECT_EQ(body.getNbTops(), 0u);
    EXPECT_EQ(body.getTopsOnPlane(0).size(), 0u);
    EXPECT_EQ(copy.getNbTops(), 8u);
}

TEST(ConvexPolyedron, GridThatWouldNeverEndIsRefused)
{
    Planes far = box(1e17 + 1000, 1, 1);
    far[1][3] = 1e17;
    std::pair<Planes, double> const cases[] = {
        {box(1, 1, 1), 1e-5}, {box(1, 1, 1), 1e-320}, {box(1e8, 0, 0), 1.0}, {far, 1.0}};
    double maxErr = 7.0;
    for (auto const& [planes, step] : cases)
        EXPECT_MATH_ERROR(polyhedron(planes).computeVolumeAndMaxErr(maxErr, step),
                          "ConvexPolyedron::computeVolume : Step too small.");
    for (double const step : {0.0, -0.1, std::nan(""), infinity})
        EXPECT_MATH_ERROR(polyhedron(far).computeVolume(step),
                          "ConvexPolyedron::computeVolume : Bad step.");
    EXPECT_EQ(maxErr, 7.0);
}

TEST(ConvexPolyedron, MisuseIsRefusedByTheNamedFunction)
{
    ConvexPolyedron none, body = polyhedron(box(1, 1, 1)), plane = polyhedron({Vector(4)});
    Vector const p(3), q(4);
    Vector min(3), max(3), short2(2);
    std::pair<std::function<void()>, std::string> const cases[] = {
        {[&] { body.addPlane(p); }, "addPlane : Bad vector size."},
        {[&] { body.addPlane(p, q, p, 0); }, "addPlane : Bad vector size."},
        {[&] { body.addPlane(infinity * q); }, "addPlane : Not finite."},
        {[&] { none.contain(0, 0, 0); }, "contain : Liste of plane is empty."},
        {[&] { none.contain(q); }, "contain : Bad vector size."},
        {[&] { body.getPlane(6); }, "getPlane : Plane not in _listOfPlanes !"},
        {[&] { body.getPlane(-1); }, "getPlane : Plane not in _listOfPlanes !"},
        {[&] { body.getTopsOnPlane(6); }, "getTopsOnPlane : Plane not in _listOfPlanes !"},
        {[&] { body.getTop(8); }, "getTop : Vertex not in _listOfVertices !"},
        {[&] { none.computeBoundingBox(min, max); },
         "computeBoundingBox : Liste of plane is empty."},
        {[&] { body.computeBoundingBox(min, short2); }, "computeBoundingBox : Bad vector size."},
        {[&] { plane.computeVolume(-1.0); }, "computeBoundingBox : Le polyedre est vide."},
    };
    for (auto const& [call, text] : cases)
        EXPECT_MATH_ERROR(call(), ("ConvexPolyedron::" + text).c_str());
    EXPECT_EQ(body.getNbPlanes(), 6U);
}

std::vector<std::string> messages(LogRecorder const& log)
{
    std::vector<std::string> texts;
    for (Record const& r : log.records()) texts.push_back(std::to_string(r.level) + r.message);
    return texts;
}

TEST(ConvexPolyedron, LogsPlanesProgressAndResults)
{
    ConvexPolyedron body = polyhedron(box(1, 1, 1));
    LogRecorder const log(g_MathLogger, 0);
    double maxErr = 0.0;
    body.addPlane(Vector::of({0.123456789, -2, 0, -3e10}));
    body.computeVolumeAndMaxErr(maxErr, 0.3);
    EXPECT_THAT(
        messages(log),
        testing::ElementsAre("20000addPlane : 0.123457.x + -2.y + 0.z + -3e+10 = 0 ",
                             "0Computing tops...", "20000  A polyedron is compute with 8 verticies",
                             "0Computing volume and max error...", "20000  in/tot = 1%",
                             "20000  bounding box = 1", "20000  estimate volume = 1",
                             "20000  max error = 43.75"));
    EXPECT_THAT(log.records()[0].file, testing::EndsWith("math/ConvexPolyedron.cpp"));
}

TEST(ConvexPolyedron, LogsHowManyTopsItFound)
{
    Planes const b = box(1, 1, 1);
    std::pair<Planes, std::string> const cases[] = {
        {{b[0], b[1]}, "  Number of planes < 3"},
        {{b[0], b[0], b[0]}, "  An empty polyedron is compute"},
        {{b[0], b[2], b[4]}, "  A polyedron is compute with 1 verticies"},
        {{b[0], b[2], b[4], b[5]}, "  A degenerated polyedron is compute with 2 verticies"},
        {{b[1], b[3], b[4], Vector::of({1, 1, 0, -1})},
         "  A degenerated polyedron is compute with 3 verticies"}};
    for (auto const& [planes, text] : cases) {
        ConvexPolyedron const body = polyhedron(planes);
        LogRecorder const log(g_MathLogger, 20000);
        body.getNbTops();
        EXPECT_THAT(messages(log), testing::ElementsAre("20000" + text));
    }
}

}  // namespace
