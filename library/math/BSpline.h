#pragma once

/// @file
/// Planar B-spline curves: evaluation, sampling and fitting to measured points.
///
///   k        order; the pieces are polynomials of degree k - 1
///   b_j      break points, increasing; span j is [b_j, b_{j+1}], and u = s - b_j within it
///   m_j      multiplicity of b_j as a knot; the curve is C^(k-1-m_j) there
///   t_i      knots: every b_j repeated m_j times
///   n        number of basis functions N_i, which is that of the control points P_i
///   C(s)     the curve, Σ_i N_i(s) · P_i
///
/// An open curve is clamped: its end points have multiplicity k, so that it starts at the first
/// control point and ends at the last. A closed curve is periodic over L = b_last - b_0: its knots
/// go on as t_{i+n} = t_i + L and its control points as P_{i+n} = P_i, so that it is as smooth at
/// the seam as m_0 says.

#include "math/Export.h"
#include "math/Matrix.h"
#include "math/Vector.h"
#include "pix/ListPoint.h"
#include "pix/Point.h"

#include <iosfwd>
#include <vector>

namespace measuremath {
struct SplineSpan;
}

/// A measured point and its match on a curve.
struct MatchedPointInfo {
    Pix::Point<double> point;  ///< Where it was measured.
    double weight = 1.0;       ///< Weight of its squared distance, >= 0; 1 / variance is the best.
    double s = 0.0;            ///< Parameter of its foot on the curve.
    double distance = 0.0;     ///< From the point to its foot.
};

/// Planar B-spline curve over given break points, open or closed.
///
///   constructed → `init`: structure known → `setOrChangeControlPoints` or a fit: curve known
///
/// On every span the basis functions that are not zero are held as polynomials in u, in the span
/// matrix, so that a point of the curve is a product of the powers of u, that matrix and k control
/// points (de Boor, A Practical Guide to Splines).
///
/// `init` takes what it is given. Where that is no B-spline (an order below 1, fewer than two break
/// points, break points that do not increase or are not finite, negative multiplicities, an open
/// curve with fewer control points than its order), the curve has no span matrices, and whatever
/// needs them says "Invalid BSpline, check order, break points and multiplicities". Keep the spans
/// much longer than `eps`, by the choice of the parameter's unit.
class MEASUREMATH_API BSpline {
public:
    /// Tolerance on parameters: one as near to the last break point lies on the last span, and
    /// knots as near to each other count as one in the recursion.
    static constexpr double eps = 1e-05;

    BSpline() = default;
    BSpline(BSpline const& other) = default;             ///< Copies the other.
    BSpline& operator=(BSpline const& other) = default;  ///< Takes over the contents of the other.
    virtual ~BSpline() = default;

    /// Sets the structure of the curve; the control points stay as they are.
    /// @param knotMultiplicities  of each break point as a knot; a list too short is continued with
    ///        1, one too long is cut. The ends are set: to `order` on an open curve, the last one
    ///        to the first one on a closed curve.
    /// @throws MathError "Invalid array size", with the curve unchanged, when a count is so large
    ///         that no array holds it.
    void init(int order, Vector const& breakPoints, std::vector<int> const& knotMultiplicities,
              bool open);

    int getOrder() const { return _order; }                        ///< k.
    bool getOpen() const { return _open; }                         ///< False: the curve is closed.
    double getMaxS() const { return _maxS; }                       ///< The largest parameter.
    int getNbSpans() const { return _nbSpans; }                    ///< Number of spans.
    int getNbKnots() const { return _nbKnots; }                    ///< Number of knots held.
    int getNbBSplines() const { return _nbBSplines; }              ///< n.
    Vector const& getBreakPoints() const { return _breakPoints; }  ///< The b_j.
    /// The m_j.
    std::vector<int> const& getKnotMultiplicities() const { return _knotMultiplicities; }
    Vector const& getKnots() const { return _knots; }  ///< The t_i; one period on a closed curve.
    /// A k × k matrix for each span: row r has the coefficients of u^r, column c the basis function
    /// of the span's control point c.
    std::vector<Matrix> const& getVectorSpanMatrix() const { return _spanMatrices; }
    std::vector<Vector> const& getControlPoints() const { return _controlPoints; }  ///< The P_i.
    Vector const& getXControlPoints() const { return _xControlPoints; }  ///< First coordinates.
    Vector const& getYControlPoints() const { return _yControlPoints; }  ///< Second coordinates.
    double getDiscreteStep() const { return _discreteStep; }             ///< See `setDiscreteStep`.
    /// See `computeMetricMatrixAndBis`.
    Matrix const& getMetricMatrix() const { return _metricMatrix; }
    /// See `computeMetricMatrixAndBis`.
    Matrix const& getMetricMatrixBis() const { return _metricMatrixBis; }

