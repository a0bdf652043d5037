#pragma once

#include "math/Export.h"
#include "math/LinearSolver.h"
#include "math/Matrix.h"
#include "math/Vector.h"

/// Linear least squares by the singular value decomposition A = U · diag(S) · Vᵀ: the solution of
/// minimum norm where A, m × n, is not of full rank.
///
/// Singular values not above 2^-52 · S[0] count as 0: they lower the rank, and drop out of the
/// solution and of its covariance; the condition number is -1 then.
///
/// A tall system (m > 2·n, and 128 elements or more) is first reduced, by A = Q · R, to
/// R · x = Qᵀ · b of n equations with the same solution, singular values and V: about 2·m·n² operations.
/// Of full rank, it is solved by back substitution, which is accurate also where columns differ
/// much in size (G. Golub, C. Van Loan, Matrix Computations, 4th edition, sections 5.3.3, 5.4.1).
class MEASUREMATH_API SVDSolver : public LinearSolver {
public:
    SVDSolver();
    ~SVDSolver() override;

protected:
    /// @throws MathError "SVD decomposition failed" when the iteration does not converge, or when A
    ///         holds an infinity or a NaN.
    void solveSystem(Matrix const& A) override;
    void solveSystem(Matrix const& A, Vector const& b) override;  ///< Solves A·x = b.

    /// Decomposes A, m >= n, into `_matU`, `_vecS` and `_matV`, sets the negligible values of
    /// `_vecS` to 0, and sets `_matRank`, `_matCond` and `_cov`, the covariance for errors of unit
    /// variance.
    /// @throws MathError "SVD decomposition failed"
    void svdDecomp(Matrix const& A);

    /// Left singular vectors, owned as are the other two: of A, m × n, after `svdDecomp(A)`. After
    /// the `solve` of a tall system, which never forms them, those of its n × n triangular factor:
    /// call `svdDecomp(A)` where they are needed.
    Matrix* _matU;
    Matrix* _matV;  ///< Right singular vectors of A in its columns, n × n.
    Vector* _vecS;  ///< Singular values of A, n.
};
