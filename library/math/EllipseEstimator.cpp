#include "math/EllipseEstimator.h"

#include "math/Buckets.h"
#include "math/MathError.h"
#include "math/SVDSolver.h"
#include "math/internal/Elementwise.h"

#include <algorithm>
#include <cmath>

using measuremath::require;

namespace {

// Coordinates u = (x - cx) / s, v = (y - cy) / s in which the data lie around the origin.
struct Frame {
    double cx, cy, s;
};

Frame frameOf(std::vector<Vector> const& coll)
{
    double const n = static_cast<double>(coll.size());
    Frame f = {0.0, 0.0, 0.0};
    for (Vector const& p : coll) {
        f.cx += p[0];
        f.cy += p[1];
    }
    f.cx /= n;
    f.cy /= n;
    for (Vector const& p : coll)
        f.s = std::max({f.s, std::abs(p[0] - f.cx), std::abs(p[1] - f.cy)});
    if (f.s == 0.0) f.s = 1.0;
    return f;
}

// The equations v²·q0 + u·v·q1 + u·q2 + v·q3 + q4 = -u².
struct System {
    Matrix A;
    Vector b;
};

System systemOf(std::vector<Vector> const& coll, Frame const& f)
{
    System system = {Matrix(coll.size(), 5, Matrix::NO_INIT), Vector(coll.size(), Vector::NO_INIT)};
    double* a = system.A.begin();
    double* b = system.b.begin();
    double const scale = 1.0 / f.s;
    for (Vector const& p : coll) {
        double const u = (p[0] - f.cx) * scale;
        double const v = (p[1] - f.cy) * scale;
        double const row[] = {v * v, u * v, u, v, 1.0};
        a = std::copy(row, row + 5, a);
        *b++ = -u * u;
    }
    return system;
}

// The parameters p of a conic in x and y from those in u and v: p = T·q + t.
Matrix parameterMap(Frame const& f)
{
    auto const [cx, cy, s] = f;
    return Matrix::of({{1, 0, 0, 0, 0},
                       {0, 1, 0, 0, 0},
                       {0, -cy, s, 0, 0},
                       {-2 * cy, -cx, 0, s, 0},
                       {cy * cy, cx * cy, -s * cx, -s * cy, s * s}});
}

Vector parameterShift(Frame const& f)
{
    return Vector::of({0, 0, -2 * f.cx, 0, f.cx * f.cx});
}

}  // namespace

EllipseEstimator::EllipseEstimator()
    : _buckets(std::make_unique<Buckets>()),
      _solver(std::make_unique<SVDSolver>())
{
    init(5, 5);
}

EllipseEstimator::~EllipseEstimator() = default;

void EllipseEstimator::setDataColl(std::vector<Vector> const& dataColl)
{
    Estimator::setDataColl(dataColl);
    _buckets->init(2);
    _buckets->setNbBuckets(0, 8);
    _buckets->setNbBuckets(1, 8);
    _buckets->setDataColl(dataColl);
}

bool EllipseEstimator::computeEstimation(std::vector<Vector> const& dataColl)
{
    requireDataSize(dataColl, 2);
    Frame const frame = frameOf(dataColl);
    System const system = systemOf(dataColl, frame);
    if (!measuremath::allFinite(system.A.begin(), system.A.size())) return false;
    _solver->solve(system.A, system.b);

    Matrix const T = parameterMap(frame);
    *_estimParams = T * _solver->getVecSol() + parameterShift(frame);
    *_estimCov = T * _solver->getCov() * T.transpose();
    // Five points leave the covariance unscaled, in units of the equations: those of u and v are
    // s² times smaller than those of x and y.
    if (dataColl.size() == 5) *_estimCov /= std::pow(frame.s, 4);
    return true;
}

void EllipseEstimator::computeDataRandomSample(std::vector<Vector>& sample) const
{
    _buckets->getDataRandomSample(sample, 5);
}

void EllipseEstimator::computeResiduals(Vector const& params, Vector& residuals) const
{
    require(params.size() >= 5, "Invalid parameter, size of params must be 5 or more");
    unsigned int const n = getNbData();
    double const* const x = getPackedCoordinate(0);
    double const* const y = getPackedCoordinate(1);
    if (residuals.size() != n) residuals = Vector(n, Vector::NO_INIT);

    double const p0 = params[0], p1 = params[1], p2 = params[2], p3 = params[3], p4 = params[4];
    double* const r = residuals.begin();
    for (unsigned int i = 0; i < n; ++i)
        r[i] = (p0 * y[i] + p1 * x[i] + p3) * y[i] + (x[i] + p2) * x[i] + p4;
}