    /// The smoothing weight without its fraction: the default of 0.1 reads as 0. Kept for callers
    /// that count on an int.
    int getSmoothParam() const { return static_cast<int>(_smoothParam); }

    /// Weight λ of the bending in a fit, see `refinement`; 0.1 by default.
    void setSmoothParam(double smoothParam) { _smoothParam = smoothParam; }
    /// Stores the order alone; `init` must follow before the curve is evaluated.
    void setOrder(int order) { _order = order; }
    /// Stores the kind alone; `init` must follow for the structure to change.
    void setOpen(bool open) { _open = open; }
    /// Largest step in s between the samples that start the search for the nearest point of the
    /// curve; 0.1 by default. Recomputes the metric matrices.
    void setDiscreteStep(double discreteStep);

    /// Sets the control points: the first n of `points`, followed by (0, 0) up to n.
    /// @param points  x and y in the first two elements of each.
    /// @throws MathError "Uninitialized  BSpline , use init()"; "Invalid control point size" when a
    ///         point has fewer than two elements.
    void setOrChangeControlPoints(std::vector<Vector> const& points);

    /// @name Evaluation
    /// A parameter below the first break point continues the first span.
    /// @throws MathError "Uninitialized  BSpline , use init()"; "Invalid BSpline, check order, break
    ///         points and multiplicities"; "Too few control points, use setOrChangeControlPoints()";
    ///         "Bad parameter value" above the last break point by more than `eps`.
    /// @{

    /// The point C(s).
    Vector computeCurvePoint(double s) const;

    /// C'(s) / |C'(s)|; NaN where the derivative is zero.
    Vector computeTangentToCurve(double s) const;

    /// The unit tangent turned by +90 degrees: it points to the left of the curve.
    Vector computeNormalToCurve(double s) const;

    /// @}
    /// @name Sampling
    /// Replace `list` by the points at s = 0, step, 2·step, ... below `getMaxS()`, the parameter
    /// summed up, and the end point of an open curve. Take `step > 0`, and large enough to change
    /// every s: any other step goes on until memory ends, which only an assert prevents.
    /// @throws MathError as evaluation does, with `list` unchanged.
    /// @{

    void splineToCurve(Pix::ListPoint<double>& list, double step) const;

    /// The same points, several times faster, when no span is shorter than `step`. The current span
    /// advances by at most one a sample: after a longer step the points lie on the continued
    /// polynomial of an earlier span.
    void fastSplineToCurve(Pix::ListPoint<double>& list, double step) const;

    /// @}

    /// Prints the basis, to check it: for s = 0, 0.05, 0.10, ... up to `getMaxS()` a line with s,
    /// the values of N_0 to N_{n-1} and their sum, which is 1 from the first break point on. The
    /// numbers take the stream's formatting. A closed curve with n < k shows for each control point
    /// the sum of the basis functions that fall on it.
    /// @throws MathError as evaluation does, but no control points are needed; "BSpline too long to
    ///         display" when steps of 0.05 are lost in the rounding of `getMaxS()`, from 2^49 on.
    void display(std::ostream& os) const;

    /// @name Fitting to measured points
    /// The fit minimises over the control points, with s_i the parameter of the foot of point i,
    ///
    ///     E = Σ_i weight_i · |point_i - C(s_i)|² + λ ∫ |C''(s)|² ds,
    ///
    /// the bending being that of O'Sullivan 1986 (see Eilers and Marx, Statistical Science 1996).
    /// A curve of n control points is fitted in O(points · k²) + O(n³) a step.
    /// @{

    /// Matches each point to the nearest one of the curve: the nearest of samples at most
    /// `getDiscreteStep()` apart, then Newton's method within spans, which never increases the
    /// distance. Take a step fine enough to tell the branches of the curve apart; more than 10^4
    /// samples a span are never taken.
    /// @param points  x and y in the first two elements of each.
    /// @throws MathError as evaluation does; "Invalid measured point" when a point has fewer than
    ///         two elements or is not finite; "Invalid discrete step" unless it is positive.
    std::vector<MatchedPointInfo> initMatchedPoints(std::vector<Vector> const& points) const;

