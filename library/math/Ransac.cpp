#include "math/Ransac.h"

#include "math/MathError.h"

#include <cmath>
#include <limits>
#include <utility>

namespace {

// A NaN is no inlier.
unsigned int countInliers(Vector const& residuals, double threshold)
{
    double const* const r = residuals.begin();
    unsigned int const n = residuals.size();
    unsigned int count = 0;
    for (unsigned int i = 0; i < n; ++i) count += std::abs(r[i]) < threshold ? 1U : 0U;
    return count;
}

void flagOutliers(Vector const& residuals, double threshold, std::vector<bool>& isOut)
{
    double const* const r = residuals.begin();
    for (std::size_t i = 0; i < isOut.size(); ++i) isOut[i] = !(std::abs(r[i]) < threshold);
}

}  // namespace

Ransac::Ransac()
{
    _outliersRatio = 1.0;
}

void Ransac::setOutliersThreshold(double t)
{
    measuremath::require(t >= 0.0, "Invalid parameter, outliersThreshold should be positive");
    _outliersThreshold = t;
    _isEstimated = false;
}

void Ransac::setSupportThreshold(unsigned int nbInliers)
{
    _supportThreshold = nbInliers;
    _isEstimated = false;
}

bool Ransac::filterData()
{
    unsigned int const n = _estimator->getNbData();
    unsigned int const enough =
        _supportThreshold == 0 || _supportThreshold > n ? n : _supportThreshold;
    unsigned int const maxFailures = 10 * _estimator->getNbMinData();

    double ratio = _outliersRatio;
    unsigned int nbSamples =
        ratio >= 1.0 ? std::numeric_limits<unsigned int>::max() : computeNbSamples(ratio);
    Vector residuals(n, Vector::ZERO);
    Vector bestResiduals;
    unsigned int bestSupport = 0;
    unsigned int failures = 0;
    unsigned int trial = 0;
    while (trial < nbSamples) {
        if (failures >= maxFailures) return false;
        if (!randSampleEstim(residuals)) {
            ++failures;
            continue;
        }
        failures = 0;
        unsigned int const support = countInliers(residuals, _outliersThreshold);
        if (support > bestSupport) {
            bestSupport = support;
            std::swap(residuals, bestResiduals);
            if (residuals.empty()) residuals = Vector(n, Vector::NO_INIT);
            if (support >= enough) break;
            // The budget counts from the first trial: a better sample shortens what is left.
            double const sampleRatio = static_cast<double>(n - support) / n;
            if (sampleRatio < ratio) {
                ratio = sampleRatio;
                nbSamples = computeNbSamples(ratio);
            }
        }
        ++trial;
    }
    if (bestSupport > 0) flagOutliers(bestResiduals, _outliersThreshold, *_outlierFlags);
    return true;
}
