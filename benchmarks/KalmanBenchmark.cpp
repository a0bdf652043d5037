// A hundred steps of a filter with six states and three observations: a target that moves in space,
// seen by range, azimuth and elevation. Every update makes two passes. Beside it the same filter
// written by hand over Eigen, with dynamic and with fixed sizes, and OpenCV's linear filter with
// one pass a step.

#include "math/Kalman.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#ifdef MEASUREMATH_HAVE_EIGEN
#include <Eigen/Dense>
#endif
#ifdef MEASUREMATH_HAVE_OPENCV
#include <opencv2/video/tracking.hpp>
#endif

namespace {

constexpr int nbSteps = 100;
constexpr double dt = 0.1;
constexpr double accelerationVariance = 0.01;
constexpr double observationSigma[3] = {0.05, 0.001, 0.001};
constexpr double start[6] = {40.0, -30.0, 5.0, -2.0, 3.0, 0.5};

struct Polar {
    double value[3];
    double jacobian[3][3];
};

// Range, azimuth and elevation of a point, with their derivatives.
template <class State>
Polar observe(State const& x)
{
    double const h2 = x[0] * x[0] + x[1] * x[1];
    double const h = std::sqrt(h2);
    double const r2 = h2 + x[2] * x[2];
    double const r = std::sqrt(r2);
    return {{r, std::atan2(x[1], x[0]), std::atan2(x[2], h)},
            {{x[0] / r, x[1] / r, x[2] / r},
             {-x[1] / h2, x[0] / h2, 0.0},
             {-x[0] * x[2] / (h * r2), -x[1] * x[2] / (h * r2), h / r2}}};
}

struct Observation {
    double z[3];
};

std::vector<Observation> observations()
{
    std::mt19937 generator(1);
    std::normal_distribution<double> normal;
    std::vector<Observation> result(nbSteps);
    for (int k = 0; k < nbSteps; ++k) {
        double x[3];
        for (int i = 0; i < 3; ++i) x[i] = start[i] + (k + 1) * dt * start[i + 3];
        Polar const seen = observe(x);
        for (int i = 0; i < 3; ++i)
            result[static_cast<std::size_t>(k)].z[i] =
                seen.value[i] + observationSigma[i] * normal(generator);
    }
    return result;
}

template <class State>
void requireOnTarget(State const& x, benchmark::State& state)
{
    double error = 0.0;
    for (int i = 0; i < 3; ++i) error += std::abs(x[i] - start[i] - nbSteps * dt * start[i + 3]);
    if (!(error < 0.5)) state.SkipWithError("the filter lost the target");
}

class TargetFilter : public KalmanIekf {
public:
    TargetFilter() : KalmanIekf(6, 3, 3, 3)
    {
        setTolerance(1e9);  // the second pass always is the last
        _stateJacParams.setIdentity();
        for (int i = 0; i < 3; ++i) {
            _stateJacParams[i][i + 3] = dt;
            _stateJacCtrl[i][i] = dt * dt / 2.0;
            _stateJacCtrl[i + 3][i] = dt;
            _obsJacObs[i][i] = -1.0;
        }
    }

    void stateJacParams(Vector&, Vector&, Matrix&) override {}
    void stateJacCtrl(Vector&, Vector&, Matrix&) override {}
    void obsJacObs(Vector&, Vector&, Matrix&) override {}

    void stateFct(Vector& params, Vector& ctrl, Vector& predParams) override
    {
        double const* const x = params.begin();
        double const* const u = ctrl.begin();
        double* const out = predParams.begin();
        for (int i = 0; i < 3; ++i) {
            out[i] = x[i] + dt * x[i + 3] + dt * dt / 2.0 * u[i];
            out[i + 3] = x[i + 3] + dt * u[i];
        }
    }

    void obsJacParams(Vector& params, Vector&, Matrix& H) override
    {
        Polar const seen = observe(params.begin());
        for (int i = 0; i < 3; ++i) std::copy_n(seen.jacobian[i], 3, H[i]);
    }