    /// Matches a sequence of points, in order along the curve, in proportion to the length of the
    /// chords between them. The first point is matched to the first break point; on an open curve
    /// the last one to the last. Needs no control points: it begins a fit from nothing. The
    /// distances stay 0.
    /// @throws MathError as `initMatchedPoints` does; "Measured points coincide" when all do.
    std::vector<MatchedPointInfo> initMatchedPointsByChordLength(
        std::vector<Vector> const& points) const;

    /// Fits the control points, and matches the points anew, until the distances settle.
    ///
    /// The first step solves the penalised linear least squares for the parameters as given; the
    /// curve's own control points play no part. Each further step linearises the distances about
    /// the current feet, where a foot slides along the tangent (orthogonal distance fitting; tangent
    /// distance minimisation of Wang, Pottmann and Liu, ACM TOG 2006), damped by the metric
    /// ∫ |ΔC|² ds, solves by Cholesky and matches each point from its last foot on. A step that does
    /// not decrease E is taken back and damped more. A point that alone is matched to an end of an
    /// open curve stays there, which keeps the curve from growing beyond the data.
    /// @param[in,out] matchedPoints  parameters to start from; on return those of the fit.
    /// @param nbIterMax  limit on the steps; 1 is the linear fit alone, which always is made.
    /// @return the root mean square distance, √(Σ weight · distance² / Σ weight).
    /// @throws MathError, with curve and points unchanged, "Uninitialized  BSpline , use init()";
    ///         "Invalid BSpline, check order, break points and multiplicities"; "Invalid measured
    ///         point" for a value that is not finite, a negative weight or a parameter off the
    ///         curve; "Invalid smoothing parameter" unless it is >= 0 and finite; "Too few points to
    ///         fit the BSpline" when fewer points have a weight than there are control points (two,
    ///         with smoothing); "Points do not determine the BSpline" when a part of the curve has
    ///         no points and no smoothing (an order of 2 has no bending).
    double refinement(std::vector<MatchedPointInfo>& matchedPoints, int nbIterMax = 100);

    /// `refinement` for points of which a part lies far off the curve: weights are multiplied by
    /// Huber's, then by Tukey's function of distance / scale, with the scale 1.4826 · median of the
    /// distances (Holland and Welsch 1977), and the fit repeated until the scale settles: first by
    /// linear fits and matching anew, then as `refinement` does.
    /// @param[in,out] matchedPoints  as for `refinement`; on return the weights are the products,
    ///        0 for points that were rejected.
    /// @return the root mean square distance with these weights.
    /// @throws MathError as `refinement` does.
    double robustRefinement(std::vector<MatchedPointInfo>& matchedPoints, int nbIterMax = 100);

    /// Fills the two symmetric n × k band matrices of the fit: row i, column c of the metric matrix
    /// is ∫ N_i N_{i+c} ds, and of the second ("bis") ∫ N_i'' N_{i+c}'' ds. They are exact: Gauss
    /// quadrature with k nodes a span integrates these polynomials to rounding, so that no sampling
    /// step enters. On a closed curve N_{i+c} belongs to control point (i + c) mod n. Every `init`
    /// calls it.
    void computeMetricMatrixAndBis();

    /// @}

protected:
    /// Everything that follows from order, break points and multiplicities, in this order: the
    /// counts and knots through the functions below, span matrices and metric matrices.
    virtual void computeAttributes();
    virtual void computeNbSpans();     ///< Sets `_nbSpans`.
    virtual void computeMaxS();        ///< Sets `_maxS`.
    virtual void computeNbKnots();     ///< Sets `_nbKnots`.
    virtual void computeNbBSplines();  ///< Sets `_nbBSplines`.

    void setBreakPoints(Vector const& breakPoints);  ///< Copies the break points.
    /// As `init` describes; order, kind and break points must have been set.
    void setKnotMultiplicities(std::vector<int> const& knotMultiplicities);
    void initKnots();     ///< `_nbKnots` zeros.
    void computeKnots();  ///< Every break point as many times as its multiplicity says.
    /// Splits the control points into their coordinates.
    void computeXYControlPoints();

