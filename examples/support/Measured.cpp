#include "support/Measured.h"

#include "math/Random.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace {

std::string decimal(double value, int decimals)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(decimals) << std::abs(value);
    return (value < 0.0 ? "−" : "") + text.str();
}

}  // namespace

std::string quantity(double value, int decimals, std::string const& unit)
{
    return decimal(value, decimals) + (unit == "°" ? "" : "\u00a0") + unit;
}

std::string count(std::size_t n)
{
    return std::to_string(n);
}

std::string measured(double value, double uncertainty, std::string const& unit)
{
    int const decimals = std::max(0, 1 - static_cast<int>(std::floor(std::log10(uncertainty))));
    return decimal(value, decimals) + "\u00a0±\u00a0" + quantity(uncertainty, decimals, unit);
}

double uncertainty(std::function<double(Vector const&)> const& f, Vector const& params,
                   Matrix const& covariance)
{
    Vector gradient(params.size());
    for (int k = 0; k < params.getSize(); ++k) {
        double const step = 1e-6 * (1.0 + std::abs(params[k]));
        Vector up = params, down = params;
        up[k] += step;
        down[k] -= step;
        gradient[k] = (f(up) - f(down)) / (2.0 * step);
    }
    return std::sqrt(gradient.dot(covariance * gradient));
}

Repeated repeated(std::function<Vector()> const& measurement)
{
    constexpr unsigned int nbRuns = 20;
    std::vector<Vector> runs;
    for (unsigned int seed = 2; seed < 2 + nbRuns; ++seed) {
        initRandGene(seed);
        runs.push_back(measurement());
    }
    Repeated result = {Vector(runs[0].size()), Vector(runs[0].size())};
    for (Vector const& run : runs) result.mean += run / nbRuns;
    for (int k = 0; k < result.mean.getSize(); ++k) {
        double squares = 0.0;
        for (Vector const& run : runs) squares += std::pow(run[k] - result.mean[k], 2);
        result.deviation[k] = std::sqrt(squares / (nbRuns - 1));
    }
    return result;
}
