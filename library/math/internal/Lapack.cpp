#include "math/internal/Lapack.h"

#include <lapack.h>

namespace measuremath::lapack {

int gesvd(char jobu, char jobvt, int m, int n, double* a, int lda, double* s, double* u, int ldu,
          double* vt, int ldvt, double* work, int lwork)
{
    int info = 0;
    LAPACK_dgesvd(&jobu, &jobvt, &m, &n, a, &lda, s, u, &ldu, vt, &ldvt, work, &lwork, &info);
    return info;
}

int gelss(int m, int n, int nrhs, double* a, int lda, double* b, int ldb, double* s, double rcond,
          int& rank, double* work, int lwork)
{
    int info = 0;
    LAPACK_dgelss(&m, &n, &nrhs, a, &lda, b, &ldb, s, &rcond, &rank, work, &lwork, &info);
    return info;
}

int gels(char trans, int m, int n, int nrhs, double* a, int lda, double* b, int ldb, double* work,
         int lwork)
{
    int info = 0;
    LAPACK_dgels(&trans, &m, &n, &nrhs, a, &lda, b, &ldb, work, &lwork, &info);
    return info;
}

int geqrf(int m, int n, double* a, int lda, double* tau, double* work, int lwork)
{
    int info = 0;
    LAPACK_dgeqrf(&m, &n, a, &lda, tau, work, &lwork, &info);
    return info;
}

int orgqr(int m, int n, int k, double* a, int lda, double const* tau, double* work, int lwork)
{
    int info = 0;
    LAPACK_dorgqr(&m, &n, &k, a, &lda, tau, work, &lwork, &info);
    return info;
}

int gelqf(int m, int n, double* a, int lda, double* tau, double* work, int lwork)
{
    int info = 0;
    LAPACK_dgelqf(&m, &n, a, &lda, tau, work, &lwork, &info);
    return info;
}

int orglq(int m, int n, int k, double* a, int lda, double const* tau, double* work, int lwork)
{
    int info = 0;
    LAPACK_dorglq(&m, &n, &k, a, &lda, tau, work, &lwork, &info);
    return info;
}

int getrf(int m, int n, double* a, int lda, int* pivots)
{
    int info = 0;
    LAPACK_dgetrf(&m, &n, a, &lda, pivots, &info);
    return info;
}

int getrs(char trans, int n, int nrhs, double const* a, int lda, int const* pivots, double* b,
          int ldb)
{
    int info = 0;
    LAPACK_dgetrs(&trans, &n, &nrhs, a, &lda, pivots, b, &ldb, &info);
    return info;
}

int getri(int n, double* a, int lda, int const* pivots, double* work, int lwork)
{
    int info = 0;
    LAPACK_dgetri(&n, a, &lda, pivots, work, &lwork, &info);
    return info;
}

int syevr(char uplo, int n, double* a, int lda, double* w, double* z, int ldz, int* isuppz,
          double* work, int lwork, int* iwork, int liwork)
{
    char const jobz = 'V';
    char const range = 'A';
    double const unusedBound = 0.0;
    int const unusedIndex = 0;
    double const defaultTolerance = -1.0;
    int found = 0;
    int info = 0;
    LAPACK_dsyevr(&jobz, &range, &uplo, &n, a, &lda, &unusedBound, &unusedBound, &unusedIndex,
                  &unusedIndex, &defaultTolerance, &found, w, z, &ldz, isuppz, work, &lwork, iwork,
                  &liwork, &info);
    return info;
}

int syev(char uplo, int n, double* a, int lda, double* w, double* work, int lwork)
{
    char const jobz = 'V';
    int info = 0;
    LAPACK_dsyev(&jobz, &uplo, &n, a, &lda, w, work, &lwork, &info);
    return info;
}

int geev(int n, double* a, int lda, double* wr, double* wi, double* work, int lwork)
{
    char const none = 'N';
    int const ldv = 1;
    int info = 0;
    LAPACK_dgeev(&none, &none, &n, a, &lda, wr, wi, nullptr, &ldv, nullptr, &ldv, work, &lwork,
                 &info);
    return info;
}

int potrf(char uplo, int n, double* a, int lda)
{
    int info = 0;
    LAPACK_dpotrf(&uplo, &n, a, &lda, &info);
    return info;
}

int potrs(char uplo, int n, int nrhs, double const* a, int lda, double* b, int ldb)
{
    int info = 0;
    LAPACK_dpotrs(&uplo, &n, &nrhs, a, &lda, b, &ldb, &info);
    return info;
}

int potri(char uplo, int n, double* a, int lda)
{
    int info = 0;
    LAPACK_dpotri(&uplo, &n, a, &lda, &info);
    return info;
}

}  // namespace measuremath::lapack
