#pragma once

#include "math/Vector.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <istream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// Reads the coordinates on one line of a point file, separated by commas, semicolons or blanks.
/// @return empty unless the whole line consists of numbers.
inline std::vector<double> parseCoordinates(std::string_view line)
{
    constexpr std::string_view separators = " \t\r,;";
    std::vector<double> coordinates;
    for (;;) {
        line.remove_prefix(std::min(line.find_first_not_of(separators), line.size()));
        if (line.empty()) return coordinates;
        double value = 0.0;
        auto const [end, error] = std::from_chars(line.data(), line.data() + line.size(), value);
        bool const isWord =
            end == line.data() + line.size() || separators.find(*end) != std::string_view::npos;
        if (error != std::errc() || !isWord) return {};
        coordinates.push_back(value);
        line.remove_prefix(static_cast<std::size_t>(end - line.data()));
    }
}

/// Reads measured points, one a line, from a stream: lines that begin with `#` are comments, the
/// first other line may name the columns, and columns beyond `dimension` are passed over.
/// @throws std::runtime_error naming the line that holds no point, or when there is no point.
inline std::vector<Vector> readPoints(std::istream& in, std::size_t dimension)
{
    std::vector<Vector> points;
    bool headerAllowed = true;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (line.find_first_not_of(" \t\r") == std::string::npos || line.front() == '#') continue;
        std::vector<double> const coordinates = parseCoordinates(line);
        if (coordinates.size() >= dimension)
            points.emplace_back(coordinates.data(), dimension);
        else if (!headerAllowed)
            throw std::runtime_error("line " + std::to_string(number) + " does not hold " +
                                     std::to_string(dimension) + " coordinates");
        headerAllowed = false;
    }
    if (points.empty()) throw std::runtime_error("no points");
    return points;
}

/// Reads the points of a file. @throws std::runtime_error with the file's name and what is wrong.
inline std::vector<Vector> readPoints(std::string const& path, std::size_t dimension)
{
    std::ifstream file(path);
    if (!file) throw std::runtime_error(path + ": can't be read");
    try {
        return readPoints(file, dimension);
    } catch (std::runtime_error const& error) {
        throw std::runtime_error(path + ": " + error.what());
    }
}
