#pragma once

#include "math/Export.h"
#include "math/Vector.h"

#include <vector>

/// Random samples spread over the extent of the data: the bounding box of d-dimensional points is
/// cut into a regular grid, and a sample takes at most one point from each cell ("bucket"),
/// choosing buckets with a probability in proportion to their population.
///
///   constructed → `init` → `setDataColl`: ready to sample
///
/// `init` and `setNbBuckets` ask for the data again. Draws go through `Random.h` and are
/// repeatable for a seed. Source: Z. Zhang et al., A robust technique for matching two
/// uncalibrated images, Artificial Intelligence 78 (1995).
class MEASUREMATH_API Buckets {
public:
    Buckets();
    virtual ~Buckets();
    Buckets(Buckets const&) = delete;
    Buckets& operator=(Buckets const&) = delete;

    /// Points will have `nbDims` coordinates; 8 cells along each.
    void init(unsigned int nbDims);

    /// Number of cells along dimension `dimIdx`.
    /// @throws MathError "Call init before use", "Invalid dimension idx", "Invalid number of
    ///         buckets, should not be null"
    void setNbBuckets(unsigned int dimIdx, unsigned int nb);

    /// Copies the data and fills the buckets. O(n log n).
    /// @throws MathError "Call init before use", "Empty dataColl, can't proceed", "Invalid data
    ///         vector size", "Invalid dataColl, coordinates should be finite", "Invalid dataColl,
    ///         null bucket size throught all directions"; nothing changes then.
    void setDataColl(std::vector<Vector> const& dataColl);

    /// Number of buckets that hold a point. @throws MathError "Call init and setDataColl before use"
    unsigned int getNbValidBuckets() const;

    /// Replaces `sample` by `nbSamples` points from as many different buckets, in the order drawn.
    ///
    /// A bucket that was drawn already is drawn again. After a thousand such draws in a row, where
    /// what is left is too sparse for the generator's steps, the next bucket is taken among the
    /// unused ones alone, still in proportion to their population.
    /// @throws MathError "Call init and setDataColl before use", "Not enought valid buckets to
    ///         ensure requested number of samples"
    void getDataRandomSample(std::vector<Vector>& sample, unsigned int nbSamples) const;

protected:
    /// Sorts the data into the buckets of the grid; the upper faces of the bounding box belong to
    /// the last cells, and a dimension without extent puts every point into its last cell.
    void makeBuckets(std::vector<Vector> const& dataColl);

private:
    enum State { CONSTRUCTED, INITIALISED, READY };

    std::size_t drawBucket(std::vector<bool> const& used) const;
    std::size_t drawUnusedBucket(std::vector<bool> const& used) const;
    unsigned int population(std::size_t bucket) const
    {
        return _firsts[bucket + 1] - _firsts[bucket];
    }

    std::vector<unsigned int> _nbBuckets;  // cells along each dimension
    std::vector<Vector> _points;           // grouped by bucket, buckets in the order of their cells
    std::vector<unsigned int> _firsts;  // first point of each bucket, and one past the last point
    std::vector<double> _cumulProba;    // share of the data up to each bucket and in it
    State _state = CONSTRUCTED;
};
