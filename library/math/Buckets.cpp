#include "math/Buckets.h"

#include "math/MathError.h"
#include "math/Random.h"
#include "math/internal/Elementwise.h"

#include <algorithm>
#include <numeric>

using measuremath::require;

namespace {

// One dimension of the grid.
struct Axis {
    double min, max, width;
    unsigned int cells;

    // The width of a dimension without extent is -1: all points are at its max, in the last cell.
    unsigned int cellOf(double x) const
    {
        double const cell = (x - min) / width;
        return x != max && cell < cells ? static_cast<unsigned int>(cell) : cells - 1;
    }
};

Axis axisOf(std::vector<Vector> const& dataColl, std::size_t k, unsigned int cells)
{
    auto const isLess = [k](Vector const& a, Vector const& b) { return a[k] < b[k]; };
    auto const [low, high] = std::minmax_element(dataColl.begin(), dataColl.end(), isLess);
    double const min = (*low)[k];
    double const max = (*high)[k];
    double const width = (max - min) / cells;
    return {min, max, width == 0.0 ? -1.0 : width, cells};
}

std::vector<Axis> gridOf(std::vector<Vector> const& dataColl,
                         std::vector<unsigned int> const& nbBuckets)
{
    std::vector<Axis> grid;
    bool hasExtent = false;
    for (std::size_t k = 0; k < nbBuckets.size(); ++k) {
        grid.push_back(axisOf(dataColl, k, nbBuckets[k]));
        hasExtent = hasExtent || grid.back().width != -1.0;
    }
    require(hasExtent, "Invalid dataColl, null bucket size throught all directions");
    return grid;
}

// The cell of every datum, one index a dimension, datum after datum.
class Cells {
public:
    Cells(std::vector<Vector> const& dataColl, std::vector<Axis> const& grid) : _dims(grid.size())
    {
        _indices.reserve(dataColl.size() * _dims);
        for (Vector const& datum : dataColl)
            for (std::size_t k = 0; k < _dims; ++k) _indices.push_back(grid[k].cellOf(datum[k]));
    }

    bool isLess(std::size_t i, std::size_t j) const
    {
        return std::lexicographical_compare(at(i), at(i + 1), at(j), at(j + 1));
    }

private:
    unsigned int const* at(std::size_t i) const { return _indices.data() + i * _dims; }

    std::size_t _dims;
    std::vector<unsigned int> _indices;
};

}  // namespace

Buckets::Buckets() = default;

Buckets::~Buckets() = default;

void Buckets::init(unsigned int nbDims)
{
    _nbBuckets.assign(nbDims, 8);
    _state = INITIALISED;
}

void Buckets::setNbBuckets(unsigned int dimIdx, unsigned int nb)
{
    require(_state != CONSTRUCTED, "Call init before use");
    require(dimIdx < _nbBuckets.size(), "Invalid dimension idx");
    require(nb != 0, "Invalid number of buckets, should not be null");
    _nbBuckets[dimIdx] = nb;
    _state = INITIALISED;
}

void Buckets::setDataColl(std::vector<Vector> const& dataColl)
{
    require(_state != CONSTRUCTED, "Call init before use");
    require(!dataColl.empty(), "Empty dataColl, can't proceed");
    for (Vector const& datum : dataColl)
        require(datum.size() == _nbBuckets.size(), "Invalid data vector size");
    for (Vector const& datum : dataColl)
        require(measuremath::allFinite(datum.begin(), datum.size()),
                "Invalid dataColl, coordinates should be finite");

    makeBuckets(dataColl);
    _state = READY;
}

void Buckets::makeBuckets(std::vector<Vector> const& dataColl)
{
    Cells const cells(dataColl, gridOf(dataColl, _nbBuckets));
    std::vector<std::size_t> order(dataColl.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&cells](std::size_t i, std::size_t j) { return cells.isLess(i, j); });

    std::vector<Vector> points;
    std::vector<unsigned int> firsts;
    points.reserve(order.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (i == 0 || cells.isLess(order[i - 1], order[i]))
            firsts.push_back(static_cast<unsigned int>(i));
        points.push_back(dataColl[order[i]]);
    }
    firsts.push_back(static_cast<unsigned int>(order.size()));

    std::vector<double> cumulProba;
    double const share = 1.0 / static_cast<double>(order.size());
    double sum = 0.0;
    for (std::size_t b = 0; b + 1 < firsts.size(); ++b)
        cumulProba.push_back(sum += (firsts[b + 1] - firsts[b]) * share);

    _points.swap(points);
    _firsts.swap(firsts);
    _cumulProba.swap(cumulProba);
}

unsigned int Buckets::getNbValidBuckets() const
{
    require(_state == READY, "Call init and setDataColl before use");
    return static_cast<unsigned int>(_cumulProba.size());
}

void Buckets::getDataRandomSample(std::vector<Vector>& sample, unsigned int nbSamples) const
{
    require(nbSamples <= getNbValidBuckets(),
            "Not enought valid buckets to ensure requested number of samples");
    sample.clear();
    std::vector<bool> used(_cumulProba.size(), false);
    while (sample.size() < nbSamples) {
        std::size_t const bucket = drawBucket(used);
        used[bucket] = true;
        sample.push_back(_points[_firsts[bucket] + rand(0U, population(bucket))]);
    }
}

std::size_t Buckets::drawBucket(std::vector<bool> const& used) const
{
    constexpr int mostRejections = 1000;  // then the shares of the unused buckets are summed
    for (int rejections = 0; rejections < mostRejections; ++rejections) {
        auto const found = std::lower_bound(_cumulProba.begin(), _cumulProba.end(), randGene());
        auto const bucket = static_cast<std::size_t>(found - _cumulProba.begin());
        // Rounding may leave the last share just below 1.
        std::size_t const drawn = std::min(bucket, _cumulProba.size() - 1);
        if (!used[drawn]) return drawn;
    }
    return drawUnusedBucket(used);
}

std::size_t Buckets::drawUnusedBucket(std::vector<bool> const& used) const
{
    double total = 0.0;
    for (std::size_t b = 0; b < used.size(); ++b) total += used[b] ? 0 : population(b);
    double const target = randGene() * total;
    std::size_t drawn = 0;
    double sum = 0.0;
    for (std::size_t b = 0; b < used.size(); ++b) {
        if (used[b]) continue;
        drawn = b;
        sum += population(b);
        if (sum >= target) break;
    }
    return drawn;
}
