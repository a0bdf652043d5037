#pragma once

#include "math/Matrix.h"
#include "math/Vector.h"

#include <cmath>
#include <cstddef>
#include <vector>

/// @file
/// Points, and what the examples measure of them.

using Points = std::vector<Vector>;

/// The point at this distance and angle (radians) from the origin of the plane.
inline Vector fromPolar(double distance, double angle)
{
    return Vector::of({distance * std::cos(angle), distance * std::sin(angle)});
}

inline Vector centroid(Points const& points)
{
    Vector sum(points.front().size());
    for (Vector const& p : points) sum += p;
    return sum / static_cast<double>(points.size());
}

/// Of points in the same order.
inline double rmsDistance(Points const& a, Points const& b)
{
    double squares = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) squares += std::pow((a[i] - b[i]).length(), 2);
    return std::sqrt(squares / static_cast<double>(a.size()));
}

/// Standard uncertainty of the angle about `axis` of points registered, for noise of 1 in each of
/// their coordinates: the information on a rotation is the moment of inertia about the centroid.
inline double angleSensitivity(Points const& points, Vector const& axis)
{
    Vector const middle = centroid(points);
    Matrix inertia(3, 3);
    for (Vector const& p : points) {
        Vector const q = p - middle;
        Matrix const row(q.begin(), 1, 3);
        inertia += q.dot(q) * Matrix(3, 3, Matrix::IDENTITY) - row.transpose() * row;
    }
    return std::sqrt(axis.dot(inertia.inverse() * axis));
}

/// Length of a line through the points.
inline double length(Points const& line)
{
    double sum = 0.0;
    for (std::size_t i = 1; i < line.size(); ++i) sum += (line[i] - line[i - 1]).length();
    return sum;
}

/// Area inside a line that ends where it begins.
inline double area(Points const& line)
{
    double twice = 0.0;
    for (std::size_t i = 1; i < line.size(); ++i)
        twice += line[i - 1][0] * line[i][1] - line[i][0] * line[i - 1][1];
    return 0.5 * std::abs(twice);
}

/// The line back to its beginning.
inline Points closed(Points line)
{
    if (!line.empty()) line.push_back(Vector(line.front()));
    return line;
}

/// Those points that pass the test.
template <class Test>
Points selected(Points const& points, Test test)
{
    Points result;
    for (Vector const& p : points)
        if (test(p)) result.push_back(p);
    return result;
}
