#pragma once

#include "math/Export.h"
#include "math/TArray.h"
#include "math/Vector.h"

#include <vector>

namespace measuremath {
class BoxGrid;
}

/// Convex polyhedron given by the planes that bound it.
///
/// A plane (a, b, c, d) bounds the half-space a·x + b·y + c·z + d <= epsilon: its normal (a, b, c),
/// of any length, points outward. The tolerance epsilon is in the units of that expression, which
/// are those of the coordinates where the normals are unit vectors; it is 2^-26 unless set.
///
/// From the planes follow the vertices ("tops"), the vertices of each face in order, the bounding
/// box and an estimate of the volume. Vertices and faces are computed when first asked for and kept
/// until a plane is added; a change of the tolerance leaves them as they are. An object is for one
/// thread at a time, its const members included.
///
/// Planes and results are logged through `g_MathLogger` at level 20000, progress at level 0.
///
/// Measures on n planes and v vertices: the vertices take about n² steps and one linear solution
/// each, and n³ / 6 solutions where all planes are nearly parallel or of very different lengths of
/// normal; the faces take n·v.
class MEASUREMATH_API ConvexPolyedron {
public:
    /// No plane.
    ConvexPolyedron() = default;

    /// Tolerance of the tests "inside" and "on a plane"; any value is taken as it is.
    void setEpsilon(double epsilon) { _epsilon = epsilon; }
    double getEpsilon() const { return _epsilon; }  ///< @copydoc setEpsilon

    /// Adds the plane (a, b, c, d). A null normal bounds nothing where d <= epsilon, and leaves
    /// nothing inside elsewhere.
    /// @throws MathError "ConvexPolyedron::addPlane : Bad vector size." unless it has 4 elements;
    ///         "ConvexPolyedron::addPlane : Not finite." for an infinity or a NaN.
    void addPlane(Vector const& plane);

    /// Adds the plane through three points, with the outward normal (p2 - p1) × (p3 - p1): seen
    /// from outside, the points turn anticlockwise. Points in one line give a null normal.
    ///
    /// @param offset  the plane goes through p1 - offset·n with n the unit normal: a positive
    ///                offset moves it inward and shrinks the body. Up to epsilon in magnitude it
    ///                is ignored, and the normal then keeps the length of the cross product.
    /// @throws MathError "ConvexPolyedron::addPlane : Bad vector size." unless the points have 3
    ///         elements; "ConvexPolyedron::addPlane : Not finite.".
    void addPlane(Vector const& p1, Vector const& p2, Vector const& p3, double offset);

    /// Number of planes.
    unsigned int getNbPlanes() const { return static_cast<unsigned int>(_listOfPlanes.size()); }

    /// Plane `i`.
    /// @throws MathError "ConvexPolyedron::getPlane : Plane not in _listOfPlanes !"
    template <class I, measuremath::IfIndex<I> = 0>
    Vector getPlane(I i) const
    {
        return planeAt(measuremath::indexValue(i));
    }

    /// True when no plane has the point outside by more than epsilon.
    /// @throws MathError "ConvexPolyedron::contain : Liste of plane is empty."
    bool contain(double const& x, double const& y, double const& z) const;

    /// As above, for a point of 3 elements.
    /// @throws MathError "ConvexPolyedron::contain : Bad vector size.", then as above.
    bool contain(Vector const& p) const;

    /// The vertices, in the order of the triples of planes that meet in them. One in which more
    /// than three planes meet is listed once for each triple. Fewer than three planes have none.
    std::vector<Vector> getTops() const { return tops(); }

    /// Number of vertices, repeated ones included.
    unsigned int getNbTops() const { return static_cast<unsigned int>(tops().size()); }

    /// Vertex `i`.
    /// @throws MathError "ConvexPolyedron::getTop : Vertex not in _listOfVertices !"
    template <class I, measuremath::IfIndex<I> = 0>
    Vector getTop(I i) const
    {
        return topAt(measuremath::indexValue(i));
    }

    /// The vertices of face `i`, those nearer to its plane than epsilon, clockwise as seen from
    /// outside. Vertices in exactly the same direction from the face's centroid are listed once.
    /// @throws MathError "ConvexPolyedron::getTopsOnPlane : Plane not in _listOfPlanes !"
    template <class I, measuremath::IfIndex<I> = 0>
    std::vector<Vector> getTopsOnPlane(I i) const
    {
        return topsOnPlaneAt(measuremath::indexValue(i));
    }

    /// The smallest box with its edges along the axes that holds all vertices.
    /// @param[out] min,max  3 elements each; untouched on failure.
    /// @throws MathError in this order: "ConvexPolyedron::computeBoundingBox : Liste of plane is
    ///         empty."; "ConvexPolyedron::computeBoundingBox : Bad vector size.";
    ///         "ConvexPolyedron::computeBoundingBox : Le polyedre est vide." without a vertex.
    void computeBoundingBox(Vector& min, Vector& max) const;

    /// Volume from the share of inside points among those of a grid over the bounding box.
    ///
    /// Each axis has the points min, min + step, (min + step) + step, ... up to max; work grows
    /// with the number of rows along the longest axis times the number of planes. The share is
    /// that of (extent / step + 1) points an axis, truncated: a step that divides an extent may
    /// lose the last layer to the rounding of the sums, and the volume with it. Take one that does
    /// not.
    ///
    /// @param step  distance of grid points, in the units of the coordinates.
    /// @throws MathError as computeBoundingBox does; "ConvexPolyedron::computeVolume : Bad step."
    ///         unless it is positive and finite; "ConvexPolyedron::computeVolume : Step too small."
    ///         when it vanishes beside the coordinates, or for more than 2^40 points, or 2^24
    ///         along one axis.
    double computeVolume(double step) const;

    /// As computeVolume, with a bound of its error.
    ///
    /// A cell is the cube of side `step` about a grid point. Inside points whose cell has a corner
    /// outside are the boundary points.
    ///
    /// @param[out] maxErr  half the share of boundary points among the inside points, in percent;
    ///                     NaN when no point is inside. Untouched on failure.
    /// @throws MathError as computeVolume does, with the same texts.
    double computeVolumeAndMaxErr(double& maxErr, double step) const;

protected:
    /// Appends the vertices of the planes to `_listOfVertices`, which is not emptied first.
    void computeTops() const;

    /// Fills `_topsByPlane` from `_listOfVertices`.
    void computeTopsByPlane() const;

    std::vector<Vector> _listOfPlanes;            ///< (a, b, c, d) each.
    mutable std::vector<Vector> _listOfVertices;  ///< Empty: not yet computed.

    /// For each plane the indices of its vertices, in angular order; empty: not yet computed.
    mutable std::vector<std::vector<unsigned int>> _topsByPlane;

    double _epsilon = 1.4901161193847656e-08;  ///< 2^-26, the square root of the machine epsilon.

private:
    std::vector<Vector> const& tops() const;
    std::vector<Vector> findTops() const;
    measuremath::BoxGrid boundingGrid(double step) const;
    Vector planeAt(long long i) const;
    Vector topAt(long long i) const;
    std::vector<Vector> topsOnPlaneAt(long long i) const;
};
