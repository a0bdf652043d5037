#include "math/Kalman.h"

#include "math/LinearAlgebra.h"
#include "math/MathError.h"
#include "math/internal/Elementwise.h"
#include "math/internal/Product.h"
#include "math/internal/Transpose.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <functional>
#include <utility>

namespace {

bool hasSize(Vector const& v, int n)
{
    return v.getSize() == n;
}

bool hasSize(Matrix const& m, int rows, int cols)
{
    return m.getRow() == rows && m.getCol() == cols;
}

// Gives the array this size, with zeros, where it has another.
template <class Array, class... Size>
void fit(Array& array, Size... size)
{
    if (!hasSize(array, size...)) array = Array(size...);
}

void multiply(Matrix const& a, Matrix const& b, Matrix& product)
{
    fit(product, a.getRow(), b.getCol());
    measuremath::multiply(a.begin(), b.begin(), product.begin(), a.getRow(), a.getCol(),
                          b.getCol());
}

void transpose(Matrix const& a, Matrix& transposed)
{
    fit(transposed, a.getCol(), a.getRow());
    measuremath::transpose(a.begin(), a.getRow(), a.getCol(), a.getCol(), transposed.begin());
}

// Copies what is above the diagonal to below it.
void symmetrise(Matrix& m)
{
    double* const p = m.begin();
    std::ptrdiff_t const n = m.getRow();
    for (std::ptrdiff_t i = 1; i < n; ++i)
        for (std::ptrdiff_t j = 0; j < i; ++j) p[i * n + j] = p[j * n + i];
}

void addSymmetric(Matrix const& a, Matrix const& b, Matrix& sum)
{
    fit(sum, a.getRow(), a.getCol());
    measuremath::transform(a.begin(), b.begin(), sum.begin(), sum.size(), std::plus<>());
    symmetrise(sum);
}

// Inverts a positive definite matrix in place, one pivot after the other (the sweeps of Beaton
// 1964); false, with the matrix spoilt, when a pivot shows that it is not positive definite.
bool sweep(double* a, std::ptrdiff_t n)
{
    for (std::ptrdiff_t k = 0; k < n; ++k) {
        double* const pivotRow = a + k * n;
        double const pivot = pivotRow[k];
        if (!(pivot > 0.0 && pivot <= DBL_MAX)) return false;
        pivotRow[k] = 1.0;
        for (std::ptrdiff_t j = 0; j < n; ++j) pivotRow[j] /= pivot;
        for (std::ptrdiff_t i = 0; i < n; ++i) {
            if (i == k) continue;
            double* const row = a + i * n;
            double const factor = std::exchange(row[k], 0.0);
            for (std::ptrdiff_t j = 0; j < n; ++j) row[j] -= factor * pivotRow[j];
        }
    }
    return true;
}

// False when S is singular or not finite.
bool invertCovariance(Matrix const& S, Matrix& inverse)
{
    constexpr int sweepUpTo = 8;  // up to here in 0.3 to 0.6 of the time that LAPACK takes
    inverse.init(S);
    return (S.getRow() <= sweepUpTo && sweep(inverse.begin(), S.getRow())) || luInverse(S, inverse);
}

// A dimension below 0 is stored as it is, for the status of the next step, and nothing is sized
// by it.
int count(int dimension)
{
    return std::max(dimension, 0);
}

Matrix zeros(int rows, int cols)
{
    return Matrix(count(rows), count(cols));
}

}  // namespace

void Kalman::resize(int nbParams, int nbObs, int nbCtrl, int nbObsFct)
{
    _dimParams = nbParams;
    _dimObs = nbObs;
    _dimCtrl = nbCtrl;
    _dimObsFct = nbObsFct;
    resizeParams(nbParams);
    resizeObs(nbObs);
    resizeCtrl(nbCtrl);
    resizeObsFct(nbObsFct);
    // The four above leave these by other dimensions.
    _gain = zeros(nbParams, nbObsFct);
    _ctrlCov = zeros(nbCtrl, nbCtrl);
    _obsFctValue = Vector(count(nbObsFct));
}

void Kalman::resizeParams(int n)
{
    // Everything is allocated before anything changes; the members share the zeros.
    Vector const params(count(n));
    Matrix const square = zeros(n, n);
    Matrix const gain = zeros(n, _dimObs);
    Matrix const obsJacParams = zeros(_dimObsFct, n);

    _dimParams = n;
    _params = _predParams = params;
    _gain = gain;
    _ctrlCov = _paramsCov = _predParamsCov = _stateJacParams = square;
    _obsJacParams = obsJacParams;
}

