#include "support/ReferenceValues.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>

std::vector<std::vector<double>> readReference(std::string const& file)
{
    std::ifstream in(std::string(MEASUREMATH_TEST_DATA) + "/" + file);
    if (!in) throw std::runtime_error("cannot read " + file);
    std::vector<std::vector<double>> rows;
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with('#')) continue;
        std::istringstream fields(line);
        rows.emplace_back();
        for (std::string field; std::getline(fields, field, ',');)
            rows.back().push_back(std::stod(field));
    }
    return rows;
}

std::vector<KnownRotation> knownRotations()
{
    std::vector<KnownRotation> rotations;
    for (auto const& row : readReference("rotations.csv"))
        rotations.push_back(
            {Vector(&row[0], 3), Matrix(&row[3], 3, 3), Vector(&row[12], 4), Vector(&row[16], 3)});
    return rotations;
}

double ulps(TVector<double> const& a, TVector<double> const& b, double size)
{
    double worst = a.size() == b.size() ? 0 : std::numeric_limits<double>::infinity();
    for (int i = 0; i < std::min(a.getSize(), b.getSize()); ++i) {
        double const difference = std::abs(a[i] - b[i]);
        if (std::isnan(difference)) return std::numeric_limits<double>::infinity();
        worst = std::max(worst, difference);
    }
    return worst == 0 ? 0 : worst / (std::numeric_limits<double>::epsilon() * size);
}

double larger(double a, double b)
{
    return a > b || std::isnan(a) ? a : b;
}

bool isNear(TVector<double> const& a, TVector<double> const& b, double tolerance)
{
    return ulps(a, b, 1.0 / std::numeric_limits<double>::epsilon()) <= tolerance;
}

bool isNear(Matrix const& a, Matrix const& b, double tolerance)
{
    TVector<double> const &elements = a, &others = b;
    return a.getRow() == b.getRow() && isNear(elements, others, tolerance);
}