    void obsFct(Vector& params, Vector& obs, Vector& value) override
    {
        Polar const seen = observe(params.begin());
        for (int i = 0; i < 3; ++i) value[i] = seen.value[i] - obs[i];
    }
};

void ours(benchmark::State& state)
{
    std::vector<Vector> z;
    for (Observation const& observation : observations()) z.emplace_back(observation.z, 3);
    Vector const u(3);
    Matrix const Qu = accelerationVariance * Matrix(3, 3, Matrix::IDENTITY);
    Matrix R(3, 3);
    for (int i = 0; i < 3; ++i) R[i][i] = observationSigma[i] * observationSigma[i];
    Vector const x0(start, 6);
    Matrix const P0(6, 6, Matrix::IDENTITY);

    TargetFilter filter;
    for (auto _ : state) {
        filter.setParams(x0);
        filter.setParamsCov(P0);
        for (Vector const& observation : z) {
            filter.setCtrl(u, Qu);
            filter.predict();
            filter.setObs(observation, R);
            filter.update();
        }
    }
    if (filter.getStatus() != Kalman::KL_OK) state.SkipWithError(filter.getStatusMessage());
    requireOnTarget(filter.getParams(), state);
}
BENCHMARK(ours)->Name("Kalman/ours");

#ifdef MEASUREMATH_HAVE_EIGEN

// The two steps as their formulas are written down, with the sizes of the matrix types.
template <int n, int m>
struct EigenFilter {
    using State = Eigen::Matrix<double, n, 1>;
    using Cov = Eigen::Matrix<double, n, n>;
    using Obs = Eigen::Matrix<double, m, 1>;
    using ObsCov = Eigen::Matrix<double, m, m>;
    using Input = Eigen::Matrix<double, n, m>;
    using ObsJac = Eigen::Matrix<double, m, n>;

    EigenFilter()
    {
        for (int i = 0; i < 3; ++i) {
            F(i, i + 3) = dt;
            G(i, i) = dt * dt / 2.0;
            G(i + 3, i) = dt;
        }
    }

    void predict()
    {
        P = F * P * F.transpose() + G * Qu * G.transpose();
        x = F * x + G * u;
    }

    void update(Obs const& z, ObsCov const& R)
    {
        State const predicted = x;
        Input K;
        for (int pass = 0; pass < 2; ++pass) {
            Polar const seen = observe(x);
            for (int i = 0; i < 3; ++i) {
                g[i] = seen.value[i] - z[i];
                for (int j = 0; j < 3; ++j) H(i, j) = seen.jacobian[i][j];
            }
            ObsCov const S = H * P * H.transpose() + B * R * B.transpose();
            K = P * H.transpose() * S.inverse();
            x = predicted - K * (g + H * (predicted - x));
        }
        P = P - K * (H * P);
    }

    State x = State::Zero(6);
    Cov P = Cov::Identity(6, 6);
    Cov F = Cov::Identity(6, 6);
    Input G = Input::Zero(6, 3);
    ObsCov Qu = accelerationVariance * ObsCov::Identity(3, 3);
    ObsCov B = -ObsCov::Identity(3, 3);
    ObsJac H = ObsJac::Zero(3, 6);
    Obs u = Obs::Zero(3);
    Obs g = Obs::Zero(3);
};

template <int n, int m>
void eigen(benchmark::State& state)
{
    using Filter = EigenFilter<n, m>;
    std::vector<typename Filter::Obs> z;
    for (Observation const& observation : observations())
        z.emplace_back(Eigen::Map<Eigen::Vector3d const>(observation.z));
    typename Filter::ObsCov R = Filter::ObsCov::Zero(3, 3);
    for (int i = 0; i < 3; ++i) R(i, i) = observationSigma[i] * observationSigma[i];

    Filter filter;
    for (auto _ : state) {
        filter.x = Eigen::Map<Eigen::Matrix<double, 6, 1> const>(start);
        filter.P.setIdentity();
        for (auto const& observation : z) {
            filter.predict();
            filter.update(observation, R);
        }
    }
    requireOnTarget(filter.x, state);
}
BENCHMARK(eigen<Eigen::Dynamic, Eigen::Dynamic>)->Name("Kalman/Eigen dynamic");
BENCHMARK(eigen<6, 3>)->Name("Kalman/Eigen fixed");

#endif
#ifdef MEASUREMATH_HAVE_OPENCV

void openCv(benchmark::State& state)
{
    std::vector<cv::Mat> z;
    for (int k = 1; k <= nbSteps; ++k) {
        cv::Mat position(3, 1, CV_64F);
        for (int i = 0; i < 3; ++i) position.at<double>(i) = start[i] + k * dt * start[i + 3];
        z.push_back(position);
    }
    cv::KalmanFilter filter(6, 3, 0, CV_64F);
    cv::setIdentity(filter.measurementMatrix);
    cv::setIdentity(filter.measurementNoiseCov, cv::Scalar::all(0.01));
    cv::setIdentity(filter.processNoiseCov, cv::Scalar::all(1e-4));
    for (int i = 0; i < 3; ++i) filter.transitionMatrix.at<double>(i, i + 3) = dt;
    cv::Mat const x0(6, 1, CV_64F, const_cast<double*>(start));
    for (auto _ : state) {
        x0.copyTo(filter.statePost);
        cv::setIdentity(filter.errorCovPost);
        for (cv::Mat const& observation : z) {
            filter.predict();
            filter.correct(observation);
        }
    }
    requireOnTarget(filter.statePost.ptr<double>(), state);
}
BENCHMARK(openCv)->Name("Kalman/OpenCV linear, one pass");

#endif

}  // namespace
