#include "math/LinearAlgebra.h"
#include "math/SVDSolver.h"
#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

constexpr double epsilon = std::numeric_limits<double>::epsilon();

// Short systems are decomposed as they are, tall ones after a reduction; both kinds and the border.
struct Shape {
    int rows;
    int cols;
};
constexpr Shape shapes[] = {{3, 0},  {1, 1},  {4, 4},   {5, 4},  {63, 2},
                            {64, 2}, {65, 2}, {500, 1}, {200, 6}};

// Digits that `actual` has in common with a certified value.
double agreeingDigits(double actual, double certified)
{
    double const error = std::abs(actual - certified) / std::abs(certified);
    return -std::log10(std::max(error, epsilon));
}

Matrix polynomialTerms(Vector const& x, int degree)
{
    Matrix terms(x.getSize(), degree + 1);
    for (int i = 0; i < terms.getRow(); ++i)
        for (int k = 0; k <= degree; ++k) terms[i][k] = std::pow(x[i], k);
    return terms;
}

// A regression of the Statistical Reference Datasets, National Institute of Standards and
// Technology, https://www.itl.nist.gov/div898/strd, with its certified values.
struct Regression {
    std::string name;
    Matrix A;
    Vector b;
    Vector parameters;
    Vector deviations;  // standard deviations of the parameters
    double sumOfSquares;
    double digits;  // agreed by all parameters, whichever BLAS is at work
};

Regression filip()
{
    Vector const y = Vector::of(
        {0.8116, 0.9072, 0.9052, 0.9039, 0.8053, 0.8377, 0.8667, 0.8809, 0.7975, 0.8162, 0.8515,
         0.8766, 0.8885, 0.8859, 0.8959, 0.8913, 0.8959, 0.8971, 0.9021, 0.9090, 0.9139, 0.9199,
         0.8692, 0.8872, 0.8900, 0.8910, 0.8977, 0.9035, 0.9078, 0.7675, 0.7705, 0.7713, 0.7736,
         0.7775, 0.7841, 0.7971, 0.8329, 0.8641, 0.8804, 0.7668, 0.7633, 0.7678, 0.7697, 0.7700,
         0.7749, 0.7796, 0.7897, 0.8131, 0.8498, 0.8741, 0.8061, 0.8460, 0.8751, 0.8856, 0.8919,
         0.8934, 0.8940, 0.8957, 0.9047, 0.9129, 0.9209, 0.9219, 0.7739, 0.7681, 0.7665, 0.7703,
         0.7702, 0.7761, 0.7809, 0.7961, 0.8253, 0.8602, 0.8809, 0.8301, 0.8664, 0.8834, 0.8898,
         0.8964, 0.8963, 0.9074, 0.9119, 0.9228});
    Vector const x = Vector::of(
        {-6.860120914, -4.324130045, -4.358625055, -4.358426747, -6.955852379, -6.661145254,
         -6.355462942, -6.118102026, -7.115148017, -6.815308569, -6.519993057, -6.204119983,
         -5.853871964, -6.109523091, -5.79832982,  -5.482672118, -5.171791386, -4.851705903,
         -4.517126416, -4.143573228, -3.709075441, -3.499489089, -6.300769497, -5.953504836,
         -5.642065153, -5.031376979, -4.680685696, -4.329846955, -3.928486195, -8.56735134,
         -8.363211311, -8.107682739, -7.823908741, -7.522878745, -7.218819279, -6.920818754,
         -6.628932138, -6.323946875, -5.991399828, -8.781464495, -8.663140179, -8.473531488,
         -8.247337057, -7.971428747, -7.676129393, -7.352812702, -7.072065318, -6.774174009,
         -6.478861916, -6.159517513, -6.835647144, -6.53165267,  -6.224098421, -5.910094889,
         -5.598599459, -5.290645224, -4.974284616, -4.64454848,  -4.290560426, -3.885055584,
         -3.408378962, -3.13200249,  -8.726767166, -8.66695597,  -8.511026475, -8.165388579,
         -7.886056648, -7.588043762, -7.283412422, -6.995678626, -6.691862621, -6.392544977,
         -6.067374056, -6.684029655, -6.378719832, -6.065855188, -5.752272167, -5.132414673,
         -4.811352704, -4.098269308, -3.66174277,  -3.2644011});
    return {"Filip",
            polynomialTerms(x, 10),
            y,
            Vector::of({-1467.48961422980, -2772.17959193342, -2316.37108160893, -1127.97394098372,
                        -354.478233703349, -75.1242017393757, -10.8753180355343, -1.06221498588947,
                        -0.670191154593408e-01, -0.246781078275479e-02, -0.402962525080404e-04}),
            Vector::of({298.084530995537, 559.779865474950, 466.477572127796, 227.204274477751,
                        71.6478660875927, 15.2897178747400, 2.23691159816033, 0.221624321934227,
                        0.142363763154724e-01, 0.535617408889821e-03, 0.896632837373868e-05}),
            0.795851382172941e-03,
            7.0};
}

