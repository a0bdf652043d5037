"""Linear algebra, least squares and filters against numpy; what user functions raise."""

import gc
import weakref

import numpy as np
import pytest

import measuremath as mm

random = np.random.default_rng(7)
SHAPES = [(1, 1), (6, 3), (4, 4), (3, 6), (40, 3)]
TOLERANCE = 1e-13  # a hundred roundings of well-conditioned matrices


@pytest.mark.parametrize("A", [random.normal(size=shape) for shape in SHAPES])
def test_decompositions_reproduce_the_matrix(A):
    values = np.linalg.svd(A, compute_uv=False)
    for U, S, V in (mm.svd(A), mm.fullSvd(A)):
        k = len(S)
        np.testing.assert_allclose(S, values, rtol=TOLERANCE)
        np.testing.assert_allclose(np.asarray(U)[:, :k] * S @ np.asarray(V)[:, :k].T, A, atol=TOLERANCE)
    for left, right in (mm.qr(A), mm.lq(A)):
        np.testing.assert_allclose(left @ right, A, atol=TOLERANCE)
    inverse, rank, cond = mm.svdInverse(A)
    np.testing.assert_allclose(inverse, np.linalg.pinv(A), atol=10 * TOLERANCE)
    np.testing.assert_allclose(mm.svdInverse(*mm.svd(A)), inverse, atol=10 * TOLERANCE)
    assert rank == min(A.shape) and cond == pytest.approx(values[0] / values[-1])
    assert mm.svdInverse(A, nbThresholded=1)[1] == min(A.shape) - 1
    S, rank, _ = mm.singularValuesThreshold(values, relTol=2.0)
    assert rank == 0 and not np.any(S)


@pytest.mark.parametrize("A", [random.normal(size=shape) for shape in SHAPES if shape[0] >= shape[1]])
def test_solutions_are_those_of_numpy(A):
    m, n = A.shape
    b = random.normal(size=m)
    x, residuals = np.linalg.lstsq(A, b, rcond=None)[:2]
    solver = mm.SVDSolver()
    solver.solve(A, b)
    for solution in (mm.qrSolve(A, b), mm.svdSolve(A, b)[0], solver.getVecSol()):
        np.testing.assert_allclose(solution, x, rtol=100 * TOLERANCE)
    np.testing.assert_allclose(solver.getResiduals(), A @ x - b, atol=TOLERANCE)
    normal = A.T @ A
    np.testing.assert_allclose(mm.svdCovariance(*mm.svd(A)[1:]), np.linalg.inv(normal), rtol=1e-9)
    values, vectors = mm.eigenValuesVectors(normal)
    np.testing.assert_allclose(values, np.linalg.eigvalsh(normal), rtol=1e-11)
    np.testing.assert_allclose(vectors * np.array(values) @ vectors.transpose() if n == 1 else
                               np.asarray(vectors) * values @ np.asarray(vectors).T, normal, atol=1e-12)
    for solve in (mm.luSolve, mm.posDefSolve):
        np.testing.assert_allclose(solve(normal, A.T @ b), x, rtol=1e-9)
    for invert in (mm.luInverse, mm.posDefInverse):
        np.testing.assert_allclose(invert(normal) @ normal, np.eye(n), atol=1e-10)
    np.testing.assert_allclose(mm.posDefDecomp(normal), np.linalg.cholesky(normal).T, rtol=1e-11)
    assert np.linalg.norm(A @ np.asarray(mm.svdSolve(A)[0])) == pytest.approx(
        np.linalg.svd(A, compute_uv=False)[-1], abs=TOLERANCE)


@pytest.mark.parametrize("call", [
    lambda: mm.luSolve(np.zeros((2, 2)), [1, 2]), lambda: mm.posDefInverse(-np.eye(2)),
    lambda: mm.svd([[np.nan]]), lambda: mm.eigenValuesVectors([[np.inf]]),
    lambda: mm.luSolve(np.eye(2), [1, 2, 3]), lambda: mm.luInverse(np.ones((2, 3))),
    lambda: mm.svdSolve(np.ones((2, 3)), [1, 2]), lambda: mm.svdInverse(np.eye(2), nbThresholded=3),
    lambda: mm.svdCovariance([1], np.eye(2)), lambda: mm.SVDSolver().getVecSol(),
    lambda: mm.PCAAnalysis().getMean(), lambda: mm.PCAAnalysis().computeAnalysis(3, np.eye(2)),
    lambda: mm.poly([]), lambda: mm.poly([0, 0]), lambda: mm.poly([1, np.nan])])
