#pragma once

#include "math/Kalman.h"

/// A point in the plane at nearly constant speed: the state is (x, y, vx, vy), the control an
/// unknown acceleration of mean 0. Derived classes say what is observed, explicitly, as
/// g(x, z) = h(x) - z; the Jacobian by the state is numeric.
class PlanarMotion : public KalmanIekf {
public:
    /// @param dt            time of a step.
    /// @param acceleration  standard deviation of the acceleration along each axis.
    PlanarMotion(double dt, double acceleration, int nbObs)
        : KalmanIekf(4, nbObs, 2, nbObs),
          _dt(dt)
    {
        setCtrl(Vector(2), acceleration * acceleration * Matrix(2, 2, Matrix::IDENTITY));
    }

    void stateFct(Vector& x, Vector& u, Vector& predicted) override
    {
        for (int i = 0; i < 2; ++i) {
            predicted[i] = x[i] + _dt * x[i + 2] + 0.5 * _dt * _dt * u[i];
            predicted[i + 2] = x[i + 2] + _dt * u[i];
        }
    }
    void stateJacParams(Vector&, Vector&, Matrix& F) override
    {
        F.setIdentity();
        F[0][2] = F[1][3] = _dt;
    }
    void stateJacCtrl(Vector&, Vector&, Matrix& G) override
    {
        G[0][0] = G[1][1] = 0.5 * _dt * _dt;
        G[2][0] = G[3][1] = _dt;
    }
    void obsJacParams(Vector& x, Vector& z, Matrix& H) override
    {
        Vector value(getDimObsFct());
        obsFct(x, z, value);
        Jacobien(&Kalman::ptObsFctParams, 4, x, z, getDimObsFct(), value, H, 0.0);
    }
    void obsJacObs(Vector&, Vector&, Matrix& B) override
    {
        for (int i = 0; i < B.getRow(); ++i) B[i][i] = -1.0;
    }

private:
    double _dt;
};
