#include "math/LMedS.h"

#include "math/MathError.h"
#include "math/internal/Constants.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {

// The median of squared residuals when it is below `best`, else infinity. A NaN orders last.
class MedianBelow {
public:
    explicit MedianBelow(unsigned int n) : _n(n), _low((n - 1) / 2), _high(n / 2), _buffer(n) {}

    double operator()(double const* squares, double best)
    {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        // With no more than _low squares below it, the median cannot be below `best`.
        if (countBelow(squares, best) <= _low) return infinity;

        std::transform(squares, squares + _n, _buffer.begin(), [](double x) {
            if (std::isnan(x)) return infinity;
            return x;
        });
        auto const high = _buffer.begin() + _high;
        std::nth_element(_buffer.begin(), high, _buffer.end());
        double const lowValue = _low == _high ? *high : *std::max_element(_buffer.begin(), high);
        return 0.5 * (*high + lowValue);
    }

private:
    unsigned int countBelow(double const* squares, double best) const
    {
        unsigned int count = 0;
        for (unsigned int i = 0; i < _n; ++i) count += squares[i] < best ? 1U : 0U;
        return count;
    }

    unsigned int _n;
    unsigned int _low;
    unsigned int _high;
    std::vector<double> _buffer;
};

void square(Vector& residuals)
{
    double* const r = residuals.begin();
    unsigned int const n = residuals.size();
    for (unsigned int i = 0; i < n; ++i) r[i] *= r[i];
}

}  // namespace

LMedS::LMedS()
{
    _outliersRatio = 0.4;
}

void LMedS::setOutliersRatio(double ratio)
{
    measuremath::require(!(ratio >= 0.5), "Invalid outliers ratio, should be in ]0;0.5[");
    RobustCtrl::setOutliersRatio(ratio);
}

double LMedS::getOutliersThreshold() const
{
    measuremath::require(_isEstimated, "Call robustEstimation before use");
    return _outliersThreshold;
}

bool LMedS::filterData()
{
    unsigned long long const nbSamples = computeNbSamples(_outliersRatio);
    unsigned int const n = _estimator->getNbData();
    Vector squares(n, Vector::ZERO);
    Vector bestSquares(n, Vector::ZERO);
    MedianBelow medianBelow(n);
    double leastMedian = std::numeric_limits<double>::max();

    unsigned long long attempts = 0;
    unsigned long long successes = 0;
    while (successes < nbSamples && attempts < 2 * nbSamples) {
        ++attempts;
        if (!randSampleEstim(squares)) continue;
        ++successes;
        square(squares);
        double const median = medianBelow(squares.begin(), leastMedian);
        if (median < leastMedian) {
            leastMedian = median;
            std::swap(squares, bestSquares);
        }
    }
    if (attempts >= 2 * nbSamples) return false;

    // 1.4826 makes the median consistent with a normal sigma, 1 + 5 / (n - m) corrects for few data.
    double const sigma =
        1.4826 * (1.0 + 5.0 / (n - _estimator->getNbMinData())) * std::sqrt(leastMedian);
    _outliersThreshold = std::max(6.25 * sigma * sigma, measuremath::sqrtMachineEpsilon);
    setOutlierFlags(bestSquares);
    return true;
}

void LMedS::setOutlierFlags(Vector const& squaredResiduals)
{
    std::vector<bool>& isOut = *_outlierFlags;
    measuremath::require(squaredResiduals.size() == isOut.size(), "Invalid residuals vector size");
    double const* const r = squaredResiduals.begin();
    for (std::size_t i = 0; i < isOut.size(); ++i) isOut[i] = !(r[i] < _outliersThreshold);
}
