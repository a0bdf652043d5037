#pragma once

#include "math/internal/HalfSpace.h"
#include "math/internal/Vec3.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace measuremath {

/// Tells which triples of planes can meet in a point inside all half-spaces, without solving them.
///
/// Two planes meet in a line; the half-spaces clip it to an edge, mostly to nothing; a third plane
/// can only matter where it touches that edge. All tests are widened by a bound of their own
/// rounding and of that of the later solution by LU factors with partial pivoting (Higham, Accuracy
/// and Stability of Numerical Algorithms, 2nd edition, 2002, theorem 9.4): what is left out is
/// certain to be outside or without a solution.
class EdgeClipper {
public:
    /// @param tolerance  values up to it count as inside.
    EdgeClipper(std::vector<HalfSpace> const& planes, double tolerance);

    /// The planes k > j, ascending, for which i, j, k may meet inside; overwrites `thirds`.
    void thirdPlanes(std::size_t i, std::size_t j, std::vector<std::size_t>& thirds);

private:
    // A half-space scaled to a unit normal n, with the rounding that d brings: inside means
    // n·p <= most, on the plane means n·p >= least.
    struct Face {
        Vec3 n;
        double d;
        double most;
        double least;
    };

    // The points point + t·dir with low <= t <= high; dir is a unit vector. The value of a face
    // at the solution that belongs to t is uncertain by uncertainty · (reach + |t|).
    struct Edge {
        Vec3 point;
        Vec3 dir;
        double reach;
        double uncertainty;
        double low;
        double high;

        bool isEmpty() const { return low > high; }
    };

    std::optional<Edge> edge(Face const& f, Face const& g);
    void clip(Edge& e);
    static bool touches(Edge const& e, Face const& f);
    bool mayMeet(Face const& f, Face const& g, Face const& h);

    std::vector<Face> _faces;
    std::vector<std::size_t> _clippers;  // the faces, those first that ended an edge of late
    double _uncertainty;  // of the solution of three perpendicular planes, relative to its size
};

}  // namespace measuremath