def test_numerical_failure_and_misuse_raise(call):
    with pytest.raises(mm.MathError):
        call()


def test_components_and_roots():
    points = random.normal(size=(50, 4)) * [1, 2, 3, 4] + 1e3
    pca = mm.PCAAnalysis()
    pca.computeAnalysis(4, points)
    covariance = np.cov(points.T, bias=True)
    np.testing.assert_allclose(pca.getMean(), points.mean(axis=0), rtol=1e-14)
    np.testing.assert_allclose(pca.getCov(), covariance, rtol=1e-10)
    np.testing.assert_allclose(pca.getPrincipalValues(), np.linalg.eigvalsh(covariance), rtol=1e-10)
    roots = [-2, 0.5, 1 - 2j, 1 + 2j, 7]
    np.testing.assert_allclose(mm.poly(np.real(np.poly(roots))), roots, rtol=1e-12)


t = np.linspace(0, 3, 40)
y = 2.0 * np.exp(-0.7 * t)


def residuals(x):
    return x[0] * np.exp(x[1] * t) - y


def jacobian(x):
    return np.column_stack([np.exp(x[1] * t), x[0] * t * np.exp(x[1] * t)])


class Exponential(mm.CostFun):
    def __init__(self):
        mm.CostFun.__init__(self, len(t), 2)

    def computeFunValue(self, x):
        return residuals(x)


def solver_of(cost, start=(1, 0)):
    solver = mm.LMMinPack()
    solver.setCostFun(cost)
    solver.setInitVecSol(start)
    return solver


@pytest.mark.parametrize("cost", [Exponential, lambda: mm.CostFun(40, 2, residuals),
                                  lambda: mm.CostFun(40, 2, residuals, computeAnaJacValue=jacobian)])
def test_least_squares_find_the_planted_parameters(cost):
    solver = solver_of(cost())  # the only holder of the cost function
    gc.collect()
    seen = []
    solver.setCallBackFcn(lambda s: seen.append((s is solver, s.getNbIter())))
    solver.solve()
    np.testing.assert_allclose(solver.getVecSol(), [2, -0.7], rtol=1e-8)
    J = jacobian([2, -0.7])
    np.testing.assert_allclose(solver.getCov(), np.linalg.inv(J.T @ J), rtol=1e-5)
    assert solver.getEndFlag() == mm.LMMinPack.NormalEnd and solver.getJacRank() == 2
    assert seen == [(True, i + 1) for i in range(solver.getNbIter())]
    np.testing.assert_allclose(cost().getJacValue([1, 0.5]), jacobian([1, 0.5]), rtol=1e-6, atol=1e-6)


class Odd(Exception):
    pass


def raising(x):
    raise Odd("mine", x[0])


@pytest.mark.parametrize("error, fun, jac", [
    (Odd, raising, None), (Odd, residuals, raising), (TypeError, lambda x: None, None),
    (TypeError, lambda x: "ab", None), (ValueError, lambda x: x, None), (TypeError, 3, None),
    (ValueError, residuals, lambda x: jacobian(x).T), (TypeError, lambda: 0, None),
    (NotImplementedError, None, None)])
def test_what_the_functions_raise_comes_out(error, fun, jac):
    cost = mm.CostFun(40, 2, fun, jac)
    solver = solver_of(cost)
    with pytest.raises(error) as caught:
        solver.solve()
    if error is Odd:
        assert caught.value.args == ("mine", 1.0)
    with pytest.raises(mm.MathError, match="^Call solve before use$"):
        solver.getVecSol()
    with pytest.raises(error):
        solver.solve()  # ready again


def test_callbacks_stop_raise_and_change_nothing():
    solver = solver_of(Exponential())
    solver.setCallBackFcn(lambda s: s.getNbIter() < 2)
    solver.solve()
    assert solver.getEndFlag() == mm.LMMinPack.UserEnd and solver.getNbIter() == 2
    for change in (lambda s: s.setCostFun(Exponential()), lambda s: s.setInitVecSol([1, 2]),
                   lambda s: s.setCallBackFcn(None), lambda s: s.solve(), lambda s: s.setTolerance(0)):
        solver = solver_of(Exponential())
        solver.setCallBackFcn(change)
        with pytest.raises(mm.MathError, match="Not from within a callback"):
            solver.solve()