// Wampler 3, 4 and 5: a polynomial whose coefficients are 1, plus a multiple of errors that are
// orthogonal to all polynomials of degree 5.
Regression wampler(int number, double factor)
{
    Vector const errors =
        Vector::of({759,   -2048, 2048,  -2048, 2523,  -2048, 2048,  -2048, 1838,  -2048, 2048,
                    -2048, 1838,  -2048, 2048,  -2048, 2523,  -2048, 2048,  -2048, 759});
    Vector x(errors.size());
    for (int i = 0; i < x.getSize(); ++i) x[i] = i;
    Matrix const A = polynomialTerms(x, 5);
    Vector const ones = Vector::of({1, 1, 1, 1, 1, 1});
    return {"Wampler " + std::to_string(number),
            A,
            A * ones + factor * errors,
            ones,
            factor * Vector::of({2152.32624678170, 2363.55173469681, 779.343524331583,
                                 101.475507550350, 5.64566512170752, 0.112324854679312}),
            factor * factor * 83554268.0,
            number == 3   ? 9.0
            : number == 4 ? 7.5
                          : 5.5};
}

TEST(SVDSolver, ReproducesCertifiedRegressions)
{
    double const covarianceDigits = 5.0;  // it comes from singular vectors, which mix the columns
    for (Regression const& problem :
         {filip(), wampler(3, 1.0), wampler(4, 100.0), wampler(5, 1e4)}) {
        SCOPED_TRACE(problem.name);
        SVDSolver solver;
        solver.solve(problem.A, problem.b);

        unsigned int const n = problem.parameters.size();
        EXPECT_EQ(solver.getMatRank(), n);
        for (unsigned int i = 0; i < n; ++i) {
            SCOPED_TRACE(i);
            EXPECT_GT(agreeingDigits(solver.getVecSol()[i], problem.parameters[i]), problem.digits);
            EXPECT_GT(agreeingDigits(std::sqrt(solver.getCov()[i][i]), problem.deviations[i]),
                      std::min(problem.digits, covarianceDigits));
        }
        double const freedom = problem.A.getRow() - problem.A.getCol();
        EXPECT_GT(agreeingDigits(solver.getSEUW(), std::sqrt(problem.sumOfSquares / freedom)),
                  problem.digits);
    }
}

TEST(SVDSolver, AgreesWithTheGeneralLeastSquaresRoutine)
{
    RandomData random(31);
    for (auto const [m, n] : shapes) {
        SCOPED_TRACE(std::to_string(m) + " x " + std::to_string(n));
        Matrix const A = random.matrix(m, n);
        Vector const b = random.vector(m);
        SVDSolver solver;
        solver.solve(A, b);

        Vector x(n);
        unsigned int rank = 0;
        double cond = 0.0;
        ASSERT_TRUE(svdSolve(A, b, x, rank, cond, -1.0));
        Vector const r = A * x - b;
        Matrix normalInverse = (A.transpose() * A).inverse();
        double const tolerance = 1e4 * epsilon;  // conditions up to about 100, squared at worst
        EXPECT_TRUE(solver.getVecSol().equals(x, tolerance * x.length()));
        EXPECT_EQ(solver.getMatRank(), rank);
        EXPECT_NEAR(solver.getMatCond(), cond, tolerance * cond);
        EXPECT_TRUE(solver.getResiduals().equals(r, tolerance * b.length()));
        EXPECT_NEAR(solver.getRMS(), r.length() / std::sqrt(m), tolerance);
        EXPECT_NEAR(solver.getSEUW(), m > n ? r.length() / std::sqrt(m - n) : -1.0, tolerance);
        normalInverse *= solver.getSEUW() * solver.getSEUW();
        EXPECT_TRUE(
            solver.getCov().equals(normalInverse, tolerance * normalInverse.frobeniusNorm()));
        EXPECT_EQ(solver.getNbEquations(), static_cast<unsigned int>(m));
        EXPECT_EQ(solver.getNbVariables(), static_cast<unsigned int>(n));
    }
}

