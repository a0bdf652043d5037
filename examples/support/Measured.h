#pragma once

#include "math/Matrix.h"
#include "math/Vector.h"

#include <functional>
#include <string>

/// "12.30 mm": a value without a statement of its uncertainty.
std::string quantity(double value, int decimals, std::string const& unit);

/// "6969": a count.
std::string count(std::size_t n);

/// "12.304 ± 0.012 m": the uncertainty with two digits, the value to the same place.
std::string measured(double value, double uncertainty, std::string const& unit);

/// Standard uncertainty of `f` at parameters with this covariance, propagated to first order; the
/// gradient by central differences.
double uncertainty(std::function<double(Vector const&)> const& f, Vector const& params,
                   Matrix const& covariance);

/// What repeated runs gave, element by element.
struct Repeated {
    Vector mean;
    Vector deviation;  ///< Standard deviation of one run.
};

/// Repeats a measurement of several values with the random numbers of twenty different seeds.
Repeated repeated(std::function<Vector()> const& measurement);
