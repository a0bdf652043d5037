#include "math/BSpline.h"

#include "math/LinearAlgebra.h"
#include "math/MathError.h"
#include "math/internal/SplineSpan.h"

#include <algorithm>
#include <cmath>

using measuremath::require;
using measuremath::SplineSpan;

namespace {

// Nodes and weights on [0, 1] that integrate polynomials of degree up to 2n - 1 exactly.
struct GaussRule {
    Vector nodes;
    Vector weights;
};

// From the eigenvalues and vectors of the Legendre recurrence's matrix (Golub and Welsch 1969).
GaussRule gaussLegendre(int n)
{
    Matrix recurrence(n, n);
    for (int i = 1; i < n; ++i)
        recurrence[i][i - 1] = recurrence[i - 1][i] = i / std::sqrt(4.0 * i * i - 1.0);
    GaussRule rule{Vector(n), Vector(n)};
    Matrix vectors(n, n);
    require(eigenValuesVectors(recurrence, rule.nodes, vectors), "Gauss quadrature failed");
    for (int i = 0; i < n; ++i) {
        rule.nodes[i] = 0.5 + 0.5 * rule.nodes[i];
        rule.weights[i] = vectors[0][i] * vectors[0][i];
    }
    return rule;
}

// band(i, c) += ∫ N_i N_{i+c} over the span, of the basis functions' derivatives.
template <int derivative>
void addSpanIntegrals(SplineSpan const& span, GaussRule const& rule, Matrix& band)
{
    int const k = span.order;
    double const length = span.end - span.start;
    Vector basis(k, Vector::NO_INIT);
    double* const values = basis.begin();
    for (int node = 0; node < k; ++node) {
        span.basis<derivative>(rule.nodes.cbegin()[node] * length, values);
        double const weight = rule.weights.cbegin()[node] * length;
        for (int a = 0, i = span.first; a < k; ++a, i = span.next(i)) {
            double* const row = band[i];
            for (int b = a; b < k; ++b) row[b - a] += weight * values[a] * values[b];
        }
    }
}

}  // namespace

void BSpline::computeMetricMatrixAndBis()
{
    if (!_spanMatrices.empty() && !hasSpanMatrices()) return;  // they stay those of the last init
    _metricMatrix = Matrix(std::max(_nbBSplines, 0), std::max(_order, 0));
    _metricMatrixBis = Matrix(_metricMatrix.getRow(), _metricMatrix.getCol());
    if (_spanMatrices.empty()) return;

    GaussRule const rule = gaussLegendre(_order);
    for (SplineSpan const& span : spans()) {
        addSpanIntegrals<0>(span, rule, _metricMatrix);
        addSpanIntegrals<2>(span, rule, _metricMatrixBis);
    }
}

void BSpline::setDiscreteStep(double discreteStep)
{
    _discreteStep = discreteStep;
    computeMetricMatrixAndBis();
}

std::vector<SplineSpan> BSpline::spans() const
{
    std::vector<SplineSpan> all;
    all.reserve(static_cast<std::size_t>(_nbSpans));
    for (int j = 0; j < _nbSpans; ++j) all.push_back(spanOf(j));
    return all;
}