@pytest.mark.parametrize("call", [
    lambda: mm.LMMinPack().solve(), lambda: mm.LMMinPack().setInitVecSol([1]),
    lambda: mm.LMMinPack().setCostFun(None), lambda: solver_of(Exponential(), [1]),
    lambda: mm.LMMinPack().getCurVec(), lambda: mm.CostFun(0, 2), lambda: Exponential().getFunValue([1])])
def test_misuse_of_solvers_raises(call):
    with pytest.raises(mm.MathError):
        call()


def test_holders_let_go():
    solver, estimators = mm.LMMinPack(), mm.Ransac()
    costs = [Exponential() for _ in range(3)]
    watched = [weakref.ref(c) for c in costs]
    for cost in costs:
        solver.setCostFun(cost)
    del costs, cost
    gc.collect()
    assert [w() is None for w in watched] == [True, True, False]
    del solver
    gc.collect()
    assert watched[2]() is None


F, G, H = np.array([[1, 0.1], [0, 1]]), np.array([[0.005], [0.1]]), np.array([[1.0, 0.0]])
Q, R = np.array([[0.3]]), np.array([[0.04]])


class Track(mm.KalmanIekf):
    def __init__(self):
        mm.KalmanIekf.__init__(self, 2, 1, 1, 1)

    def stateFct(self, x, u):
        return F @ x + G @ u

    def obsFct(self, x, z):
        return H @ x - z


class TrackWithJacobians(Track):
    stateJacParams = staticmethod(lambda x, u: F)
    stateJacCtrl = staticmethod(lambda x, u: G)
    obsJacParams = staticmethod(lambda x, z: H)
    obsJacObs = staticmethod(lambda x, z: [[-1.0]])


@pytest.mark.parametrize("make, tolerance", [
    (lambda: mm.KalmanLinear(F, G, H), 1e-13), (TrackWithJacobians, 1e-13), (Track, 1e-6)])
def test_filters_follow_the_textbook(make, tolerance):
    filter, x, P = make(), np.array([0.0, 1.0]), np.eye(2)
    filter.setParams(x)
    filter.setParamsCov(P)
    for z in random.normal(size=(30, 1)):
        u = random.normal(size=1)
        filter.setCtrl(u, Q)
        filter.predict()
        filter.setObs(z, R)
        filter.update()
        assert filter.getStatus() == mm.KalmanIekf.KL_OK and filter.getStatusMessage() == "OK"
        x, P = F @ x + G @ u, F @ P @ F.T + G @ Q @ G.T
        K = P @ H.T @ np.linalg.inv(H @ P @ H.T + R)
        x, P = x + K @ (z - H @ x), P - K @ H @ P
        np.testing.assert_allclose(filter.getParams(), x, atol=tolerance)
        np.testing.assert_allclose(filter.getParamsCov(), P, atol=tolerance)


def test_the_iterated_filter_solves_a_curved_observation():
    class Range(Track):  # distance from (0, 1) to the position on the x axis
        def obsFct(self, x, z):
            return [np.hypot(x[0], 1.0) - z[0]]

    filter = Range()
    filter.setParams([5.0, 0.0])
    filter.setParamsCov(np.diag([1e6, 1e-6]))
    filter.setObs([np.hypot(2.0, 1.0)], [[1e-12]])
    filter.update()
    assert filter.getNbIter() > 2
    np.testing.assert_allclose(filter.getParams(), [2, 0], atol=1e-5)


def test_misuse_of_filters():
    class Bad(Track):
        def stateFct(self, x, u):
            self.setParams([1, 2, 3])

    for kind, error in ((Bad, mm.MathError), (mm.KalmanIekf, NotImplementedError)):
        filter = kind() if kind is Bad else kind(2, 1, 1, 1)
        with pytest.raises(error):
            filter.predict()
    for filter, change in ((Track(), lambda f: f.setParams([1])), (mm.KalmanLinear(F, G, H), lambda f:
                           f.setObs([1, 2], R)), (mm.KalmanIekf(-1, 0, 0, 0), lambda f: None)):
        change(filter)
        filter.update()
        assert filter.getStatus() == mm.KalmanIekf.KL_BAD_ARGUMENT
    with pytest.raises(mm.MathError):
        mm.KalmanLinear(F, G.T, H)
    with pytest.raises(mm.MathError):
        mm.KalmanLinear(F, G, H).setModel(np.eye(3), G, H)
