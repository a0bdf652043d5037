#pragma once

#include "math/RobustCtrl.h"

/// Random sample consensus: outliers are the data whose residual reaches a threshold for the
/// sample with the largest support (Fischler and Bolles 1981).
///
/// The threshold is on |residual|, in its units (`LMedS` has one on residual²); it is 0 at first,
/// which leaves no inlier: set it. The share of outliers is 1 by default, meaning unknown; the
/// number of samples then adapts to the best support found so far. The first sample of the largest
/// support wins. When no sample has any support the model is refitted to all data.
class MEASUREMATH_API Ransac : public RobustCtrl {
public:
    Ransac();

    /// An inlier has |residual| < t, in the units of the residuals.
    /// @throws MathError "Invalid parameter, outliersThreshold should be positive" for t < 0.
    void setOutliersThreshold(double t);
    double getOutliersThreshold() const { return _outliersThreshold; }  ///< See the setter.

    /// Number of inliers at which the search stops; 0, or more than there are data: all data.
    void setSupportThreshold(unsigned int nbInliers);
    unsigned int getSupportThreshold() const { return _supportThreshold; }  ///< See the setter.

protected:
    /// @return false after 10 · `getNbMinData()` degenerate samples in a row.
    bool filterData() override;

    double _outliersThreshold = 0.0;     ///< Threshold on |residual|.
    unsigned int _supportThreshold = 0;  ///< Support that ends the search; 0: all data.
};
