#include "math/PCAAnalysis.h"

#include "math/LinearAlgebra.h"
#include "math/internal/Moments.h"

void PCAAnalysis::computeAnalysis(unsigned int spaceSize, std::vector<Vector> const& dataColl)
{
    _analysisDone = false;
    _spaceSize = spaceSize;
    _mean = _principalValues = Vector(spaceSize);
    _cov = _principalVectors = Matrix(spaceSize, spaceSize);
    _analysisSuccess = true;
    if (!dataColl.empty()) {
        measuremath::Moments const moments =
            measuremath::momentsOf(dataColl.data(), dataColl.size(), static_cast<int>(spaceSize),
                                   "Invalid Vector size, mismatched with spaceSize");
        _mean = moments.mean;
        _cov = moments.covariance;
        _analysisSuccess = eigenValuesVectors(_cov, _principalValues, _principalVectors);
    }
    _analysisDone = true;
}

void PCAAnalysis::requireDone() const
{
    measuremath::require(_analysisDone, "Call computeAnalysis before use");
}

void PCAAnalysis::requireSuccess() const
{
    measuremath::require(getBoolAnalysisSuccess(), "Analysis failed, can't get results");
}

unsigned int PCAAnalysis::getSpaceSize() const
{
    requireDone();
    return _spaceSize;
}

bool PCAAnalysis::getBoolAnalysisSuccess() const
{
    requireDone();
    return _analysisSuccess;
}

Vector const& PCAAnalysis::getMean() const
{
    requireDone();
    return _mean;
}

Matrix const& PCAAnalysis::getCov() const
{
    requireDone();
    return _cov;
}

Vector const& PCAAnalysis::getPrincipalValues() const
{
    requireSuccess();
    return _principalValues;
}

Matrix const& PCAAnalysis::getPrincipalVectors() const
{
    requireSuccess();
    return _principalVectors;
}
