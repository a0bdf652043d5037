#pragma once

#include "support/Points.h"

#include <array>
#include <cmath>

/// The bookcase of bookcase_scan.csv, as data/README.md describes it: where its faces are about.
namespace bookcase {

/// Rough directions of the bookcase in the camera's frame: out of the wall, to the left, up.
inline Vector const directions[] = {Vector::of({-0.982, 0.080, 0.169}),
                                    Vector::of({0.087, 0.996, 0.033}),
                                    Vector::of({0.166, -0.047, 0.985})};
constexpr double wall = 2.172;  ///< The camera's distance to it, in metres.

/// A face: its outward direction, and where to look for its points along each direction, in metres.
struct Face {
    std::size_t axis;
    double sign;
    std::array<double, 2> depth, width, height;
};
constexpr std::array<double, 2> deep = {0.06, 0.365}, wide = {-0.59, 0.79}, high = {-0.26, 0.35};
constexpr std::array<double, 2> around(double x)
{
    return {x - 0.035, x + 0.035};
}

constexpr Face faces[] = {
    {0, -1, around(0.035), wide, high},            // back
    {0, 1, around(0.395), wide, high},             // front
    {1, -1, deep, around(-0.62), high},            // right panel
    {1, 1, deep, around(0.82), high},              // left panel
    {2, -1, deep, {-0.59, 0.05}, around(-0.285)},  // shelf
    {2, 1, deep, wide, around(0.38)},              // top
};

inline bool isWithin(std::array<double, 2> const& range, double x)
{
    return range[0] < x && x < range[1];
}

/// The points among which the plane of a face is the dominant one.
inline Points pointsNear(Face const& face, Points const& points)
{
    Points near;
    for (Vector const& p : points)
        if (isWithin(face.depth, directions[0].dot(p) + wall) &&
            isWithin(face.width, directions[1].dot(p)) &&
            isWithin(face.height, directions[2].dot(p)))
            near.push_back(p);
    return near;
}

/// The plane a·x + b·y + c·z = d as (a, b, c, -d) of unit normal, turned outward.
inline Vector outward(Vector const& params, Face const& face)
{
    Vector const normal = params(0, 3);
    double const side = face.sign * normal.dot(directions[face.axis]);
    Vector plane = params / std::copysign(normal.length(), side);
    plane[3] = -plane[3];
    return plane;
}

/// The points as seen from the front, a little from the left and above, without perspective.
inline Points seen(Points points)
{
    Vector const right = Vector::of({0.454, -0.891, 0.0}), up = Vector::of({0.356, 0.181, 0.917});
    for (Vector& p : points) p = Vector::of({right.dot(p), up.dot(p)});
    return points;
}

}  // namespace bookcase
