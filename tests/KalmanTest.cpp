#include "math/Kalman.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <limits>
#include <stdexcept>
#include <utility>

#include "math/LinearAlgebra.h"
#include "support/HeapCounter.h"
#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"

namespace {

Matrix diagonal(std::initializer_list<double> values)
{
    Matrix m(values.size(), values.size());
    m.setDiagVector(Vector::of(values));
    return m;
}

// vᵀ·M⁻¹·v
double mahalanobis(Vector const& v, Matrix const& M)
{
    return v.dot(M.inverse() * v);
}

// Opens the members, for tests of their sizes and to spoil them.
class OpenFilter : public KalmanIekf {
public:
    using Kalman::_ctrlCov, Kalman::_gain, Kalman::_obsFctValue, Kalman::_obsJacObs;
    using Kalman::_obsCov, Kalman::_obsJacParams, Kalman::_stateJacCtrl, Kalman::_status;
    using KalmanIekf::KalmanIekf;
};

// Position and speed along a line, pushed by an acceleration; the mean of two readings of the
// position is observed, so that g has one value of two observations.
class LineFilter : public OpenFilter {
public:
    static constexpr double dt = 0.5;

    explicit LineFilter(int n = 2, int m = 2, int c = 1, int p = 1) : OpenFilter(n, m, c, p)
    {
        start();
    }

    void start()
    {
        setParams(Vector::of({1.0, -2.0}));
        setParamsCov(diagonal({4.0, 1.0}));
        setCtrl(Vector::of({0.3}), diagonal({0.2}));
        setObs(Vector::of({0.4, 0.6}), diagonal({0.18, 0.18}));
    }

    void stateJacParams(Vector&, Vector&, Matrix& F) override
    {
        F[0][0] = F[1][1] = 1.0;
        F[0][1] = dt;
    }
    void stateJacCtrl(Vector&, Vector&, Matrix& G) override
    {
        G[0][0] = dt * dt / 2;
        G[1][0] = dt;
    }
    void stateFct(Vector& x, Vector& u, Vector& predicted) override
    {
        predicted[0] = x[0] + dt * x[1] + dt * dt / 2 * u[0];
        predicted[1] = x[1] + dt * u[0];
    }
    void obsJacParams(Vector&, Vector&, Matrix& H) override { H[0][0] = 1.0; }
    void obsJacObs(Vector&, Vector&, Matrix& B) override { B[0][0] = B[0][1] = -0.5; }
    void obsFct(Vector& x, Vector& z, Vector& value) override
    {
        value[0] = x[0] - (z[0] + z[1]) / 2.0;
        if (observed) observed();
    }

