#include "math/Estimator.h"

#include "math/MathError.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <limits>

using measuremath::require;

namespace {

constexpr unsigned int unset = std::numeric_limits<unsigned int>::max();

// The size that all data share; 0 when they differ.
unsigned int commonSize(std::vector<Vector> const& dataColl)
{
    unsigned int const size = dataColl.front().size();
    bool const same = std::all_of(dataColl.begin(), dataColl.end(),
                                  [size](Vector const& datum) { return datum.size() == size; });
    return same ? size : 0;
}

std::vector<double> packed(std::vector<Vector> const& dataColl, unsigned int dimension)
{
    std::size_t const n = dataColl.size();
    std::vector<double> coordinates(n * dimension);
    for (std::size_t i = 0; i < n; ++i) {
        double const* const datum = dataColl[i].begin();
        for (unsigned int k = 0; k < dimension; ++k) coordinates[k * n + i] = datum[k];
    }
    return coordinates;
}

}  // namespace

Estimator::Estimator()
    : _estimParams(std::make_unique<Vector>()),
      _estimCov(std::make_unique<Matrix>()),
      _dataColl(std::make_unique<std::vector<Vector>>()),
      _nbMinData(unset)
{
}

Estimator::~Estimator() = default;

void Estimator::requireInit() const
{
    require(_nbMinData != unset, "Init estimator before use");
}

void Estimator::requireEnough(std::size_t nbData) const
{
    require(nbData >= _nbMinData, "Not enough data to ensure nbMinData");
}

void Estimator::requireData() const
{
    require(!_dataColl->empty(), "Set DataColl before use");
}

void Estimator::requireEstimated() const
{
    require(_isEstimated, "Call estim before use");
}

unsigned int Estimator::getNbMinData() const
{
    requireInit();
    return _nbMinData;
}

unsigned int Estimator::getNbParams() const
{
    require(!_estimParams->empty(), "Init estimator before use");
    return _estimParams->size();
}

unsigned int Estimator::getNbData() const
{
    requireData();
    return static_cast<unsigned int>(_dataColl->size());
}

Vector const& Estimator::getEstimParams() const
{
    requireEstimated();
    return *_estimParams;
}

Matrix const& Estimator::getEstimCov() const
{
    requireEstimated();
    return *_estimCov;
}

std::vector<Vector> const& Estimator::getDataColl() const
{
    requireData();
    return *_dataColl;
}

double const* Estimator::getPackedCoordinate(unsigned int k) const
{
    require(k < _packedDimension, "Invalid data vector size in collection");
    return _packed.data() + k * _dataColl->size();
}

void Estimator::requireDataSize(std::vector<Vector> const& dataColl, unsigned int size)
{
    for (Vector const& datum : dataColl)
        require(datum.size() == size, "Invalid data vector size in collection");
}

void Estimator::init(unsigned int nbParams, unsigned int nbMinData)
{
    require(nbParams != 0, "NbParams should not be null");
    require(nbMinData != 0, "NbMinData should not be null");

    Matrix const covariance(nbParams, nbParams, Matrix::IDENTITY);
    *_estimParams = Vector(nbParams, Vector::ZERO);
    *_estimCov = covariance;
    _nbMinData = nbMinData;
}

void Estimator::setDataColl(std::vector<Vector> const& dataColl)
{
    requireInit();
    requireEnough(dataColl.size());

    unsigned int const dimension = commonSize(dataColl);
    std::vector<double> coordinates = packed(dataColl, dimension);
    std::vector<Vector> copy = dataColl;

    _dataColl->swap(copy);
    _packed.swap(coordinates);
    _packedDimension = dimension;
    _isEstimated = false;
}

bool Estimator::estim()
{
    return estim(getDataColl());
}

void Estimator::beginEstim(std::size_t nbData)
{
    requireInit();
    requireEnough(nbData);
    _isEstimated = false;
}

bool Estimator::estim(std::vector<Vector> const& dataColl)
{
    beginEstim(dataColl.size());
    _isEstimated =
        preProcessing(dataColl) && computeEstimation(dataColl) && postProcessing(dataColl);
    return _isEstimated;
}

void Estimator::getResiduals(Vector const& params, Vector& residuals) const
{
    require(residuals.size() == getNbData(), "Invalid residuals vector size");
    require(params.size() == _estimParams->size(), "Invalid params vector size");
    computeResiduals(params, residuals);
}

void Estimator::getDataRandomSample(std::vector<Vector>& sample) const
{
    requireInit();
    requireData();
    sample.clear();
    computeDataRandomSample(sample);
}

void Estimator::computeDataRandomSample(std::vector<Vector>& sample) const
{
    std::vector<Vector> const& data = *_dataColl;
    std::vector<std::size_t> drawn;
    drawn.reserve(_nbMinData);
    while (sample.size() < _nbMinData) {
        std::size_t const i = static_cast<std::size_t>(std::rand()) % data.size();
        if (std::find(drawn.begin(), drawn.end(), i) != drawn.end()) continue;
        drawn.push_back(i);
        sample.push_back(data[i]);
    }
}

bool Estimator::preProcessing(std::vector<Vector> const& /*dataColl*/)
{
    return true;
}

bool Estimator::postProcessing(std::vector<Vector> const& /*dataColl*/)
{
    return true;
}

bool Estimator::estimInliers(std::vector<bool> const& isOutlier)
{
    std::vector<Vector> inliers;
    collectInliers(isOutlier, inliers);
    return estim(inliers);
}

void Estimator::collectInliers(std::vector<bool> const& isOutlier,
                               std::vector<Vector>& inliers) const
{
    assert(isOutlier.size() == _dataColl->size());
    inliers.clear();
    inliers.reserve(
        static_cast<std::size_t>(std::count(isOutlier.begin(), isOutlier.end(), false)));
    for (std::size_t i = 0; i < isOutlier.size(); ++i)
        if (!isOutlier[i]) inliers.push_back((*_dataColl)[i]);
}
