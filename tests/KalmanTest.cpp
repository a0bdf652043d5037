#include "math/Kalman.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <stdexcept>
#include <utility>

#include "math/LinearAlgebra.h"
#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"

namespace {

Matrix randomCovariance(RandomData& random, int n)
{
    Matrix const A = random.matrix(n, n);
    return A * A.transpose() + Matrix(n, n, Matrix::IDENTITY);
}

// Opens the members, for tests of their sizes and to spoil them.
class OpenFilter : public KalmanIekf {
public:
    using Kalman::_ctrl, Kalman::_ctrlCov, Kalman::_gain, Kalman::_obsFctValue, Kalman::_obsJacObs;
    using Kalman::_obsCov, Kalman::_obsJacParams, Kalman::_stateJacCtrl, Kalman::_status;
    using KalmanIekf::KalmanIekf;
};

// Predicts F·x + G·u and observes H·x + B·z = 0. The model and the data may have other dimensions
// than the filter, as a user's mistakes have.
class LinearFilter : public OpenFilter {
public:
    explicit LinearFilter(int n = 2, int m = 2, int c = 1, int p = 1) : OpenFilter(n, m, c, p)
    {
        start(2, 2, 1, 1);
    }

    void start(int n, int m, int c, int p)
    {
        RandomData random(11);
        F = random.matrix(n, n, -0.5, 0.5), G = random.matrix(n, c);
        H = random.matrix(p, n), B = random.matrix(p, m);
        setParams(random.vector(n));
        setParamsCov(randomCovariance(random, n));
        setCtrl(random.vector(c), randomCovariance(random, c));
        setObs(random.vector(m), randomCovariance(random, m));
    }

    void stateJacParams(Vector&, Vector&, Matrix& J) override { J = F; }
    void stateJacCtrl(Vector&, Vector&, Matrix& J) override { J = G; }
    void stateFct(Vector& x, Vector& u, Vector& predicted) override { predicted = F * x + G * u; }
    void obsJacParams(Vector&, Vector&, Matrix& J) override { J = H; }
    void obsJacObs(Vector&, Vector&, Matrix& J) override { J = B; }
    void obsFct(Vector& x, Vector& z, Vector& value) override
    {
        value = H * x + B * z;
        if (observed) observed();
    }

    Matrix F, G, H, B;
    std::function<void()> observed;
};

// The same filter in information form: observations add to the inverse of the covariance.
TEST(KalmanIekf, AgreesWithTheInformationFormOnLinearSystems)
{
    constexpr double tolerance = 1e-12;  // some thousand roundings of values around 1
    int const sizes[][4] = {{1, 1, 1, 1}, {2, 2, 1, 1}, {3, 4, 2, 2}, {9, 10, 2, 9}};
    for (auto const& [n, m, c, p] : sizes) {
        RandomData random(5);
        LinearFilter filter(n, m, c, p);
        filter.start(n, m, c, p);
        filter.setTolerance(1e9);  // the second pass is made all the same
        Matrix const &F = filter.F, &G = filter.G, &H = filter.H, &B = filter.B;
        Vector x = filter.getParams();
        Matrix P = filter.getParamsCov();
        for (int k = 0; k < 8; ++k) {
            filter.setCtrl(random.vector(c), randomCovariance(random, c));
            filter.predict();
            x = F * x + G * filter._ctrl;
            P = F * P * F.transpose() + G * filter._ctrlCov * G.transpose();
            EXPECT_TRUE(isNear(filter.getPredParams(), x, tolerance)) << n << " " << k;
            EXPECT_TRUE(isNear(filter.getPredParamsCov(), P, tolerance)) << n << " " << k;

            filter.setObs(random.vector(m), randomCovariance(random, m));
            filter.update();
            ASSERT_EQ(filter.getStatus(), Kalman::KL_OK) << filter.getStatusMessage();
            EXPECT_EQ(filter.getNbIter(), 2);
            Matrix const HtW = H.transpose() * (B * filter.getObsCov() * B.transpose()).inverse();
            P = (P.inverse() + HtW * H).inverse();
            x -= P * (HtW * (H * x + B * filter.getObs()));
            EXPECT_TRUE(isNear(filter.getParams(), x, tolerance)) << n << " " << k;
            EXPECT_TRUE(isNear(filter.getParamsCov(), P, tolerance)) << n << " " << k;
            for (Matrix const& C : {filter.getPredParamsCov(), filter.getParamsCov()})
                EXPECT_EQ(ulps(C, C.transpose()), 0.0) << "to the last bit";
        }
    }
}

// A point in the plane that moves by the control, seen by range and bearing from the origin, with
// numeric Jacobians throughout.
class RadarFilter : public OpenFilter {
public:
    RadarFilter() : OpenFilter(2u, 2u, 2u, 2u)
    {
        setParams(Vector::of({30.0, 40.0}));
        setParamsCov(Matrix::of({{9.0, 0}, {0, 4.0}}));
        setCtrl(Vector::of({1.0, -0.5}), Matrix::of({{0.04, 0}, {0, 0.04}}));
        setObs(Vector::of({52.0, 0.9}), Matrix::of({{0.01, 0}, {0, 1e-4}}));
    }