TEST(SVDSolver, SquareSystemKeepsTheCovarianceForUnitVariance)
{
    SVDSolver solver;
    solver.solve(Matrix::of({{2, 0}, {0, 4}}), Vector::of({2, 8}));
    EXPECT_EQ(solver.getSEUW(), -1.0);
    EXPECT_EQ(solver.getRMS(), 0.0);
    Vector const x = solver.getVecSol();
    Matrix const cov = solver.getCov();
    solver.solve(Matrix::of({{1, 0}, {0, 1}}), Vector::of({7, 7}));  // copies survive it
    EXPECT_TRUE(x.equals(Vector::of({1, 2}), epsilon));
    EXPECT_TRUE(cov.equals(Matrix::of({{0.25, 0}, {0, 0.0625}}), epsilon));
}

TEST(SVDSolver, TakesTheSolutionOfMinimumNormWhereColumnsDepend)
{
    for (int const m : {3, 300}) {
        SCOPED_TRACE(m);
        Matrix A(m, 3);  // of rank 1 without any rounding: x[0] + 2·x[1] = 5 is all it says
        A[0][0] = 1.0;
        A[0][1] = 2.0;
        Vector b(m);
        b[0] = 5.0;
        SVDSolver solver;
        solver.solve(A, b);
        double const tolerance = 32.0 * epsilon;
        EXPECT_EQ(solver.getMatRank(), 1U);
        EXPECT_EQ(solver.getMatCond(), -1.0);
        EXPECT_TRUE(solver.getVecSol().equals(Vector::of({1, 2, 0}), tolerance));
        EXPECT_LT(solver.getRMS(), tolerance);
    }
}

TEST(SVDSolver, HomogeneousSolutionIsTheUnitVectorOfTheNullSpace)
{
    RandomData random(32);
    for (auto const [m, n] : shapes) {
        SCOPED_TRACE(std::to_string(m) + " x " + std::to_string(n));
        Vector const direction = random.vector(n);
        Vector const expected = direction / direction.length();
        Matrix A = random.matrix(m, n);
        for (int i = 0; i < m; ++i) {
            Vector const row = A.getRowVector(i);
            A.setRowVector(i, row - row.dot(expected) * expected);
        }
        SVDSolver solver;
        solver.solve(A);
        EXPECT_EQ(solver.getNbEquations(), static_cast<unsigned int>(m));
        if (n == 0) continue;
        double const tolerance = 1e3 * epsilon;
        EXPECT_NEAR(solver.getVecSol().length(), 1.0, tolerance);
        EXPECT_NEAR(std::abs(solver.getVecSol().dot(expected)), 1.0, tolerance);
        EXPECT_LT(solver.getResiduals().length(), tolerance * (1.0 + A.frobeniusNorm()));
    }
}

TEST(SVDSolver, MayBeGivenItsOwnResults)
{
    Matrix const A = Matrix::of({{2, 1}, {1, 3}, {0, 1}});
    SVDSolver solver;
    solver.solve(A, Vector::of({1, 0, 0}));
    Vector const residuals = solver.getResiduals();
    solver.solve(A, solver.getResiduals());
    EXPECT_LT(solver.getVecSol().length(), 4.0 * epsilon);  // residuals are orthogonal to A
    EXPECT_TRUE(solver.getResiduals().equals(-residuals, 4.0 * epsilon));

    Matrix const cov = solver.getCov();
    solver.solve(solver.getCov(), Vector::of({1, 2}));
    EXPECT_TRUE((cov * solver.getVecSol()).equals(Vector::of({1, 2}), 1e3 * epsilon));
}

