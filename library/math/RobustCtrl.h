#pragma once

#include "math/Estimator.h"
#include "math/Export.h"
#include "math/Vector.h"

#include <memory>
#include <vector>

/// Fits the model of an `Estimator` to data that contain outliers.
///
/// The base of the controllers: it draws minimal samples, fits and scores them over the whole
/// collection, and, once the subclass has flagged the outliers in `filterData`, refits the
/// estimator to the inliers. The caller keeps the estimator, which must outlive the controller's
/// use of it, and sets its collection first.
///
///   not estimated → `robustEstimation` true: estimated; every setter: not estimated
///
/// Samples are drawn with `std::rand`: a seed (`initRandGene`) makes a run repeatable, and all
/// sampling belongs to one thread at a time.
class MEASUREMATH_API RobustCtrl {
public:
    RobustCtrl();
    virtual ~RobustCtrl();
    RobustCtrl(RobustCtrl const&) = delete;
    RobustCtrl& operator=(RobustCtrl const&) = delete;

    /// The model to fit; not owned.
    void setEstimator(Estimator* estimator);

    /// Wanted probability, 0.99 by default, that at least one sample is free of outliers.
    /// @throws MathError "Invalid success ratio should be in [0;1[", "Invalid success ratio, can't
    ///         ensure such ratio" for more than 1 - 2^-52.
    void setSuccessRatio(double ratio);
    double getSuccessRatio() const { return _successRatio; }  ///< See `setSuccessRatio`.

    /// Assumed share of outliers in the data.
    /// @throws MathError "Invalid outliers ratio, should be in ]0, 1]"
    virtual void setOutliersRatio(double ratio);
    double getOutliersRatio() const { return _outliersRatio; }  ///< See `setOutliersRatio`.

    /// Flags the outliers and refits the model to the inliers. A run that fails, or throws, leaves
    /// the controller not estimated.
    /// @return false when no usable sample was found or the refit is degenerate.
    /// @throws MathError "Set estimator before use"; "Too few data to compute robust estimation"
    ///         unless there are twice as many data as a minimal sample takes; "Bad outlier ratio"
    ///         when no number of samples can reach the success ratio; "Not enough data to ensure
    ///         nbMinData" when fewer inliers are left than the model needs; what the model throws.
    bool robustEstimation();

    /// Parameters of the fit to the inliers. @throws MathError "Call robustEstimation before use"
    Vector const& getEstimParams() const;

    /// RMS of the inliers' residuals. @throws MathError "Call robustEstimation before use"
    double getInlierRms() const;

    /// Number of data flagged as outliers. @throws MathError "Call robustEstimation before use"
    unsigned int getNbOutliers() const;

    /// Whether datum `i` of the estimator's collection is an outlier.
    /// @throws MathError "Call robustEstimation before use", "Invalid index value"
    bool isOutlier(unsigned int i) const;

    /// Replaces `inliers` by the data that are not outliers, in the order of the collection.
    /// @throws MathError "Call robustEstimation before use", also when the estimator has been
    ///         given another number of data since.
    void getInlierColl(std::vector<Vector>& inliers) const;

protected:
    /// Flags the outliers in `*_outlierFlags`, which it finds sized and all false.
    /// @return false when no model was found.
    virtual bool filterData() = 0;

    /// Number of samples so that, at this share of outliers, one at least is free of them with the
    /// wanted probability P: ln(1 - P) / ln(1 - (1 - e)^m), truncated, at most 2^32 - 1
    /// (Fischler and Bolles 1981).
    /// @throws MathError "Invalid outlier ratio should be in [0;1]", "Bad outlier ratio" when the
    ///         ratio is 0 or so large that the number is not finite.
    unsigned int computeNbSamples(double outliersRatio) const;

    /// One trial: draws a sample, fits it, and writes the residuals of all data.
    /// @return false, with all residuals 0, when the sample is degenerate.
    bool randSampleEstim(Vector& residuals);

    /// Writes the RMS of the inliers' residuals for `*_estimParams` to `_inlierRms`.
    void computeInlierRms();

    Estimator* _estimator = nullptr;                   ///< The model; not owned.
    bool _isEstimated = false;                         ///< Set by a successful run.
    double _outliersRatio = 0.4;                       ///< Assumed share of outliers.
    std::unique_ptr<std::vector<bool>> _outlierFlags;  ///< One flag a datum, true: outlier.
    std::unique_ptr<Vector> _estimParams;              ///< Parameters of the final fit.
    double _successRatio = 0.99;                       ///< Wanted probability of success.
    double _inlierRms = 0.0;                           ///< RMS of the inliers' residuals.

private:
    void requireEstimated() const;
    void requireFlagOfEach() const;
    bool refitOnInliers();

    std::vector<Vector> _sample;  // reused by every trial
};
