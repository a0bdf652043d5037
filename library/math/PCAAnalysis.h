#pragma once

#include "math/Export.h"
#include "math/Matrix.h"
#include "math/Vector.h"

#include <vector>

/// Principal component analysis of points of d coordinates: mean, covariance, and the directions
/// and variances of the principal axes.
class MEASUREMATH_API PCAAnalysis {
public:
    /// Analyses the points, in one pass over them; their distance from the origin costs no
    /// accuracy. No point at all gives zeros everywhere and counts as success.
    ///
    /// @param spaceSize  d
    /// @throws MathError "Invalid Vector size, mismatched with spaceSize" unless every point has d
    ///         coordinates; no analysis is available then.
    void computeAnalysis(unsigned int spaceSize, std::vector<Vector> const& dataColl);

    /// @name Results
    /// @throws MathError "Call computeAnalysis before use"
    /// @{
    unsigned int getSpaceSize() const;    ///< d
    bool getBoolAnalysisSuccess() const;  ///< False when the eigen decomposition failed.
    Vector const& getMean() const;        ///< d elements.
    Matrix const& getCov() const;  ///< d × d, of the population: divided by the number of points.
    /// @}
    /// @name Principal axes
    /// @throws MathError "Call computeAnalysis before use", "Analysis failed, can't get results"
    /// @{
    Vector const& getPrincipalValues() const;   ///< d variances, ascending.
    Matrix const& getPrincipalVectors() const;  ///< d × d, the axis of value i in column i.
    /// @}

private:
    void requireDone() const;
    void requireSuccess() const;

    bool _analysisDone = false;
    bool _analysisSuccess = false;
    unsigned int _spaceSize = 0;
    Vector _mean;
    Matrix _cov;
    Vector _principalValues;
    Matrix _principalVectors;
};