void Kalman::resizeObs(int m)
{
    Vector const obs(count(m));
    Matrix const gain = zeros(_dimParams, m);
    Matrix const obsCov = zeros(m, m);
    Matrix const obsJacObs = zeros(_dimObsFct, m);

    _dimObs = m;
    _obs = _obsFctValue = obs;
    _gain = gain;
    _obsCov = obsCov;
    _obsJacObs = obsJacObs;
}

void Kalman::resizeCtrl(int c)
{
    Vector const ctrl(count(c));
    Matrix const stateJacCtrl = zeros(_dimParams, c);

    _dimCtrl = c;
    _ctrl = ctrl;
    _stateJacCtrl = stateJacCtrl;
}

void Kalman::resizeObsFct(int p)
{
    _obsJacParams = zeros(p, _dimParams);
    _dimObsFct = p;
}

void Kalman::setParamsCov(Matrix const& P)
{
    _paramsCov = P;
    _predParamsCov = P;
}

void Kalman::setParams(Vector const& x)
{
    _params = x;
    _predParams = x;
}

void Kalman::setCtrl(Vector const& u, Matrix const& Qu)
{
    _ctrl = u;
    _ctrlCov = Qu;
}

void Kalman::setObs(Vector const& z, Matrix const& R)
{
    _obs = z;
    _obsCov = R;
}

void Kalman::checkObsCov(double v)
{
    int const n = std::min(_obsCov.getRow(), _obsCov.getCol());
    for (int i = 0; i < n; ++i)
        if (_obsCov[i][i] < v) _obsCov[i][i] = v;
}

char const* Kalman::getStatusMessage() const
{
    switch (_status) {
        case KL_OK:
            return "OK";
        case KL_BAD_ARGUMENT:
            return "Bad Argument Error";
        case KL_NB_ITERATIONS:
            return "Number Iterations Error";
        case KL_MATRIX_INVERSION:
            return "Matrix Inversion Error";
        default:
            return "Memory Allocation Error";
    }
}

void Kalman::differentiate(Function fct, int dimIn, Vector& x, Vector& y, int dimOut,
                           Vector const& f0, Matrix& J, double step)
{
    measuremath::require(dimIn <= x.getSize() && dimOut <= f0.getSize(), Vector::badDim);
    measuremath::require(dimOut <= J.getRow() && dimIn <= J.getCol(), Matrix::badDim);

    double const relativeStep = std::sqrt(std::max(DBL_EPSILON, std::abs(step)));
    Vector fx(dimOut);
    for (int j = 0; j < dimIn; ++j) {
        double const value = x[j];
        double h = std::abs(value) * relativeStep;
        if (h < DBL_EPSILON) h = relativeStep;
        fx.zeroed();
        x[j] = value + h;
        try {
            (this->*fct)(x, y, fx);
        } catch (...) {
            x[j] = value;
            throw;
        }
        x[j] = value;
        measuremath::require(fx.getSize() >= dimOut, Vector::badDim);
        for (int i = 0; i < dimOut; ++i) J[i][j] = (fx[i] - f0[i]) * (1.0 / h);
    }
}

void KalmanIekf::predict()
{
    if (_dimParams < 1 || _dimObs < 1 || _dimCtrl < 1) _status = KL_BAD_ARGUMENT;
    if (_status != KL_OK) return;  // kept: only an update clears the status of a failed step

    fit(_stateJacParams, _dimParams, _dimParams);
    fit(_stateJacCtrl, _dimParams, _dimCtrl);
    if (hasStateSizes()) {
        stateJacParams(_params, _ctrl, _stateJacParams);
        stateJacCtrl(_params, _ctrl, _stateJacCtrl);
    }
    if (!hasStateSizes()) {
        _status = KL_BAD_ARGUMENT;
        return;
    }
    _byState.propagate(_stateJacParams, _paramsCov);
    _byCtrl.propagate(_stateJacCtrl, _ctrlCov);
    addSymmetric(_byState.covariance, _byCtrl.covariance, _predParamsCov);
    stateFct(_params, _ctrl, _predParams);
}

