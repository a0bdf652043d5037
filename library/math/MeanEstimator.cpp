#include "math/MeanEstimator.h"

#include <algorithm>
#include <cmath>

namespace {

// About the first point, so that a far origin costs no digits.
Vector meanOf(std::vector<Vector> const& dataColl)
{
    Vector const& first = dataColl.front();
    Vector offset(first.size(), Vector::ZERO);
    double* const sum = offset.begin();
    double const* const origin = first.begin();
    for (Vector const& datum : dataColl) {
        double const* const x = datum.begin();
        for (unsigned int k = 0; k < first.size(); ++k) sum[k] += x[k] - origin[k];
    }
    return first + offset / static_cast<double>(dataColl.size());
}

Matrix populationCovariance(std::vector<Vector> const& dataColl, Vector const& mean)
{
    unsigned int const d = mean.size();
    Matrix cov(d, d, Matrix::ZERO);
    Vector deviation(d, Vector::NO_INIT);
    double* const delta = deviation.begin();
    double* const sums = cov.begin();
    double const* const m = mean.begin();
    for (Vector const& datum : dataColl) {
        double const* const x = datum.begin();
        for (unsigned int i = 0; i < d; ++i) delta[i] = x[i] - m[i];
        for (unsigned int j = 0; j < d; ++j)
            for (unsigned int i = j; i < d; ++i) sums[j * d + i] += delta[j] * delta[i];
    }
    double const n = static_cast<double>(dataColl.size());
    for (unsigned int j = 0; j < d; ++j) {
        for (unsigned int i = j; i < d; ++i) sums[i * d + j] = sums[j * d + i] /= n;
    }
    return cov;
}

}  // namespace

MeanEstimator::MeanEstimator() { init(1, 1); }

void MeanEstimator::setDataSize(unsigned int d) { init(d, 1); }

void MeanEstimator::setDataColl(std::vector<Vector> const& dataColl)
{
    requireDataSize(dataColl, getNbParams());
    Estimator::setDataColl(dataColl);
}

bool MeanEstimator::computeEstimation(std::vector<Vector> const& dataColl)
{
    requireDataSize(dataColl, getNbParams());
    *_estimParams = meanOf(dataColl);
    *_estimCov = populationCovariance(dataColl, *_estimParams);
    return true;
}

void MeanEstimator::computeResiduals(Vector const& params, Vector& residuals) const
{
    unsigned int const n = residuals.size();
    measuremath::require(getDataColl().front().size() == params.size(),
                         "Invalid data vector size in collection");
    residuals.zeroed();
    double* const r = residuals.begin();
    for (unsigned int k = 0; k < params.size(); ++k) {
        double const* const x = getPackedCoordinate(k);
        double const m = params[k];
        for (unsigned int i = 0; i < n; ++i) r[i] += (x[i] - m) * (x[i] - m);
    }
    for (unsigned int i = 0; i < n; ++i) r[i] = std::sqrt(r[i]);
}
