#include "math/internal/Moments.h"

#include "math/internal/Elementwise.h"

namespace measuremath {
namespace {

void subtract(double* x, std::size_t n, double shift)
{
    transform(x, x, n, [shift](double value) { return value - shift; });
}

// Centres x - origin on its mean, which is returned.
double centre(double* x, std::size_t n, double origin)
{
    subtract(x, n, origin);
    double const mean = sum(n, [x](std::size_t i) { return x[i]; }) / static_cast<double>(n);
    subtract(x, n, mean);
    return mean;
}

}  // namespace

void Moments::merge(Moments const& other)
{
    if (other.count == 0) return;
    auto const own = static_cast<double>(count);
    auto const added = static_cast<double>(other.count);
    double const share = added / (own + added);
    Vector const step = other.mean - mean;
    double const* const d = step.begin();
    int const n = step.getSize();
    for (int i = 0; i < n; ++i) {
        double* const row = scatter[i];
        double const* const otherRow = other.scatter[i];
        for (int j = i; j < n; ++j) row[j] += otherRow[j] + d[i] * d[j] * own * share;
    }
    mean += step * share;
    count += other.count;
}

Matrix Moments::covariance() const
{
    Matrix result = scatter;
    auto const n = static_cast<double>(count);
    std::ptrdiff_t const d = result.getRow();
    double* const c = result.begin();
    for (std::ptrdiff_t i = 0; i < d; ++i)
        for (std::ptrdiff_t j = i; j < d; ++j) c[j * d + i] = c[i * d + j] /= n;
    return result;
}

Moments momentsOfBlock(double* block, std::size_t stride, std::size_t count, Vector const& origin)
{
    int const n = origin.getSize();
    Moments result{count, Vector(n), Matrix(n, n)};
    if (count == 0) return result;

    auto const column = [=](int k) { return block + static_cast<std::size_t>(k) * stride; };
    double* const mean = result.mean.begin();
    for (int k = 0; k < n; ++k) mean[k] = centre(column(k), count, origin[k]);
    for (int i = 0; i < n; ++i) {
        double* const row = result.scatter[i];
        for (int j = i; j < n; ++j) row[j] = dot(column(i), column(j), count);
    }
    return result;
}

}  // namespace measuremath
