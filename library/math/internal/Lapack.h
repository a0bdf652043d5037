#pragma once

#include "math/MathError.h"
#include "math/Vector.h"
#include "math/internal/Elementwise.h"

/// @file
/// The one door to LAPACK, and the policy on what it reports.
///
/// LAPACK stores matrices by columns, this library by rows: the same buffer read by the other side
/// is the transpose. So a general m × n matrix goes in as the buffer of its transpose, with leading
/// dimension m, and what comes out is the transpose of what is meant (a column-major Vᵀ, read by
/// rows, is V). Square matrices may go in as they are, as Aᵀ, where the routine can make up for it:
/// a solve asks for the transposed system, the inverse of Aᵀ read by rows is the inverse of A, and a
/// symmetric matrix is its own transpose, its lower triangle there being the upper one here.
///
/// Every buffer that goes in must belong to its container alone, as what `data()` of a non-const
/// container gives does.

/// LAPACK's double precision routines by their names without the leading D. Arguments and results
/// are LAPACK's own, passed by value; each returns INFO. Without any policy.
namespace measuremath::lapack {

int gesvd(char jobu, char jobvt, int m, int n, double* a, int lda, double* s, double* u, int ldu,
          double* vt, int ldvt, double* work, int lwork);
int gelss(int m, int n, int nrhs, double* a, int lda, double* b, int ldb, double* s, double rcond,
          int& rank, double* work, int lwork);
int gels(char trans, int m, int n, int nrhs, double* a, int lda, double* b, int ldb, double* work,
         int lwork);

int geqrf(int m, int n, double* a, int lda, double* tau, double* work, int lwork);
int orgqr(int m, int n, int k, double* a, int lda, double const* tau, double* work, int lwork);
int gelqf(int m, int n, double* a, int lda, double* tau, double* work, int lwork);
int orglq(int m, int n, int k, double* a, int lda, double const* tau, double* work, int lwork);

int getrf(int m, int n, double* a, int lda, int* pivots);
int getrs(char trans, int n, int nrhs, double const* a, int lda, int const* pivots, double* b,
          int ldb);
int getri(int n, double* a, int lda, int const* pivots, double* work, int lwork);

/// All eigenvalues and eigenvectors (JOBZ = 'V', RANGE = 'A') with the default tolerance.
int syevr(char uplo, int n, double* a, int lda, double* w, double* z, int ldz, int* isuppz,
          double* work, int lwork, int* iwork, int liwork);

/// All eigenvalues, and the eigenvectors in place of A (JOBZ = 'V').
int syev(char uplo, int n, double* a, int lda, double* w, double* work, int lwork);

/// Eigenvalues of a general matrix, balanced, without eigenvectors (JOBVL = JOBVR = 'N').
int geev(int n, double* a, int lda, double* wr, double* wi, double* work, int lwork);

int potrf(char uplo, int n, double* a, int lda);
int potrs(char uplo, int n, int nrhs, double const* a, int lda, double* b, int ldb);
int potri(char uplo, int n, double* a, int lda);

/// Text of the error for an argument that LAPACK refuses.
inline constexpr char const* badParameter = "Internal error, Lapack report invalid parameter value";

/// Throws for an INFO that blames an argument; gives back any other: 0 or a numerical failure.
inline int checked(int info, int line = __builtin_LINE(), char const* file = __builtin_FILE())
{
    require(info >= 0, badParameter, line, file);
    return info;
}

/// Throws for every INFO other than 0.
inline void requireSuccess(int info, int line = __builtin_LINE(),
                           char const* file = __builtin_FILE())
{
    require(info == 0, badParameter, line, file);
}

/// Throws when two outputs of one call are the same object.
template <class Output>
void requireDistinct(Output const& a, Output const& b, int line = __builtin_LINE(),
                     char const* file = __builtin_FILE())
{
    require(&a != &b, "Output matrices must be distinct", line, file);
}

/// Whether the input may go to LAPACK, whose iterations can loop for ever on infinities and NaN.
inline bool isFinite(TVector<double> const& values)
{
    return allFinite(values.begin(), values.size());
}

/// Calls `routine(work, lwork)` twice: for the size of the workspace, then for the computation.
/// Gives the second INFO, which is not negative.
template <class Routine>
int withWorkspace(Routine routine, int line = __builtin_LINE(), char const* file = __builtin_FILE())
{
    double size = 0.0;
    requireSuccess(routine(&size, -1), line, file);
    Vector work(static_cast<int>(size), Vector::NO_INIT);
    return checked(routine(work.data(), work.getSize()), line, file);
}

}  // namespace measuremath::lapack