    std::function<void()> observed;
};

// A linear filter gives the least-squares estimate from all data at once: here over the first
// state and every acceleration, with one equation for the prior of each and for each observation.
TEST(KalmanIekf, AgreesWithLeastSquaresOverAllDataOfALinearSystem)
{
    int const steps = 8;
    int const unknowns = 2 + steps;
    RandomData data(5);
    LineFilter filter;
    filter.setTolerance(1e9);  // the second pass is made all the same
    Matrix A(unknowns + steps, unknowns);
    Vector b(unknowns + steps);
    A(0, 0, diagonal({1.0 / 2.0, 1.0}));
    b(0, Vector::of({1.0 / 2.0, -2.0}));
    Matrix state(2, unknowns, Matrix::IDENTITY);  // the state of this step, by the unknowns
    for (int k = 0; k < steps; ++k) {
        double const u = data.normal(0.5);
        double const z = data.normal(1.0);
        filter.setCtrl(Vector::of({u}), diagonal({0.2}));
        filter.predict();
        filter.setObs(Vector::of({z - 1.0, z + 1.0}), diagonal({0.18, 0.18}));
        filter.update();
        ASSERT_EQ(filter.getStatus(), Kalman::KL_OK) << filter.getStatusMessage();
        EXPECT_EQ(filter.getNbIter(), 2);

        double const dt = LineFilter::dt;
        state = Matrix::of({{1.0, dt}, {0.0, 1.0}}) * state;
        state.setColVector(2 + k, Vector::of({dt * dt / 2.0, dt}));
        A[2 + k][2 + k] = 1.0 / std::sqrt(0.2);
        b[2 + k] = u / std::sqrt(0.2);
        A.setRowVector(unknowns + k, state.getRowVector(0) / 0.3);
        b[unknowns + k] = z / 0.3;
    }
    Matrix const cov = (A.transpose() * A).inverse();
    constexpr double tolerance = 1e-12;  // some hundred roundings of values around 1
    EXPECT_TRUE(filter.getParams().equals(state * (cov * (A.transpose() * b)), tolerance));
    EXPECT_TRUE(filter.getParamsCov().equals(state * cov * state.transpose(), tolerance));
}

TEST(KalmanIekf, OneParameterBecomesTheWeightedMean)
{
    class : public OpenFilter {
    public:
        using OpenFilter::OpenFilter;
        void stateJacParams(Vector&, Vector&, Matrix& F) override { F[0][0] = 1.0; }
        void stateJacCtrl(Vector&, Vector&, Matrix&) override {}
        void stateFct(Vector& x, Vector&, Vector& predicted) override { predicted[0] = x[0]; }
        void obsJacParams(Vector&, Vector&, Matrix& H) override { H[0][0] = 1.0; }
        void obsJacObs(Vector&, Vector&, Matrix& B) override { B[0][0] = -1.0; }
        void obsFct(Vector& x, Vector& z, Vector& value) override { value[0] = x[0] - z[0]; }
    } filter(1, 1, 0, 1);
    filter.setParams(Vector::of({10.0}));
    filter.setParamsCov(diagonal({4.0}));
    filter.setObs(Vector::of({12.0}), diagonal({1.0}));
    filter.predict();
    filter.update();
    EXPECT_DOUBLE_EQ(filter.getParams()[0], 11.6);  // (10 / 4 + 12) / (1 / 4 + 1)
    EXPECT_DOUBLE_EQ(filter.getParamsCov()[0][0], 0.8);
}

// A point in the plane that moves by the control, seen by range and bearing from the origin, with
// numeric Jacobians throughout.
class RadarFilter : public OpenFilter {
public:
    RadarFilter() : OpenFilter(2u, 2u, 2u, 2u)
    {
        setParams(Vector::of({30.0, 40.0}));
        setParamsCov(diagonal({9.0, 4.0}));
        setCtrl(Vector::of({1.0, -0.5}), diagonal({0.04, 0.04}));
        setObs(Vector::of({52.0, 0.9}), diagonal({0.01, 1e-4}));
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
    RadarFilter filter;
    filter.setTolerance(1e-24);
    filter.predict();
    filter.update();
    ASSERT_EQ(filter.getStatus(), Kalman::KL_OK);

    Matrix const H = jacobianAt(filter.getParams());
    Matrix const information = filter.getPredParamsCov().inverse();
    Matrix const weighted = H.transpose() * filter.getObsCov().inverse();
    filter.obsFct(filter.getParams(), filter.getObs(), filter.value);
    Vector const pull = information * (filter.getParams() - filter.getPredParams());
    constexpr double digits = 1e-6;  // what forward differences leave
    EXPECT_GT(pull.length(), 0.1);
    EXPECT_TRUE(pull.equals(-(weighted * filter.value), digits * pull.length()));
    EXPECT_TRUE(filter.getParamsCov().equals((information + weighted * H).inverse(), digits));
}

// Errors and innovations have the sizes that their covariances tell: their normalised squares are
// chi-square, within 4 sigma of their mean, for each of the two over all runs and steps.
TEST(KalmanIekf, IsConsistentOverManyRuns)
{
    RandomData data(3);
    int const runs = 300;
    int const steps = 10;
    double errors = 0.0;
    double innovations = 0.0;
    for (int run = 0; run < runs; ++run) {
        RadarFilter filter;
        Vector x = filter.getParams() + Vector::of({data.normal(3.0), data.normal(2.0)});
        for (int k = 0; k < steps; ++k) {
            x = x + Vector::of({1.0 + data.normal(0.2), -0.5 + data.normal(0.2)});
            filter.predict();
            filter.setObs(Vector::of({x.length() + data.normal(0.1),
                                      std::atan2(x[1], x[0]) + data.normal(0.01)}),
                          diagonal({0.01, 1e-4}));
            Matrix const H = jacobianAt(filter.getPredParams());
            filter.obsFct(filter.getPredParams(), filter.getObs(), filter.value);
            Matrix const S = H * filter.getPredParamsCov() * H.transpose() + filter.getObsCov();
            innovations += mahalanobis(filter.value, S);
            filter.update();
            for (Matrix const& P : {filter.getPredParamsCov(), filter.getParamsCov()})
                ASSERT_EQ(P[0][1], P[1][0]) << "to the last bit";
        }
        errors += mahalanobis(filter.getParams() - x, filter.getParamsCov());
    }
    EXPECT_NEAR(errors / runs, 2.0, 4.0 * std::sqrt(4.0 / runs));
    EXPECT_NEAR(innovations / (runs * steps), 2.0, 4.0 * std::sqrt(4.0 / (runs * steps)));
}

TEST(KalmanIekf, AFailedUpdateTellsWhyAndLeavesTheEstimates)
{
    constexpr auto badArgument = Kalman::KL_BAD_ARGUMENT;
    constexpr auto nbIterations = Kalman::KL_NB_ITERATIONS;
    constexpr auto inversion = Kalman::KL_MATRIX_INVERSION;
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    struct Failure {
        Kalman::KlStatus status;
        std::function<void(LineFilter&)> spoil;
    };
    Failure const failures[] = {
        {badArgument, [](auto& f) { f = LineFilter(0, 2, 1, 1); }},
        {badArgument, [](auto& f) { f = LineFilter(2, 0, 1, 1); }},
        {badArgument, [](auto& f) { f = LineFilter(2, 2, 1, -1); }},
        {badArgument, [](auto& f) { f.setParams(Vector(3)); }},
        {badArgument, [](auto& f) { f.setParamsCov(Matrix(1, 2)); }},
        {badArgument, [](auto& f) { f.setObs(Vector(1), Matrix(2, 2)); }},
        {badArgument, [](auto& f) { f.setObs(Vector(2), Matrix(1, 2)); }},
        {badArgument, [](auto& f) { f.observed = [&f] { f._obsJacParams = Matrix(1, 3); }; }},
        {nbIterations, [](auto& f) { f.observed = [&f] { f._obsJacParams = Matrix(); }; }},
        {nbIterations, [](auto& f) { f.observed = [&f] { f._obsJacObs = Matrix(); }; }},
        {inversion, [](auto& f) { f._obsCov = Matrix(2, 2), f.setParamsCov(Matrix(2, 2)); }},
        {inversion,
         [](auto& f) {
             f.setParamsCov(diagonal({nan, 1.0}));
         }},
    };
    for (auto const& [status, spoil] : failures) {
        LineFilter filter;
        spoil(filter);
        LineFilter const& result = filter;
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
    LineFilter filter;
    filter.setNbIterMax(1);
    filter.update();
    EXPECT_EQ(filter.getNbIter(), 1);
    EXPECT_EQ(filter.getStatus(), Kalman::KL_NB_ITERATIONS) << "one pass never converges";
    EXPECT_NE(filter.getParams()[0], 1.0) << "but it counts";

    filter.predict();
    EXPECT_EQ(filter.getPredParams()[0], 1.0) << "predicted in spite of the failure";
    filter.setNbIterMax(50);
    filter.update();
    filter.predict();
    EXPECT_NE(filter.getPredParams()[0], 1.0);
}

TEST(KalmanIekf, APredictionTellsBadArguments)
{
    LineFilter noParams(0, 2, 1, 1), noObs(2, 0, 1, 1), noCtrl(2, 2, 0, 1), wrong;
    wrong.setCtrl(Vector(1), Matrix(2, 2));
    for (LineFilter* const filter : {&noParams, &noObs, &noCtrl, &wrong}) {
        filter->predict();
        EXPECT_EQ(filter->getStatus(), Kalman::KL_BAD_ARGUMENT);
        EXPECT_EQ(filter->getPredParams()[0], 1.0);
    }
}

TEST(KalmanIekf, AZeroLinearisationPointNeverCountsAsConverged)
{
    LineFilter filter;
    filter.setParams(Vector(2));
    filter.setObs(Vector(2), diagonal({0.18, 0.18}));
    filter.update();
    EXPECT_EQ(filter.getStatus(), Kalman::KL_NB_ITERATIONS);
    EXPECT_EQ(filter.getNbIter(), 50);
}

TEST(KalmanIekf, StepsTakeNothingFromTheHeap)
{
    LineFilter filter;
    auto const step = [&] { filter.predict(), filter.update(); };
    step();
    HeapCounter const heap;
    for (int k = 0; k < 10; ++k) step();
    EXPECT_EQ(heap.blocks(), 0u);
}

TEST(Kalman, StatusesHaveTheirTexts)
{
    LineFilter filter;
    char const* const texts[] = {"OK",
                                 "Bad Argument Error",
                                 "Number Iterations Error",
                                 "Matrix Inversion Error",
                                 "Memory Allocation Error",
                                 "Memory Allocation Error"};
    for (int i = 0; i < 6; ++i) {
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
    LineFilter filter(0, 0, 0, 0);
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
    filter.start();
    LineFilter made;
    for (LineFilter* const same : {&filter, &made}) same->predict(), same->update();
    EXPECT_EQ(filter.getStatus(), Kalman::KL_OK);
    EXPECT_TRUE(filter.getParams() == made.getParams());
}

TEST(Kalman, ObservationVariancesHaveAFloor)
{
    LineFilter filter;
    filter.setObs(Vector(2), Matrix::of({{1.0, 0.5}, {0.5, 3.0}}));
    filter.checkObsCov(2.0);
    EXPECT_TRUE(filter.getObsCov() == Matrix::of({{2.0, 0.5}, {0.5, 3.0}}));
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
    LineFilter filter;
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
