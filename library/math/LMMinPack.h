#pragma once

#include "math/Export.h"
#include "math/LMSolver.h"
#include "math/Matrix.h"
#include "math/Vector.h"

/// Levenberg-Marquardt by MINPACK's `lmder`, with `covar` for the covariance.
///
/// The damping and the scaling of variables follow J. J. Moré, The Levenberg-Marquardt algorithm:
/// implementation and theory, Lecture Notes in Mathematics 630, 1978. A run needs m >= n >= 1 and a
/// limit of evaluations that is not 0: otherwise it ends at once with `ErrorEnd`, "Improper input
/// parameters", rank 0 and a covariance of zeros.
///
/// One iteration takes a Jacobian, one evaluation for the RMS, and one evaluation for each step
/// tried. Workspace is kept between runs of the same dimensions.
class MEASUREMATH_API LMMinPack : public LMSolver {
public:
    LMMinPack() = default;

    /// Bound of the first step, as a multiple of |D·x| with the scaling D, or of 1 where that is 0;
    /// 100 by default. Take 0.1 where full steps from the start go astray.
    /// @throws MathError "Invalid initial step bound, must be > 0".
    void setInitialStepBound(double initialStepBound);

protected:
    void solveSystem() override;

private:
    void allocate(int m, int n);
    int minimise(CostFun& costFun, int m, int n);
    int anaCostFun(CostFun& costFun, double const* x, double* fvec, double* fjac, int iflag);
    void evaluateResiduals(CostFun& costFun, double* fvec);
    void iterate(CostFun& costFun, double* fjac);
    void computeCov(int info, int m, int n);
    void interpretOutputFlag(int info);

    double _initialStepBound = 100.0;
    Vector _work;        // what MINPACK asks for, then its x
    Vector _params;      // what the cost function gets
    Vector _fvec;        // m residuals
    Matrix _fjac;        // n × m: the memory of MINPACK's column-major m × n Jacobian
    TVector<int> _ipvt;  // n pivots
};
