#pragma once

#include "math/Matrix.h"
#include "math/Vector.h"

#include <vector>

/// What a matrix must be, each including those before it: from TALL on, of full rank.
enum class Domain { ANY, TALL, SQUARE, SYMMETRIC, POSITIVE_DEFINITE };

/// Errors in units of epsilon, of the norms of what they are made of and of the larger side. LAPACK's
/// own test programs allow 30. Infinite for a failure, for NaN, and where a triangle of zeros, an
/// order or a symmetry is missing.
struct ScaledErrors {
    double residual;             ///< |A - factors|, |A·x - b|, |Aᵀ·(A·x - b)| or |A·X - I|.
    double orthogonality = 0.0;  ///< The worst |I - Qᵀ·Q| of the orthogonal factors.
};

/// A function that decomposes or inverts A or solves A·x = b, and how well it does.
struct Decomposition {
    char const* name;
    Domain domain;
    ScaledErrors (*errors)(Matrix const& A, Vector const& b);
};

std::vector<Decomposition> const& decompositions();

/// `error` in units of epsilon · `scale`; one where the scale is 0 counts in full, NaN is infinite.
double scaledError(double error, double scale);
/// |actual - expected|, scaled.
double scaledDifference(Matrix const& actual, Matrix const& expected);
/// |A·X - I|, scaled.
double inversionError(Matrix const& A, Matrix const& X);

Matrix diagonal(Vector const& d);
Matrix symmetric(Matrix const& A);
