#include "math/MeanEstimator.h"

#include "math/internal/Moments.h"

#include <cmath>

namespace {

constexpr char const* badDataSize = "Invalid data vector size in collection";

}  // namespace

MeanEstimator::MeanEstimator()
{
    init(1, 1);
}

void MeanEstimator::setDataSize(unsigned int d)
{
    init(d, 1);
}

void MeanEstimator::setDataColl(std::vector<Vector> const& dataColl)
{
    requireDataSize(dataColl, getNbParams());
    Estimator::setDataColl(dataColl);
}

bool MeanEstimator::computeEstimation(std::vector<Vector> const& dataColl)
{
    auto const dimension = static_cast<int>(getNbParams());
    measuremath::Moments const moments =
        measuremath::momentsOf(dataColl.data(), dataColl.size(), dimension, badDataSize);
    *_estimParams = moments.mean;
    *_estimCov = moments.covariance;
    return true;
}

void MeanEstimator::computeResiduals(Vector const& params, Vector& residuals) const
{
    unsigned int const n = residuals.size();
    measuremath::require(getDataColl().front().size() == params.size(), badDataSize);
    residuals.zeroed();
    double* const r = residuals.begin();
    for (unsigned int k = 0; k < params.size(); ++k) {
        double const* const x = getPackedCoordinate(k);
        double const m = params[k];
        for (unsigned int i = 0; i < n; ++i) r[i] += (x[i] - m) * (x[i] - m);
    }
    for (unsigned int i = 0; i < n; ++i) r[i] = std::sqrt(r[i]);
}
