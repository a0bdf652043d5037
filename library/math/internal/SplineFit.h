#pragma once

#include "math/BSpline.h"
#include "math/internal/PolynomialCurve.h"

#include <optional>
#include <vector>

namespace measuremath {

class NormalEquations;

/// Bands as of `BSpline::computeMetricMatrixAndBis`, and the weight of the bending.
struct FitPenalties {
    Matrix metric;
    Matrix bending;
    double smoothing;
};

/// The steps of `BSpline::refinement`, on control points of its own.
class SplineFit {
public:
    /// Fits at the parameters of the points as they are. The points must outlive this object.
    /// @throws MathError "Points do not determine the BSpline"
    SplineFit(std::vector<SplineSpan> spans, bool open, FitPenalties penalties,
              std::vector<MatchedPointInfo> const& points);

    /// One damped step from the current feet on. False when the objective has settled.
    bool improve();

    Vector const& x() const { return _state.x; }
    Vector const& y() const { return _state.y; }
    /// Writes parameters and distances.
    void exportMatches(std::vector<MatchedPointInfo>& points) const;

private:
    struct State {
        Vector x;
        Vector y;
        PolynomialCurve curve;
        std::vector<CurvePlace> feet;
        std::vector<double> squaredDistances;
        double objective;
    };

    enum class Feet { HELD, SLIDING };

    void holdIfAlone(CurvePlace end);
    State shrunkTo(PlanePoint origin) const;
    State moved(State const& from, Vector const& change) const;
    std::optional<State> step(NormalEquations equations, double damping) const;
    NormalEquations linearised(Feet feet) const;

    std::vector<SplineSpan> _spans;
    bool _open;
    FitPenalties _penalties;
    std::vector<MatchedPointInfo> const& _points;
    std::vector<bool> _isHeld;  // points that stay matched to an end of the curve
    double _damping = 1e-3;     // relative to the equations without it
    State _state;
};

}  // namespace measuremath