TEST(SVDSolver, RefusesMisuse)
{
    SVDSolver solver;
    Matrix const wide(2, 3);
    Matrix notFinite(3, 2);
    notFinite[1][1] = std::numeric_limits<double>::quiet_NaN();
    Matrix tallNotFinite(300, 2);
    tallNotFinite[299][0] = std::numeric_limits<double>::infinity();
    EXPECT_MATH_ERROR(solver.solve(wide, Vector(3)), "Uncompatible matrix/vector size");
    EXPECT_MATH_ERROR(solver.solve(wide, Vector(2)), "Invalid matrix size, need more row than col");
    EXPECT_MATH_ERROR(solver.solve(wide), "Invalid matrix size, need more row than col");
    EXPECT_MATH_ERROR(solver.solve(notFinite, Vector(3)), "SVD decomposition failed");
    EXPECT_MATH_ERROR(solver.solve(tallNotFinite, Vector(300)), "SVD decomposition failed");
    EXPECT_MATH_ERROR(solver.solve(tallNotFinite), "SVD decomposition failed");
    for (int const m : {4, 300}) {  // singular values that overflow
        Matrix huge(m, 2);
        for (double& element : huge) element = 1e308;
        EXPECT_MATH_ERROR(solver.solve(huge, Vector(m)), "SVD decomposition failed");
    }

    char const* const notSolved = "Call solve before use";
    EXPECT_MATH_ERROR(solver.getVecSol(), notSolved);
    EXPECT_MATH_ERROR(solver.getResiduals(), notSolved);
    EXPECT_MATH_ERROR(solver.getRMS(), notSolved);
    EXPECT_MATH_ERROR(solver.getSEUW(), notSolved);
    EXPECT_MATH_ERROR(solver.getCov(), notSolved);
    EXPECT_MATH_ERROR(solver.getMatCond(), notSolved);
    EXPECT_MATH_ERROR(solver.getMatRank(), notSolved);
    EXPECT_MATH_ERROR(solver.getNbEquations(), notSolved);
    EXPECT_MATH_ERROR(solver.getNbVariables(), notSolved);

    solver.solve(Matrix::of({{2}}), Vector::of({4}));
    EXPECT_MATH_ERROR(solver.solve(wide), "Invalid matrix size, need more row than col");
    EXPECT_NO_THROW(solver.getVecSol());
}

class OpenSvdSolver : public SVDSolver {
public:
    using SVDSolver::_matU;
    using SVDSolver::_matV;
    using SVDSolver::_vecS;

protected:
    using SVDSolver::solveSystem;
    void solveSystem(Matrix const& A, Vector const&) override { svdDecomp(A); }
};

TEST(SVDSolver, DerivedClassFindsTheFactorsOfATallMatrix)
{
    Matrix const A = RandomData(33).matrix(300, 3);
    OpenSvdSolver solver;
    solver.solve(A, Vector(300));
    Matrix S(3, 3);
    S.setDiagVector(*solver._vecS);
    EXPECT_TRUE((*solver._matU * S * solver._matV->transpose()).equals(A, 32.0 * epsilon));
}

class ScriptedSolver : public LinearSolver {
protected:
    void solveSystem(Matrix const& A) override { solveSystem(A, Vector()); }
    void solveSystem(Matrix const& A, Vector const&) override
    {
        EXPECT_TRUE(_vecSol->equals(Vector(A.getCol()), 0.0));
        EXPECT_TRUE(_cov->equals(Matrix(2, 2, Matrix::IDENTITY), 0.0));
        EXPECT_EQ(_matCond, -1.0);
        EXPECT_EQ(_matRank, UINT_MAX);
        (*_vecSol)[0] = 3.0;
    }
};

TEST(LinearSolver, DerivesTheStatisticsFromTheSolutionOfADerivedClass)
{
    Matrix const A = Matrix::of({{1, 0}, {0, 1}, {2, 0}, {0, 0}, {0, 0}, {0, 0}});
    ScriptedSolver solver;
    for (int pass = 0; pass < 2; ++pass) {
        solver.solve(A, Vector::of({1, 0, 5, 0, 0, 1}));
        EXPECT_TRUE(solver.getResiduals().equals(Vector::of({2, 0, 1, 0, 0, -1}), 0.0));
        EXPECT_DOUBLE_EQ(solver.getRMS(), 1.0);
        EXPECT_DOUBLE_EQ(solver.getSEUW(), std::sqrt(1.5));
        EXPECT_TRUE(solver.getCov().equals(Matrix(2, 2, Matrix::IDENTITY) * 1.5, 4.0 * epsilon));
    }
    solver.solve(A);
    EXPECT_TRUE(solver.getResiduals().equals(Vector::of({3, 0, 6, 0, 0, 0}), 0.0));
}

}  // namespace
