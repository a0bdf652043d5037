#pragma once

#include "math/Export.h"
#include "math/Matrix.h"
#include "math/Vector.h"

#include <cstddef>
#include <memory>
#include <vector>

/// A model with parameters that is fitted to a data collection, one `Vector` a datum.
///
/// The base of every model that the robust controllers drive. It owns the collection, the size of
/// a minimal sample, the parameters and their covariance, and fixes the protocol of a fit:
/// validation, `preProcessing`, the model's `computeEstimation`, `postProcessing`.
///
///   constructed → `init` → `setDataColl` → `estim` true: estimated, false: not estimated
///
/// `init` is called by the model's own constructor or set-up. `setDataColl` and every `estim`
/// clear the estimated state first. To write a model, override `computeEstimation` and
/// `computeResiduals`; both find their arguments checked.
class MEASUREMATH_API Estimator {
public:
    Estimator();
    virtual ~Estimator();
    Estimator(Estimator const&) = delete;
    Estimator& operator=(Estimator const&) = delete;

    /// Size of a minimal sample. @throws MathError "Init estimator before use"
    unsigned int getNbMinData() const;

    /// Number of parameters. @throws MathError "Init estimator before use"
    unsigned int getNbParams() const;

    /// Number of data in the collection. @throws MathError "Set DataColl before use"
    unsigned int getNbData() const;

    /// Parameters of the last fit. @throws MathError "Call estim before use"
    Vector const& getEstimParams() const;

    /// Covariance of the parameters of the last fit, where the model has one; otherwise the
    /// identity. @throws MathError "Call estim before use"
    Matrix const& getEstimCov() const;

    /// Fits the model to the stored collection.
    /// @return false when the collection is degenerate for the model.
    /// @throws MathError "Set DataColl before use", and what the model throws.
    bool estim();

    /// One residual for each datum of the stored collection, for the model `params`.
    /// @param[out] residuals  must have `getNbData()` elements.
    /// @throws MathError "Set DataColl before use", "Invalid residuals vector size",
    ///         "Invalid params vector size", tested in this order.
    void getResiduals(Vector const& params, Vector& residuals) const;

    /// Copies the collection, sharing the storage of its vectors, and clears the estimated state.
    /// @throws MathError "Init estimator before use", "Not enough data to ensure nbMinData"; the
    ///         previous collection is kept then.
    virtual void setDataColl(std::vector<Vector> const& dataColl);

protected:
    /// Sets the number of parameters and the size of a minimal sample: parameters 0, covariance
    /// the identity. The collection and the estimated state are left alone.
    /// @throws MathError "NbParams should not be null", "NbMinData should not be null"
    void init(unsigned int nbParams, unsigned int nbMinData);

    /// The protocol of a fit, on any collection: a sample, the inliers, or the stored one.
    /// @return false as soon as a step reports false; the parameters are then what it left.
    /// @throws MathError "Init estimator before use", "Not enough data to ensure nbMinData"
    bool estim(std::vector<Vector> const& dataColl);

    /// Replaces `sample` by a random minimal sample.
    /// @throws MathError "Init estimator before use", "Set DataColl before use"
    void getDataRandomSample(std::vector<Vector>& sample) const;

    /// The stored collection. @throws MathError "Set DataColl before use"
    std::vector<Vector> const& getDataColl() const;

    /// Coordinate `k` of every datum of the stored collection, packed one after the other: what
    /// the residuals of large collections are computed from.
    /// @throws MathError "Invalid data vector size in collection" unless the data share one size
    ///         that is larger than `k`.
    double const* getPackedCoordinate(unsigned int k) const;

    /// Throws "Invalid data vector size in collection" unless every datum has `size` elements.
    static void requireDataSize(std::vector<Vector> const& dataColl, unsigned int size);

    /// Fits the model to `dataColl`, which has at least `getNbMinData()` data: writes
    /// `*_estimParams`, and `*_estimCov` where the model has a covariance.
    /// @return false when the collection is degenerate for the model.
    virtual bool computeEstimation(std::vector<Vector> const& dataColl) = 0;

    /// Appends a random minimal sample to the empty `sample`. By default `getNbMinData()` data at
    /// distinct positions, each position drawn by `std::rand() % getNbData()` and drawn again
    /// while it is taken already.
    virtual void computeDataRandomSample(std::vector<Vector>& sample) const;

    /// Writes one residual for each datum of the stored collection; the sizes are checked already.
    virtual void computeResiduals(Vector const& params, Vector& residuals) const = 0;

    /// Step before `computeEstimation`; false ends the fit. By default true.
    virtual bool preProcessing(std::vector<Vector> const& dataColl);

    /// Step after `computeEstimation`; false ends the fit. By default true.
    virtual bool postProcessing(std::vector<Vector> const& dataColl);

    /// The refit of a robust controller: `estim` of the inliers, which are the data of the stored
    /// collection whose flag is false; there is one for each. A model may save the copy of them.
    virtual bool estimInliers(std::vector<bool> const& isOutlier);

    /// Begins a fit to so many data: clears the estimated state.
    /// @throws MathError "Init estimator before use", "Not enough data to ensure nbMinData"; the
    ///         state is then kept.
    void beginEstim(std::size_t nbData);

    std::unique_ptr<Vector> _estimParams;            ///< Parameters; its size is their number.
    std::unique_ptr<Matrix> _estimCov;               ///< Covariance of the parameters.
    bool _isEstimated = false;                       ///< Set by a complete successful `estim`.
    std::unique_ptr<std::vector<Vector>> _dataColl;  ///< The stored collection.
    unsigned int _nbMinData;                         ///< Size of a minimal sample; all ones: unset.

private:
    friend class RobustCtrl;  // drives samples and inlier refits, and clears a failed estimate

    void requireInit() const;
    void requireEnough(std::size_t nbData) const;
    void requireData() const;
    void requireEstimated() const;
    void collectInliers(std::vector<bool> const& isOutlier, std::vector<Vector>& inliers) const;

    std::vector<double> _packed;  // coordinate k of datum i at k · n + i
    unsigned int _packedDimension = 0;
};
