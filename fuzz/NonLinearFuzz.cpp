#include "FuzzInput.h"
#include "math/CostFun.h"
#include "math/Kalman.h"
#include "math/LMMinPack.h"
#include "math/Powell.h"
#include "math/SVDSolver.h"

#include <stdexcept>

namespace {

struct Interruption : std::runtime_error {
    Interruption() : std::runtime_error("by the user's function") {}
};

// r = A·x + |x|²·q - b, but for one evaluation that gives any number and one that throws.
struct Residuals : CostFun {
    Matrix A;
    Vector q, b;
    int replaced = -1;  // the evaluation, -1: none
    double replacement = 0.0;
    int thrown = -1;

    explicit Residuals(FuzzInput& input)
    {
        int const m = input.integer(1, 8);
        int const n = input.integer(1, 6);
        initCostFun(static_cast<unsigned int>(m), static_cast<unsigned int>(n));
        setBoolAnaDer(false);
        A = Matrix(m, n);
        for (double& a : A) a = input.coordinate();
        b = input.point(m);
        q = input.flag() ? 0.125 * input.point(m) : Vector(m);
        if (input.flag()) {
            replaced = input.integer(0, 40);
            replacement = input.number();
        }
        if (input.byte() > 200) thrown = input.integer(0, 40);
    }

    bool isLinear() const { return replaced < 0 && q == Vector(q.size()); }

protected:
    void computeFunValue(Vector const& x) override
    {
        int const evaluation = _nbEvaluations++;
        if (evaluation == thrown) throw Interruption();
        _funValue = A * x + x.dot(x) * q - b;
        if (evaluation == replaced) _funValue[0] = replacement;
    }

private:
    int _nbEvaluations = 0;
};

bool stopsAtTwo(LMSolver const& solver)
{
    return solver.getNbIter() < 2;
}

void checkMinimum(LMSolver const& solver, Residuals const& f)
{
    // Forward differences leave half the digits.
    constexpr double tolerance = 1e-6;
    check(!(solver.getRMSAfter() > solver.getRMSBefore()) || f.replaced >= 0);
    if (!f.isLinear() || solver.getEndFlag() != LMSolver::NormalEnd) return;
    if (f.A.getRow() < f.A.getCol()) return;
    SVDSolver linear;
    linear.solve(f.A, f.b);
    double const size = f.b.length() + solver.getRMSBefore();
    check(solver.getRMSAfter() <= linear.getRMS() + tolerance * size);
}

void leastSquares(FuzzInput& input)
{
    Residuals f(input);
    LMMinPack solver;
    solver.setCostFun(&f);
    // Beside 0 the step of numeric derivatives, relative to the variable, is lost in rounding.
    bool const isOrdinary = input.flag();
    solver.setInitVecSol(isOrdinary ? input.point(f.A.getCol()) : input.vector(f.A.getCol()));
    if (input.flag()) solver.setNbMaxIter(input.byte());
    if (input.byte() > 230) solver.setCallBackFcn(stopsAtTwo);
    try {
        solver.solve();
    } catch (Interruption const&) {
        solver.solve();  // ready again
    }
    Matrix const& cov = solver.getCov();
    check(cov.getRow() == f.A.getCol() && cov.getCol() == f.A.getCol());
    check(solver.getJacRank() <= f.getNbVariables());
    if (isOrdinary && solver.getEndFlag() != LMSolver::UserEnd) checkMinimum(solver, f);
}

Residuals const* equations = nullptr;  // of the run, for a function without a user pointer

// NOLINTNEXTLINE(readability-non-const-parameter): the calling form of MINPACK
void evaluateEquations(int* n, double* x, double* fvec, int*)
{
    Vector const v(x, *n);
    Vector const value = equations->A * v + v.dot(v) * equations->q - equations->b;
    std::copy(value.begin(), value.end(), fvec);
}

void rootOfEquations(FuzzInput& input)
{
    Residuals const f(input);
    if (f.A.getRow() != f.A.getCol()) return;
    equations = &f;
    NumPowell solver(f.A.getRow(), evaluateEquations);
    solver.setParams(input.flag() ? input.vector(f.A.getRow()) : input.point(f.A.getRow()));
    if (input.flag()) solver.setMaxNormValue(input.number());
    solver.compute();
    check(solver.getInfo() >= 0 && solver.getInfo() <= 5);
    check(!(solver.getRmsAfter() > solver.getRmsBefore()));
}

// A state that rests, observed through H: g = H·x - z.
class Observed : public KalmanIekf {
public:
    Observed(Matrix const& H, Vector const& x, Vector const& z)
        : KalmanIekf(H.getCol(), H.getRow(), H.getCol(), H.getRow()),
          _observation(H)
    {
        Matrix const unit(x.size(), x.size(), Matrix::IDENTITY);
        setParams(x);
        setParamsCov(unit);
        setCtrl(x, unit);
        setObs(z, Matrix(z.size(), z.size(), Matrix::IDENTITY));
    }

    void obsJacParams(Vector&, Vector&, Matrix& H) override { H = _observation; }
    void obsJacObs(Vector&, Vector&, Matrix& B) override { B = -1.0 * B.setIdentity(); }
    void stateJacParams(Vector&, Vector&, Matrix& F) override { F.setIdentity(); }
    void stateJacCtrl(Vector&, Vector&, Matrix& G) override { G.setIdentity(); }
    void stateFct(Vector& x, Vector&, Vector& predicted) override { predicted = x; }
    void obsFct(Vector& x, Vector& z, Vector& value) override { value = _observation * x - z; }

private:
    Matrix _observation;
};

// The estimate minimises |x - x⁻|² + |H·x - z|², and its covariance shrinks.
void filter(FuzzInput& input)
{
    int const n = input.integer(1, 5);
    int const m = input.integer(1, 5);
    bool const anything = input.flag();
    Matrix H(m, n);
    for (double& h : H) h = anything ? input.number() : input.coordinate();
    Vector const x = input.point(n);
    Vector const z = input.point(m);
    Observed kalman(H, x, z);
    if (input.flag()) kalman.predict();
    double const before = kalman.getPredParamsCov()[0][0];
    kalman.update();
    if (anything) return;
    check(kalman.getStatus() == Kalman::KL_OK || kalman.getStatus() == Kalman::KL_NB_ITERATIONS);
    Vector const& estimate = kalman.getParams();
    Vector const gradient = (estimate - x) / before + H.transpose() * (H * estimate - z);
    constexpr double tolerance = 1e-8 * 14.0 * 14.0;  // of H and z, and the condition of S
    check(gradient.length() <= tolerance * (1.0 + H.frobeniusNorm()));
    for (int i = 0; i < n; ++i) check(kalman.getParamsCov()[i][i] <= before * (1.0 + 1e-12));
}

}  // namespace

void fuzz(FuzzInput& input)
{
    constexpr std::array operations = {filter, leastSquares, rootOfEquations};
    operations[input.byte() % operations.size()](input);
}
