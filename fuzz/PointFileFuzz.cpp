#include "FuzzInput.h"
#include "support/PointFile.h"

#include <charconv>
#include <sstream>
#include <string>

namespace {

// What the reader makes of any text.
void readAnything(FuzzInput& input)
{
    auto const dimension = static_cast<std::size_t>(input.integer(0, 4));
    std::string text;
    while (!input.empty()) text += static_cast<char>(input.byte());
    std::istringstream stream(text);
    for (Vector const& point : readPoints(stream, dimension)) check(point.size() == dimension);
}

std::string written(FuzzInput& input, Vector const& point)
{
    static constexpr std::array separators = {",", ";", " ", "\t", " , ", "\r"};
    std::string line;
    for (double const x : point) {
        std::array<char, 32> digits{};
        auto const [end, error] = std::to_chars(digits.begin(), digits.end(), x);
        check(error == std::errc());
        line.append(digits.data(), end);
        line += separators[input.byte() % separators.size()];
    }
    return line + '\n';
}

// What was written comes back, every bit of it, between comments, blank lines and a header.
void readBack(FuzzInput& input)
{
    int const dimension = input.integer(1, 4);
    std::vector<Vector> const points = input.vectors(input.integer(1, 8), dimension);
    std::string text = input.flag() ? "x,y,z\n" : "";
    for (Vector const& point : points) {
        if (input.flag()) text += "# 1 2 3\n \n";
        text += written(input, point);
    }
    std::istringstream stream(text);
    std::vector<Vector> const read = readPoints(stream, static_cast<std::size_t>(dimension));
    check(read.size() == points.size());
    for (std::size_t i = 0; i < read.size(); ++i)
        for (int k = 0; k < dimension; ++k)
            check(read[i][k] == points[i][k] || std::isnan(points[i][k]));
}

}  // namespace

void fuzz(FuzzInput& input)
{
    if (input.byte() < 32) {
        readBack(input);
        return;
    }
    try {
        readAnything(input);
    } catch (std::runtime_error const&) {
        // what the reader says of a bad file
    }
}