void KalmanIekf::update()
{
    _status = KL_OK;
    if (_dimParams < 1 || _dimObs < 1 || _dimObsFct < 1) {
        _status = KL_BAD_ARGUMENT;
        return;
    }
    fit(_obsJacParams, _dimObsFct, _dimParams);
    fit(_obsJacObs, _dimObsFct, _dimObs);
    fit(_obsFctValue, _dimObsFct);

    _nbIter = 0;
    _point.init(_predParams);
    bool converged = false;
    do {
        if (!linearise() || !computeGain()) return;
        double const change = correct();
        converged = _nbIter > 0 && std::abs(change) <= _tolerance;
        ++_nbIter;
    } while (!converged && _nbIter < _nbIterMax);

    computeCovariance();
    _status = converged ? KL_OK : KL_NB_ITERATIONS;
    std::swap(_params, _point);  // allocates nothing: both change, or neither
    std::swap(_paramsCov, _covariance);
}

bool KalmanIekf::hasStateSizes() const
{
    return hasSize(_params, _dimParams) && hasSize(_paramsCov, _dimParams, _dimParams) &&
           hasSize(_ctrl, _dimCtrl) && hasSize(_ctrlCov, _dimCtrl, _dimCtrl) &&
           hasSize(_stateJacParams, _dimParams, _dimParams) &&
           hasSize(_stateJacCtrl, _dimParams, _dimCtrl);
}

bool KalmanIekf::hasObsSizes() const
{
    return hasSize(_predParams, _dimParams) && hasSize(_point, _dimParams) &&
           hasSize(_predParamsCov, _dimParams, _dimParams) && hasSize(_obs, _dimObs) &&
           hasSize(_obsCov, _dimObs, _dimObs) && hasSize(_obsFctValue, _dimObsFct) &&
           hasSize(_obsJacParams, _dimObsFct, _dimParams) &&
           hasSize(_obsJacObs, _dimObsFct, _dimObs);
}

// g, H and B at the linearisation point; false with a status where the update cannot go on.
bool KalmanIekf::linearise()
{
    if (hasObsSizes()) {
        obsJacParams(_point, _obs, _obsJacParams);
        obsJacObs(_point, _obs, _obsJacObs);
        obsFct(_point, _obs, _obsFctValue);
    }
    if (_obsJacParams.empty() || _obsJacObs.empty())
        _status = KL_NB_ITERATIONS;
    else if (!hasObsSizes())
        _status = KL_BAD_ARGUMENT;
    return _status == KL_OK;
}

// K = P⁻·Hᵀ·S⁻¹; false with a status when S has no inverse.
bool KalmanIekf::computeGain()
{
    _byParams.propagate(_obsJacParams, _predParamsCov);
    _byObs.propagate(_obsJacObs, _obsCov);
    addSymmetric(_byParams.covariance, _byObs.covariance, _innovationCov);
    if (!invertCovariance(_innovationCov, _innovationCovInv)) {
        _status = KL_MATRIX_INVERSION;
        return false;
    }
    transpose(_byParams.product, _covJacT);  // P⁻ is symmetric
    multiply(_covJacT, _innovationCovInv, _gain);
    return true;
}

// Moves the linearisation point ξ to x = x⁻ - K·(g + H·(x⁻ - ξ)); returns |x - ξ|² / |ξ|².
double KalmanIekf::correct()
{
    int const n = _dimParams;
    int const p = _dimObsFct;
    fit(_shift, n);
    fit(_innovation, p);
    Matrix const& H = _obsJacParams;
    Matrix const& K = _gain;
    double const* const g = std::as_const(_obsFctValue).begin();
    double const* const predicted = std::as_const(_predParams).begin();
    double* const point = _point.begin();
    double* const shift = _shift.begin();
    double* const innovation = _innovation.begin();

    for (int j = 0; j < n; ++j) shift[j] = predicted[j] - point[j];
    measuremath::multiply(H.begin(), shift, innovation, p, n, 1);
    for (int k = 0; k < p; ++k) innovation[k] += g[k];
    measuremath::multiply(K.begin(), innovation, shift, n, p, 1);

    double change = 0.0;
    double length = 0.0;
    for (int j = 0; j < n; ++j) {
        double const x = predicted[j] - shift[j];
        change += (x - point[j]) * (x - point[j]);
        length += point[j] * point[j];
        point[j] = x;
    }
    return change / length;
}

// P = P⁻ - K·(H·P⁻).
void KalmanIekf::computeCovariance()
{
    multiply(_gain, _byParams.product, _covariance);
    double* const P = _covariance.begin();
    measuremath::transform(std::as_const(_predParamsCov).begin(), P, P, _covariance.size(),
                           std::minus<>());
    symmetrise(_covariance);
}

// The covariance A·C·Aᵀ.
void KalmanIekf::Propagation::propagate(Matrix const& A, Matrix const& C)
{
    multiply(A, C, product);
    transpose(A, transposed);
    multiply(product, transposed, covariance);
}
