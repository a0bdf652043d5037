#pragma once

#include "math/RobustCtrl.h"

/// Least median of squares: outliers are found from the sample whose median of squared residuals
/// is the least, with a threshold derived from that median (Rousseeuw and Leroy 1987).
///
/// It needs no threshold but more than half of the data without outliers: the assumed share is
/// 0.4 by default and stays below 0.5. The threshold is on residual² (`Ransac` has one on
/// |residual|).
class MEASUREMATH_API LMedS : public RobustCtrl {
public:
    LMedS();

    /// @throws MathError "Invalid outliers ratio, should be in ]0;0.5[" for 0.5 and above;
    ///         "Invalid outliers ratio, should be in ]0, 1]" for 0 and below.
    void setOutliersRatio(double ratio) override;

    /// The threshold of the last run: an inlier has residual² < this, in the residuals' units
    /// squared. @throws MathError "Call robustEstimation before use"
    double getOutliersThreshold() const;

protected:
    /// @return false when degenerate samples use up twice the number of trials.
    bool filterData() override;

    /// Flags the data whose squared residual reaches the threshold.
    /// @throws MathError "Invalid residuals vector size" unless there is one a flag.
    void setOutlierFlags(Vector const& squaredResiduals);

    double _outliersThreshold = 0.0;  ///< Threshold on residual².
};
