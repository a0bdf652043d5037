#include "Module.h"

#include "math/LinearAlgebra.h"
#include "math/PCAAnalysis.h"
#include "math/SVDSolver.h"
#include "math/poly.h"

#include <algorithm>
#include <complex>

namespace measuremath::python {

namespace {

// Python's functions return their outputs, so that they cannot return false besides.
void requireSuccess(bool success)
{
    require(success, "Numerical failure: singular, not converging or not finite");
}

int smaller(Matrix const& A)
{
    return std::min(A.getRow(), A.getCol());
}

py::tuple thinSvd(Matrix const& A)
{
    int const k = smaller(A);
    Matrix U(A.getRow(), k), V(A.getCol(), k);
    Vector S(k);
    requireSuccess(svd(A, U, S, V));
    return py::make_tuple(U, S, V);
}

py::tuple squareSvd(Matrix const& A)
{
    Matrix U(A.getRow(), A.getRow()), V(A.getCol(), A.getCol());
    Vector S(smaller(A));
    requireSuccess(fullSvd(A, U, S, V));
    return py::make_tuple(U, S, V);
}

// A solution, or an inverse, with the rank and the condition number that come with it.
template <class Result, class Solve>
py::tuple withRank(Result result, Solve solve)
{
    unsigned int rank = 0;
    double cond = 1.0;
    requireSuccess(solve(result, rank, cond));
    return py::make_tuple(result, rank, cond);
}

void bindSingularValues(py::module_& m)
{
    m.def("svd", &thinSvd, py::arg("A"),
          "(U, S, V) of A = U diag(S) V', thin: m x k, k and n x k; V, not its transpose.");
    m.def("fullSvd", &squareSvd, py::arg("A"), "(U, S, V) with square U and V.");
    m.def(
        "svdSolve",
        [](Matrix const& A, Vector const& b, double rcond) {
            return withRank(Vector(A.getCol()), [&](Vector& x, unsigned int& rank, double& cond) {
                return svdSolve(A, b, x, rank, cond, rcond);
            });
        },
        py::arg("A"), py::arg("b"), py::arg("rcond") = -1.0,
        "(x, rank, cond) of the least-squares solution of least norm, for m >= n.");
    m.def(
        "svdSolve",
        [](Matrix const& A, double rcond) {
            return withRank(Vector(A.getCol()), [&](Vector& x, unsigned int& rank, double& cond) {
                return svdSolve(A, x, rank, cond, rcond);
            });
        },
        py::arg("A"), py::arg("rcond") = -1.0,
        "(x, rank, cond) of the unit vector x with the least |A x|, for m >= n.");
    m.def(
        "singularValuesThreshold",
        [](Vector s, unsigned int nbThresholded) {
            return withRank(std::move(s), [&](Vector& values, unsigned int& rank, double& cond) {
                singularValuesThreshold(values, rank, cond, nbThresholded);
                return true;
            });
        },
        py::arg("s"), py::arg("nbThresholded"), "(s, rank, cond) with the last values set to 0.");
    m.def(
        "singularValuesThreshold",
        [](Vector s, double relTol) {
            return withRank(std::move(s), [&](Vector& values, unsigned int& rank, double& cond) {
                singularValuesThreshold(values, rank, cond, relTol);
                return true;
            });
        },
        py::arg("s"), py::arg("relTol"), "(s, rank, cond) with values up to relTol s[0] set to 0.");
    m.def(
        "svdInverse",
        [](Matrix const& A, unsigned int nbThresholded) {
            return withRank(Matrix(A.getCol(), A.getRow()),
                            [&](Matrix& X, unsigned int& rank, double& cond) {
                                return svdInverse(A, X, rank, cond, nbThresholded);
                            });
        },
        py::arg("A"), py::arg("nbThresholded"),
        "(invA, rank, cond) of the pseudo-inverse without the smallest singular values.");
    m.def(
        "svdInverse",
        [](Matrix const& A, double relTol) {
            return withRank(Matrix(A.getCol(), A.getRow()),
                            [&](Matrix& X, unsigned int& rank, double& cond) {
                                return svdInverse(A, X, rank, cond, relTol);
                            });
        },
        py::arg("A"), py::arg("relTol") = -1.0,
        "(invA, rank, cond) of the pseudo-inverse over the singular values above relTol S[0].");
    m.def(
        "svdInverse",
        [](Matrix const& U, Vector const& S, Matrix const& V) {
            Matrix invA(V.getRow(), U.getRow());
            svdInverse(U, S, V, invA);
            return invA;
        },
        py::arg("U"), py::arg("S"), py::arg("V"), "Pseudo-inverse from a thin decomposition.");
    m.def(
        "svdCovariance",
        [](Vector const& S, Matrix const& V) {
            Matrix cov(V.getRow(), V.getRow());
            svdCovariance(S, V, cov);
            return cov;
        },
        py::arg("S"), py::arg("V"), "Covariance (A'A)^-1 of the least-squares solution.");
}

// The solution of A x = b by a function that says whether it found one.
template <bool (*solve)(Matrix const&, Vector const&, Vector&)>
Vector solution(Matrix const& A, Vector const& b)
{
    Vector x(A.getCol());
    requireSuccess(solve(A, b, x));
    return x;
}

// A matrix of the size of A by such a function.
template <bool (*compute)(Matrix const&, Matrix&)>
Matrix sameSize(Matrix const& A)
{
    Matrix result(A.getRow(), A.getCol());
    requireSuccess(compute(A, result));
    return result;
}

void bindFactors(py::module_& m)
{
    m.def(
        "qrSolve",
        [](Matrix const& A, Vector const& b) {
            Vector x(A.getCol());
            qrSolve(A, b, x);
            return x;
        },
        py::arg("A"), py::arg("b"), "Least-squares solution for m >= n and full rank.");
    m.def(
        "qr",
        [](Matrix const& A) {
            Matrix Q(A.getRow(), smaller(A)), R(smaller(A), A.getCol());
            qr(A, Q, R);
            return py::make_tuple(Q, R);
        },
        py::arg("A"), "(Q, R) of A = Q R, thin.");
    m.def(
        "lq",
        [](Matrix const& A) {
            Matrix L(A.getRow(), smaller(A)), Q(smaller(A), A.getCol());
            lq(A, L, Q);
            return py::make_tuple(L, Q);
        },
        py::arg("A"), "(L, Q) of A = L Q, thin.");
    m.def("luSolve", &solution<luSolve>, py::arg("A"), py::arg("b"), "Solution for a square A.");
    m.def("luInverse", &sameSize<luInverse>, py::arg("A"), "The inverse of a square A.");
    m.def("posDefSolve", &solution<posDefSolve>, py::arg("A"), py::arg("b"),
          "Solution for a positive definite A, of which the upper triangle is read.");
    m.def("posDefDecomp", &sameSize<posDefDecomp>, py::arg("A"), "Upper triangular U of A = U'U.");
    m.def("posDefInverse", &sameSize<posDefInverse>, py::arg("A"), "The inverse, symmetric.");
    m.def(
        "eigenValuesVectors",
        [](Matrix const& A) {
            Vector values(A.getRow());
            Matrix vectors(A.getRow(), A.getCol());
            requireSuccess(eigenValuesVectors(A, values, vectors));
            return py::make_tuple(values, vectors);
        },
        py::arg("A"),
        "(values, vectors) of a symmetric A: ascending; column i belongs to value i.");
}

void bindSVDSolver(py::module_& m)
{
    py::class_<SVDSolver> c(
        m, "SVDSolver", "Linear least squares with residuals and covariance. solve comes first.");
    c.def(py::init<>());
    c.def(
        "solve", [](SVDSolver& s, Matrix const& A, Vector const& b) { s.solve(A, b); },
        py::arg("A"), py::arg("b"), "Solves A x = b.");
    c.def(
        "solve", [](SVDSolver& s, Matrix const& A) { s.solve(A); }, py::arg("A"),
        "Solves A x = 0 for the unit vector x with the least |A x|.");
    c.def("getVecSol", &SVDSolver::getVecSol, "The solution, n elements.");
    c.def("getResiduals", &SVDSolver::getResiduals, "A x - b, m elements.");
    c.def("getRMS", &SVDSolver::getRMS, "Root mean square of the residuals.");
    c.def("getSEUW", &SVDSolver::getSEUW, "Standard error of unit weight; -1 when m = n.");
    c.def("getCov", &SVDSolver::getCov, "Covariance of the solution, n x n.");
    c.def("getMatCond", &SVDSolver::getMatCond, "Condition number; -1 below full rank.");
    c.def("getMatRank", &SVDSolver::getMatRank, "Numerical rank.");
    c.def("getNbEquations", &SVDSolver::getNbEquations, "m.");
    c.def("getNbVariables", &SVDSolver::getNbVariables, "n.");
}

void bindPCAAnalysis(py::module_& m)
{
    py::class_<PCAAnalysis> c(
        m, "PCAAnalysis", "Principal components of n points (n x d). computeAnalysis comes first.");
    c.def(py::init<>());
    c.def("computeAnalysis", &PCAAnalysis::computeAnalysis, py::arg("spaceSize"),
          py::arg("dataColl"), "Analyses points of spaceSize coordinates.");
    c.def("getSpaceSize", &PCAAnalysis::getSpaceSize, "d.");
    c.def("getBoolAnalysisSuccess", &PCAAnalysis::getBoolAnalysisSuccess,
          "False when the eigen decomposition failed.");
    c.def("getMean", &PCAAnalysis::getMean, "d elements.");
    c.def("getCov", &PCAAnalysis::getCov, "d x d, divided by n.");
    c.def("getPrincipalValues", &PCAAnalysis::getPrincipalValues, "d variances, ascending.");
    c.def("getPrincipalVectors", &PCAAnalysis::getPrincipalVectors,
          "The axis of value i in column i.");
}

}  // namespace

void bindLinearAlgebra(py::module_& m)
{
    bindSingularValues(m);
    bindFactors(m);
    bindSVDSolver(m);
    bindPCAAnalysis(m);
    m.def(
        "poly",
        [](Vector const& coefficients) {
            std::vector<std::complex<double>> const roots = poly(coefficients);
            return py::array_t<std::complex<double>>(static_cast<py::ssize_t>(roots.size()),
                                                     roots.data());
        },
        py::arg("coefficients"),
        "Roots of the polynomial, coefficients from the highest power down.");
}

}  // namespace measuremath::python