    void stateFct(Vector& x, Vector& u, Vector& predicted) override { predicted = x + u; }
    void obsFct(Vector& x, Vector& z, Vector& out) override
    {
        out[0] = std::hypot(x[0], x[1]) - z[0];
        out[1] = std::atan2(x[1], x[0]) - z[1];
    }
    void obsJacParams(Vector& x, Vector& z, Matrix& H) override
    {
        differentiate(&Kalman::ptObsFctParams, x, z, H);
    }
    void obsJacObs(Vector& x, Vector& z, Matrix& B) override
    {
        differentiate(&Kalman::ptObsFctObs, z, x, B);
    }
    void stateJacParams(Vector& x, Vector& u, Matrix& F) override
    {
        differentiate(&Kalman::ptStateFctParams, x, u, F);
    }
    void stateJacCtrl(Vector& x, Vector& u, Matrix& G) override
    {
        differentiate(&Kalman::ptStateFctCtrl, u, x, G);
    }
    void differentiate(Function function, Vector& by, Vector& other, Matrix& J)
    {
        (this->*function)(by, other, value);
        Jacobien(function, 2u, by, other, 2u, value, J, 0.0);
    }

    Vector value = Vector(2);
};

Matrix jacobianAt(Vector const& x)
{
    double const r = x.length();
    return Matrix::of({{x[0] / r, x[1] / r}, {-x[1] / (r * r), x[0] / (r * r)}});
}

// The iterated update is Gauss-Newton on the sum of squares of prior and observation (Bell and
// Cathey 1993): where it ends, the gradient of that sum is 0.
TEST(KalmanIekf, ABearingAndRangeUpdateEndsAtTheMaximumOfThePosterior)
{
    constexpr double digits = 1e-6;  // what forward differences leave
    RadarFilter filter;
    filter.setTolerance(1e-24);
    filter.predict();
    EXPECT_TRUE(filter.getPredParams() == Vector::of({31.0, 39.5}));
    EXPECT_TRUE(isNear(filter.getPredParamsCov(), Matrix::of({{9.04, 0}, {0, 4.04}}), digits));
    filter.update();
    ASSERT_EQ(filter.getStatus(), Kalman::KL_OK);

    Matrix const H = jacobianAt(filter.getParams());
    Matrix const information = filter.getPredParamsCov().inverse();
    Matrix const weighted = H.transpose() * filter.getObsCov().inverse();
    filter.obsFct(filter.getParams(), filter.getObs(), filter.value);
    Vector const pull = information * (filter.getParams() - filter.getPredParams());
    EXPECT_GT(pull.length(), 0.1);
    EXPECT_TRUE(isNear(pull, -(weighted * filter.value), digits * pull.length()));
    EXPECT_TRUE(isNear(filter.getParamsCov(), (information + weighted * H).inverse(), digits));
}

TEST(KalmanIekf, AFailedUpdateTellsWhyAndLeavesTheEstimates)
{
    constexpr auto badArgument = Kalman::KL_BAD_ARGUMENT;
    constexpr auto nbIterations = Kalman::KL_NB_ITERATIONS;
    constexpr auto inversion = Kalman::KL_MATRIX_INVERSION;
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    std::pair<Kalman::KlStatus, std::function<void(LinearFilter&)>> const failures[] = {
        {badArgument, [](auto& f) { f = LinearFilter(0, 2, 1, 1); }},
        {badArgument, [](auto& f) { f = LinearFilter(2, 0, 1, 1); }},
        {badArgument, [](auto& f) { f = LinearFilter(2, 2, 1, -1); }},
        {badArgument, [](auto& f) { f.setParams(Vector(3)); }},
        {badArgument, [](auto& f) { f.setParamsCov(Matrix(1, 2)); }},
        {badArgument, [](auto& f) { f.setObs(Vector(1), Matrix(2, 2)); }},
        {badArgument, [](auto& f) { f.setObs(Vector(2), Matrix(1, 2)); }},
        {badArgument, [](auto& f) { f.observed = [&f] { f._obsJacParams = Matrix(1, 3); }; }},
        {nbIterations, [](auto& f) { f.observed = [&f] { f._obsJacParams = Matrix(); }; }},
        {nbIterations, [](auto& f) { f.observed = [&f] { f._obsJacObs = Matrix(); }; }},
        {inversion, [](auto& f) { f._obsCov = Matrix(2, 2), f.setParamsCov(Matrix(2, 2)); }},
        {inversion, [](auto& f) { f.setParamsCov(nan * Matrix(2, 2, Matrix::IDENTITY)); }},
    };
    for (auto const& [status, spoil] : failures) {
        LinearFilter filter;
        spoil(filter);
        LinearFilter const& result = filter;
        Vector const x = result.getParams();
        Matrix const P = result.getParamsCov();
        filter.update();
        EXPECT_EQ(filter.getStatus(), status);
        EXPECT_EQ(result.getParams().begin(), x.begin()) << "written to";
        EXPECT_EQ(result.getParamsCov().begin(), P.begin()) << "written to";
    }
}

TEST(KalmanIekf, OnlyAnUpdateClearsAFailureThatStopsPredictions)
{
    LinearFilter filter;
    Vector const start = filter.getParams();
    filter.setNbIterMax(1);
    filter.update();
    EXPECT_EQ(filter.getNbIter(), 1);
    EXPECT_EQ(filter.getStatus(), Kalman::KL_NB_ITERATIONS) << "one pass never converges";
    EXPECT_FALSE(filter.getParams() == start) << "but it counts";

    filter.predict();
    EXPECT_TRUE(filter.getPredParams() == start) << "predicted in spite of the failure";
    filter.setNbIterMax(50);
    filter.update();
    filter.predict();
    EXPECT_FALSE(filter.getPredParams() == start);
}

TEST(KalmanIekf, APredictionTellsBadArguments)
{
    LinearFilter filters[] = {LinearFilter(0, 2, 1, 1), LinearFilter(2, 0, 1, 1),
                              LinearFilter(2, 2, 0, 1), LinearFilter()};
    filters[3].setCtrl(Vector(1), Matrix(2, 2));
    for (LinearFilter& filter : filters) {
        filter.predict();
        EXPECT_EQ(filter.getStatus(), Kalman::KL_BAD_ARGUMENT);
        EXPECT_TRUE(filter.getPredParams() == filter.getParams());
    }
}

TEST(KalmanIekf, AZeroLinearisationPointNeverCountsAsConverged)
{
    LinearFilter filter;
    filter.setParams(Vector(2));
    filter.setObs(Vector(2), Matrix(2, 2, Matrix::IDENTITY));
    filter.update();
    EXPECT_EQ(filter.getStatus(), Kalman::KL_NB_ITERATIONS);
    EXPECT_EQ(filter.getNbIter(), 50);
}

TEST(Kalman, StatusesHaveTheirTexts)
{
    LinearFilter filter;
    char const* const texts[] = {"OK", "Bad Argument Error", "Number Iterations Error",
                                 "Matrix Inversion Error", "Memory Allocation Error"};
    for (int i = 0; i < 5; ++i) {
        filter._status = static_cast<Kalman::KlStatus>(i);
        EXPECT_STREQ(filter.getStatusMessage(), texts[i]);
    }
}

// The setters size some members by another dimension than the constructor; a filter made by them
// works all the same.
TEST(Kalman, SettersOfDimensionsSizeWhatDependsOnThem)
{
    using Size = std::pair<int, int>;
    auto const size = [](Matrix const& m) { return Size(m.getRow(), m.getCol()); };
    EXPECT_EQ(size(LinearFilter(2, 1, 1, 3)._gain), Size(2, 3)) << "here by values";
    LinearFilter filter(0, 0, 0, 0);
    filter.setDimObs(2);
    filter.setDimObsFct(3u);
    filter.setDimParams(std::size_t{2});
    filter.setDimCtrl(1);
    EXPECT_EQ(size(filter._gain), Size(2, 2)) << "by observations, not by values";
    EXPECT_EQ(size(filter._ctrlCov), Size(2, 2)) << "by parameters, not by controls";
    EXPECT_EQ(size(filter._obsJacParams), Size(3, 2));
    EXPECT_EQ(size(filter._obsJacObs), Size(0, 2)) << "there were no values yet";
    EXPECT_EQ(size(filter._stateJacCtrl), Size(2, 1));
    EXPECT_EQ(filter._obsFctValue.size(), 2u) << "by observations";

    filter.setDimObsFct(1);
    EXPECT_EQ(size(filter._obsJacParams), Size(1, 2));
    filter.start(2, 2, 1, 1);
    LinearFilter made;
    for (LinearFilter* const same : {&filter, &made}) same->predict(), same->update();
    EXPECT_EQ(filter.getStatus(), Kalman::KL_OK);
    EXPECT_TRUE(filter.getParams() == made.getParams());
}

TEST(Kalman, ObservationVariancesHaveAFloor)
{
    LinearFilter filter;
    filter.setObs(Vector(2), Matrix::of({{1.0, 0.5}, {0.5, 3.0}}));
    filter.checkObsCov(2.0);
    EXPECT_TRUE(isNear(filter.getObsCov(), Matrix::of({{2.0, 0.5}, {0.5, 3.0}}), 0));
}

TEST(Kalman, JacobienTakesTheStepItIsTold)
{
    RadarFilter filter;
    Vector z(2), f0(2);
    Matrix J(2, 2);
    auto const differentiate = [&](Vector x, double step) {
        filter.obsFct(x, z, f0);
        filter.Jacobien(&Kalman::ptObsFctParams, 2, x, z, 2, f0, J, step);
    };
    differentiate(Vector::of({3.0, 4.0}), 0.0);
    EXPECT_TRUE(J.equals(jacobianAt(Vector::of({3.0, 4.0})), 1e-7)) << "step 2^-26";
    // A step h adds h/2 times the second derivative.
    differentiate(Vector::of({3.0, 4.0}), -1e-4);
    EXPECT_NEAR(J[0][0], 0.6 + 0.03 / 2.0 * 16.0 / 125.0, 1e-5) << "relative step 0.01";
    differentiate(Vector::of({3.0, 0.0}), 1e-4);
    EXPECT_NEAR(J[0][1], 0.01 / 2.0 / 3.0, 1e-5) << "absolute step where the parameter is 0";
}

TEST(Kalman, JacobienRestoresTheArgumentAndChecksSizes)
{
    LinearFilter filter;
    Vector x = Vector::of({3.0, 4.0});
    Vector z(2), f0(1);
    Matrix J(1, 2);
    auto const differentiate = [&](int dimIn, int dimOut) {
        filter.Jacobien(&Kalman::ptObsFctParams, dimIn, x, z, dimOut, f0, J, 0.0);
    };
    differentiate(2, 1);
    EXPECT_MATH_ERROR(differentiate(3, 1), "Bad vector dimensions");
    EXPECT_MATH_ERROR(differentiate(2, 2), "Bad vector dimensions");
    J = Matrix(1, 1);
    EXPECT_MATH_ERROR(differentiate(2, 1), "Bad matrix dimensions");
    filter.observed = [] { throw std::runtime_error("no echo"); };
    EXPECT_THROW(differentiate(1, 1), std::runtime_error);
    EXPECT_TRUE(x == Vector::of({3.0, 4.0}));
}

}  // namespace
