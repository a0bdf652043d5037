#include "DecompositionErrors.h"
#include "Report.h"

#include "math/LinearAlgebra.h"
#include "support/RandomData.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace {

// The threshold of LAPACK's own test programs.
constexpr double limit = 30.0;

using Shapes = std::vector<std::pair<int, int>>;
Shapes const square = {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {10, 10}, {33, 33}, {80, 80}};
Shapes const tall = {{1, 1}, {3, 3}, {33, 33}, {2, 1}, {9, 4}, {65, 2}, {200, 6}, {80, 60}};
Shapes const any = {{1, 1},   {3, 3}, {33, 33}, {80, 80}, {2, 1},   {9, 4},   {65, 2},
                    {200, 6}, {1, 2}, {4, 9},   {2, 65},  {6, 200}, {80, 60}, {60, 80}};

Shapes const& shapesFor(Domain domain)
{
    return domain == Domain::ANY ? any : domain == Domain::TALL ? tall : square;
}

Matrix orthogonal(RandomData& random, int m, int k)
{
    Matrix Q(m, k), R(k, k);
    qr(random.matrix(m, k), Q, R);
    return Q;
}

// Singular values from `scale` down to scale / condition, in equal ratios.
Matrix withCondition(RandomData& random, int m, int n, double condition, double scale,
                     bool isSymmetric)
{
    int const k = std::min(m, n);
    Vector s(k);
    for (int i = 0; i < k; ++i)
        s[i] = scale * std::pow(condition, k == 1 ? 0.0 : -1.0 * i / (k - 1));
    Matrix const U = orthogonal(random, m, k);
    Matrix const A = U * diagonal(s) * (isSymmetric ? U : orthogonal(random, n, k)).transpose();
    return isSymmetric ? symmetric(A) : A;
}

}  // namespace

void reportDecompositions(Report& report)
{
    report.section(
        "Decompositions and linear solvers",
        R"(Worst scaled residual over tall, square and wide matrices from 1 × 1 to 200 × 6 and 80 × 80
whose singular values fall from 1 to 1 / condition in equal ratios, at the scales 1e-150, 1
and 1e150. A residual is |A - product of the factors|, |A·x - b|, |Aᵀ·(A·x - b)| or
|A·X - I| divided by the norms of what it is made of, the larger side and ε. The last column
is the worst |I - Qᵀ·Q| of the orthogonal factors, scaled alike. LAPACK's own tests allow 30.)",
        {"function", "1", "1e4", "1e8", "1e12", "1e16", "orthogonality"});
    for (Decomposition const& subject : decompositions()) {
        bool const isSymmetric = subject.domain >= Domain::SYMMETRIC;
        double const largestCondition = subject.domain == Domain::POSITIVE_DEFINITE ? 1e12 : 1e16;
        std::vector<std::string> cells;
        double worstOrthogonality = 0.0;
        for (double const condition : {1.0, 1e4, 1e8, 1e12, 1e16}) {
            if (condition > largestCondition) {
                cells.emplace_back();
                continue;
            }
            double worst = 0.0;
            RandomData random(1);
            for (auto const& [m, n] : shapesFor(subject.domain))
                for (double const scale : {1e-150, 1.0, 1e150}) {
                    Matrix const A = withCondition(random, m, n, condition, scale, isSymmetric);
                    ScaledErrors const errors = subject.errors(A, scale * random.vector(m));
                    worst = std::max(worst, errors.residual);
                    worstOrthogonality = std::max(worstOrthogonality, errors.orthogonality);
                }
            cells.push_back(report.error(worst, limit));
        }
        cells.push_back(worstOrthogonality == 0.0 ? "" : report.error(worstOrthogonality, limit));
        report.row(subject.name, cells);
    }
}
