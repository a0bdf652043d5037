#pragma once

#include "math/Matrix.h"
#include "math/Vector.h"

#include <string>
#include <vector>

/// The lines of tests/data/`file` that hold comma-separated numbers.
std::vector<std::vector<double>> readReference(std::string const& file);

/// A rotation in every form.
struct KnownRotation {
    Vector r;
    Matrix R;
    Vector q;
    Vector e;
};

/// Null, tiny, at the thresholds of the conversions and up to π, about seven axes.
std::vector<KnownRotation> knownRotations();

/// Largest difference of corresponding elements, in units of 2^-52 · `size`; infinite for NaN.
double ulps(TVector<double> const& a, TVector<double> const& b, double size = 1.0);

/// The larger of two numbers; NaN when either is, which `std::max` may pass over.
double larger(double a, double b);

/// Whether no element differs by more than `tolerance`; false for NaN, which `==` of matrices and
/// `Matrix::equals` let pass.
bool isNear(TVector<double> const& a, TVector<double> const& b, double tolerance);

/// The same of matrices, which must have the same dimensions.
bool isNear(Matrix const& a, Matrix const& b, double tolerance);