    /// The span that s lies on. @throws MathError "Bad parameter value"
    int spanNumber(double s) const;
    /// Index of the control point of column 0 of a span's matrix; column c has the c-th after it,
    /// modulo n on a closed curve.
    int firstSplineIndex(int span) const;

    /// @name Powers of u for derived classes: P[r] = d^n/du^n u^r, with n = 0 to 3
    /// @throws MathError "Size Error on param powers vector" unless P has k elements.
    /// @{
    void computeParamPowers(double u, Vector& P) const;                 ///< The powers themselves.
    void computeDerivatedParamPowers(double u, Vector& P) const;        ///< First derivatives.
    void computeSecondDerivatedParamPowers(double u, Vector& P) const;  ///< Second derivatives.
    void computeThirdDerivatedParamPowers(double u, Vector& P) const;   ///< Third derivatives.
    /// @}

    /// P[r] = r! / (r - n)! · w_r for r >= n, 0 below, with w_n = 1 and w_{r+1} the integer part of
    /// w_r · u: the derivative's powers for an integer u only. Kept: derived classes rely on it.
    /// @throws MathError "Size Error on derivative param powers vector" unless P has k elements,
    ///         "Erroneous param nth" for n < 1, "Erroneous BSpline order" for k < 2.
    void computeDerivParamPowers(double u, int n, Vector& P) const;

    void initVectorSpanMatrix();     ///< A k × k zero matrix for each span.
    void computeVectorSpanMatrix();  ///< Computes them all; leaves none when there is no B-spline.
    void computeSpanMatrix(int span);   ///< Computes one, of an open curve.
    void computeSpanMatrixC(int span);  ///< Computes one, of a closed curve.

    double _smoothParam = 0.1;             ///< λ of the fit.
    int _order = 0;                        ///< k.
    bool _open = true;                     ///< False: closed.
    double _maxS = 0.0;                    ///< The largest parameter.
    int _nbSpans = 0;                      ///< Number of spans.
    int _nbKnots = 0;                      ///< Number of knots.
    int _nbBSplines = 0;                   ///< n.
    Vector _breakPoints;                   ///< The b_j.
    std::vector<int> _knotMultiplicities;  ///< The m_j.
    Vector _knots;                         ///< The t_i.
    std::vector<Matrix> _spanMatrices;     ///< One a span.
    std::vector<Vector> _controlPoints;    ///< The P_i.
    Vector _xControlPoints;                ///< Their first coordinates.
    Vector _yControlPoints;                ///< Their second coordinates.
    double _discreteStep = 0.1;            ///< Step of the coarse search of the fit.
    Matrix _metricMatrix;                  ///< Band of ∫ N_i N_j ds.
    Matrix _metricMatrixBis;               ///< Band of ∫ N_i'' N_j'' ds.
    bool _isInit = false;                  ///< Set by `init`.

private:
    void requireInit() const;
    bool hasSpanMatrices() const;
    void requireSpanMatrices() const;
    void requireCurve() const;
    void requireSampling(double step) const;
    void requireFittable(std::vector<MatchedPointInfo> const& points) const;
    bool hasValidBreakPoints() const;
    bool hasValidKnots() const;
    void computeFirstIndices();
    measuremath::SplineSpan spanOf(int span) const;
    std::vector<measuremath::SplineSpan> spans() const;
    template <int derivative>
    Pix::Point<double> evaluate(double s) const;
    Pix::Point<double> unitTangent(double s) const;
    void setControlCoordinates(Vector const& x, Vector const& y);

    std::vector<int> _firstIndices;  // of each span, before the modulo of closed curves
};

/// Uniform B-spline curve: its break points are 0, 1, 2, ..., all simple knots but for the clamped
/// ends of an open curve, and its structure follows from the number of control points.
///
/// n control points make n - k + 1 spans on an open curve, n on a closed one.
class MEASUREMATH_API BSplineSimple : public BSpline {
public:
    /// Sets the curve. Before a fit any points of the right number serve.
    /// @param controlPoints  x and y in the first two elements of each.
    /// @throws MathError "Invalid control point size" when a point has fewer than two elements;
    ///         "Invalid array size" as `BSpline::init`.
    void init(int order, std::vector<Vector> const& controlPoints, bool open);

protected:
    void computeAttributes() override;
    void computeNbSpans() override;
    void computeMaxS() override;
    void computeNbKnots() override;
    void computeNbBSplines() override;
};
