#include "Report.h"

#include "math/LMMinPack.h"
#include "math/LinearAlgebra.h"
#include "math/SVDSolver.h"
#include "support/PublishedProblems.h"
#include "support/ReferenceValues.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace {

// A linear regression and the digits that its parameters must have by SVDSolver and by qrSolve:
// some one less than measured, for another BLAS.
struct Linear {
    char const* name;
    double bySvd;
    double byQr;
};

Linear const linears[] = {
    {"Norris", 12.0, 12.0}, {"Pontius", 5.0, 11.0}, {"NoInt1", 13.0, 13.0}, {"NoInt2", 13.0, 13.0},
    {"Filip", 7.0, 6.5},    {"Longley", 9.5, 9.5},  {"Wampler1", 8.5, 8.5}, {"Wampler2", 9.0, 11.0},
    {"Wampler3", 9.0, 8.5}, {"Wampler4", 7.5, 6.5}, {"Wampler5", 5.5, 4.5},
};

// Columns x^p for the powers from `first` (0: a column of ones) to `last` of each predictor.
Matrix designMatrix(std::vector<std::vector<double>> const& predictors, int first, int last)
{
    int const m = static_cast<int>(predictors[0].size());
    int const n = static_cast<int>(predictors.size()) * last + (first == 0 ? 1 : 0);
    Matrix A(m, n);
    for (int i = 0; i < m; ++i) {
        int j = 0;
        if (first == 0) A[i][j++] = 1.0;
        for (auto const& x : predictors)
            for (int p = 1; p <= last; ++p) A[i][j++] = std::pow(x[static_cast<std::size_t>(i)], p);
    }
    return A;
}

// The fewest digits over the elements, of the fifteen that are certified; a certified 0 counts
// absolutely.
double certifiedDigits(Vector const& actual, std::vector<double> const& certified)
{
    double digits = 15.0;
    for (std::size_t j = 0; j < certified.size(); ++j) {
        double const size = certified[j] == 0.0 ? 1.0 : std::abs(certified[j]);
        double const error = std::abs(actual[j] - certified[j]) / size;
        digits = std::min(digits, error < 1.0 ? -std::log10(error) : 0.0);  // NaN: 0
    }
    return digits;
}

constexpr double defaultTolerance = 0x1p-26;

struct Run {
    bool isAnalytic;
    double tolerance;
    double limit;  // of the digits where MINPACK itself finds the solution
};

constexpr Run runs[] = {{true, defaultTolerance, 3.0},
                        {true, 1e-15, 6.0},
                        {false, defaultTolerance, 3.0},
                        {false, 1e-15, 4.4}};

// From start 1 of BoxBOD the first full step ends where all derivatives vanish; the default
// tolerance takes start 1 of MGH17 for a solution. MINPACK called by hand does the same.
bool isMissed(std::string const& name, std::size_t start, double tolerance)
{
    return start == 0 && (name == "BoxBOD" || (name == "MGH17" && tolerance == defaultTolerance));
}

double solvedDigits(Problem const& problem, Vector const& start, Run const& run)
{
    ProblemCostFun costFun(problem);
    costFun.setBoolAnaDer(run.isAnalytic);
    LMMinPack solver;
    solver.setCostFun(&costFun);
    solver.setInitVecSol(start);
    solver.setTolerance(run.tolerance);
    solver.setNbMaxIter(10000);
    solver.solve();
    return correctDigits(solver.getVecSol(), problem.params);
}

// Digits of the standard deviations and of the sum of squares, from the second start.
std::vector<double> statisticsDigits(Problem const& problem)
{
    ProblemCostFun costFun(problem);
    LMMinPack solver;
    solver.setCostFun(&costFun);
    solver.setInitVecSol(problem.starts[1]);
    solver.setTolerance(1e-15);
    solver.solve();
    Vector deviations = solver.getCov().getDiagVector();
    for (double& d : deviations) d = std::sqrt(d) * solver.getSEUWAfter();
    double const squares = problem.m * std::pow(solver.getRMSAfter(), 2);
    return {correctDigits(deviations, problem.deviations),
            correctDigits(Vector::of({squares}), Vector::of({problem.sumOfSquares}))};
}

}  // namespace

void reportLinearRegressions(Report& report)
{
    report.section(
        "Linear regressions of the NIST Statistical Reference Datasets",
        R"(Digits that agree with the certified values (15 of them), the fewest over the parameters.
The columns are neither centred nor scaled; those of Filip depend on each other to fifteen
digits, and the noise of Wampler5 is 1e4 times that of Wampler3. `SVDSolver` weighs its
columns by their size, which costs digits where the sizes differ by orders of magnitude
(Pontius): scale them, or use `qrSolve`, which does not mix them.)",
        {"problem", "parameters, SVDSolver", "parameters, qrSolve", "standard deviations",
         "standard error of unit weight"});
    auto const rows = readReference("nist_strd_linear.csv");
    auto row = rows.begin();
    for (Linear const& problem : linears) {
        int const first = static_cast<int>(row[3].at(0)), last = static_cast<int>(row[3].at(1));
        auto const nbPredictors = static_cast<std::ptrdiff_t>(row[3].at(2));
        Matrix const A = designMatrix({row + 5, row + 5 + nbPredictors}, first, last);
        Vector const y = toVector(row[4]);
        SVDSolver solver;
        solver.solve(A, y);
        Vector deviations = solver.getCov().getDiagVector(), x(A.getCol());
        for (double& d : deviations) d = std::sqrt(d);
        qrSolve(A, y, x);
        report.row(problem.name,
                   {report.digits(certifiedDigits(solver.getVecSol(), row[0]), problem.bySvd),
                    report.digits(certifiedDigits(x, row[0]), problem.byQr),
                    report.digits(certifiedDigits(deviations, row[1]), 5.0),
                    report.digits(certifiedDigits(Vector::of({solver.getSEUW()}), row[2]), 7.0)});
        row += 5 + nbPredictors;
    }
}

void reportNonlinearRegressions(Report& report)
{
    report.section(
        "Non-linear regressions of the NIST Statistical Reference Datasets",
        R"(Digits of `LMMinPack` that agree with the certified values (11 of them), the fewest over the
parameters, from start 1 / start 2, with exact and with numeric derivatives, at the default
tolerance 2^-26 and at 1e-15. BoxBOD from start 1 and MGH17 from start 1 at the default
tolerance end elsewhere, as MINPACK called by hand does. Last, the digits of the standard
deviations and of the sum of squares; the residuals of Lanczos1, 1e-13, are rounding errors.)",
        {"problem", "exact", "exact, 1e-15", "numeric", "numeric, 1e-15", "deviations",
         "sum of squares"});
    for (Problem const& problem : nistProblems()) {
        std::vector<std::string> cells;
        for (Run const& run : runs) {
            std::string cell;
            for (std::size_t start : {0U, 1U}) {
                bool const missed = isMissed(problem.name, start, run.tolerance);
                cell += (start == 0 ? "" : " / ") +
                        report.digits(solvedDigits(problem, problem.starts[start], run),
                                      missed ? 0.0 : run.limit);
            }
            cells.push_back(cell);
        }
        auto const statistics = statisticsDigits(problem);
        bool const isExact = problem.name == "Lanczos1";
        cells.push_back(report.digits(statistics[0], isExact ? 0.0 : 6.0));
        cells.push_back(report.digits(statistics[1], isExact ? 0.0 : 9.0));
        report.row(problem.name, cells);
    }
}
