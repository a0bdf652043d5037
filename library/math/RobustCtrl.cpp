#include "math/RobustCtrl.h"

#include "math/MathError.h"
#include "math/internal/Constants.h"

#include <algorithm>
#include <cmath>
#include <limits>

using measuremath::machineEpsilon;
using measuremath::require;

namespace {

double power(double base, unsigned int exponent)
{
    double result = 1.0;
    for (; exponent != 0; exponent /= 2, base *= base)
        if (exponent % 2 == 1) result *= base;
    return result;
}

}  // namespace

RobustCtrl::RobustCtrl()
    : _outlierFlags(std::make_unique<std::vector<bool>>()),
      _estimParams(std::make_unique<Vector>())
{
}

RobustCtrl::~RobustCtrl() = default;

void RobustCtrl::setEstimator(Estimator* estimator)
{
    _estimator = estimator;
    _isEstimated = false;
}

void RobustCtrl::setSuccessRatio(double ratio)
{
    require(ratio >= 0.0, "Invalid success ratio should be in [0;1[");
    require(ratio <= 1.0 - machineEpsilon, "Invalid success ratio, can't ensure such ratio");
    _successRatio = ratio;
    _isEstimated = false;
}

void RobustCtrl::setOutliersRatio(double ratio)
{
    require(ratio > 0.0 && ratio <= 1.0, "Invalid outliers ratio, should be in ]0, 1]");
    _outliersRatio = ratio;
    _isEstimated = false;
}

bool RobustCtrl::robustEstimation()
{
    require(_estimator != nullptr, "Set estimator before use");
    std::size_t const n = _estimator->getNbData();
    require(n >= 2 * static_cast<std::size_t>(_estimator->getNbMinData()),
            "Too few data to compute robust estimation");

    _isEstimated = false;
    _outlierFlags->assign(n, false);
    if (!filterData()) {
        _estimator->_isEstimated = false;
        return false;
    }
    _isEstimated = refitOnInliers();
    return _isEstimated;
}

bool RobustCtrl::refitOnInliers()
{
    requireFlagOfEach();
    if (!_estimator->estimInliers(*_outlierFlags)) return false;
    *_estimParams = _estimator->getEstimParams();
    computeInlierRms();
    return true;
}

// The estimator may have been given another collection meanwhile.
void RobustCtrl::requireFlagOfEach() const
{
    require(_outlierFlags->size() == _estimator->getNbData(), "Call robustEstimation before use");
}

void RobustCtrl::requireEstimated() const
{
    require(_isEstimated, "Call robustEstimation before use");
}

Vector const& RobustCtrl::getEstimParams() const
{
    requireEstimated();
    return *_estimParams;
}

double RobustCtrl::getInlierRms() const
{
    requireEstimated();
    return _inlierRms;
}

unsigned int RobustCtrl::getNbOutliers() const
{
    requireEstimated();
    return static_cast<unsigned int>(
        std::count(_outlierFlags->begin(), _outlierFlags->end(), true));
}

bool RobustCtrl::isOutlier(unsigned int i) const
{
    requireEstimated();
    require(i < _estimator->getNbData() && i < _outlierFlags->size(), "Invalid index value");
    return (*_outlierFlags)[i];
}

void RobustCtrl::getInlierColl(std::vector<Vector>& inliers) const
{
    requireEstimated();
    requireFlagOfEach();
    _estimator->collectInliers(*_outlierFlags, inliers);
}

unsigned int RobustCtrl::computeNbSamples(double outliersRatio) const
{
    require(outliersRatio >= 0.0 && outliersRatio <= 1.0,
            "Invalid outlier ratio should be in [0;1]");
    double const badSample = 1.0 - power(1.0 - outliersRatio, _estimator->getNbMinData());
    require(badSample >= machineEpsilon && std::abs(badSample - 1.0) >= machineEpsilon,
            "Bad outlier ratio");

    double const samples = std::log(1.0 - _successRatio) / std::log(badSample);
    constexpr unsigned int most = std::numeric_limits<unsigned int>::max();
    return samples < most ? static_cast<unsigned int>(samples) : most;
}

bool RobustCtrl::randSampleEstim(Vector& residuals)
{
    _estimator->getDataRandomSample(_sample);
    if (!_estimator->estim(_sample)) {
        residuals.zeroed();
        return false;
    }
    _estimator->getResiduals(_estimator->getEstimParams(), residuals);
    return true;
}

void RobustCtrl::computeInlierRms()
{
    std::vector<bool> const& isOut = *_outlierFlags;
    Vector residuals(isOut.size(), Vector::NO_INIT);
    _estimator->getResiduals(*_estimParams, residuals);

    double const* const r = static_cast<Vector const&>(residuals).begin();
    double sum = 0.0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < isOut.size(); ++i) {
        if (isOut[i]) continue;
        sum += r[i] * r[i];
        ++count;
    }
    _inlierRms = std::sqrt(sum / static_cast<double>(count));
}
