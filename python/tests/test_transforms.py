"""Rigid transforms against homogeneous products and planted motions."""

import numpy as np
import pytest

import measuremath as mm
from test_rotations import ANGLES, TOLERANCE, euler_matrix

t = np.array([4.0, -2.0, 0.5])


def planted(seed, n=20):
    random = np.random.default_rng(seed)
    e = ANGLES[seed]
    return e, euler_matrix(e), random.normal(size=(n, 3))


@pytest.mark.parametrize("seed", range(0, len(ANGLES), 7))
def test_points_map_as_products_and_back(seed):
    e, R, points = planted(seed)
    T = mm.MatrixTH(mm.Euler(*e), t)
    assert T == mm.MatrixTH(*e, *t) and T == mm.MatrixTH(mm.MatrixR(R), t)
    expected = points @ R.T + t
    moved = points.copy()
    T.mapPoints(moved)
    np.testing.assert_allclose(moved, expected, atol=8 * TOLERANCE)
    np.testing.assert_array_equal(moved[3], T.mapPoint(points[3]))
    inverse = T.inverse()
    assert type(inverse) is mm.MatrixTH and type(T @ inverse) is mm.MatrixTH
    inverse.mapPoints(moved)
    np.testing.assert_allclose(moved, points, atol=8 * TOLERANCE)
    np.testing.assert_allclose(T @ inverse, np.eye(4), atol=8 * TOLERANCE)
    np.testing.assert_array_equal(T.getVectorPos(), t)
    np.testing.assert_allclose(T.getMatrixRot(), R, atol=TOLERANCE)


def test_mapping_writes_where_the_points_are():
    T = mm.MatrixTH(0, 0, 0, 1, 2, 3)
    grid = np.zeros((4, 2, 3))
    T.mapPoints(grid[1:].reshape(-1, 3))  # a part of an array
    np.testing.assert_array_equal(grid[0], 0)
    np.testing.assert_array_equal(grid[1:], np.broadcast_to([1, 2, 3], (3, 2, 3)))
    m = mm.Matrix(2, 3)
    twin = m.copy()
    T.mapPoints(m)
    np.testing.assert_array_equal(m, [[1, 2, 3]] * 2)
    np.testing.assert_array_equal(twin, 0)


@pytest.mark.parametrize("points", [
    np.zeros((4, 3), np.float32), np.zeros((3, 4)).T, np.zeros((4, 6))[:, ::2], np.zeros((8, 3))[::2],
    np.zeros((4, 2)), np.zeros(3), np.zeros((4, 3), int), mm.Matrix(2, 2), b"abc",
    np.broadcast_to(np.zeros(3), (4, 3)), [[0, 0, 0]]])
def test_a_conversion_that_would_be_lost_is_refused(points):
    before = np.array(points) if not isinstance(points, bytes) else points
    with pytest.raises((ValueError, TypeError, BufferError)):
        mm.MatrixTH(0, 0, 0, 1, 2, 3).mapPoints(points)
    if not isinstance(points, bytes):
        np.testing.assert_array_equal(points, before)


@pytest.mark.parametrize("seed", range(0, len(ANGLES), 5))
@pytest.mark.parametrize("scale", [1.0, 2.5])
def test_registration_finds_the_planted_motion(seed, scale):
    _, R, a = planted(seed)
    b = scale * a @ R.T + t
    used = np.ones(len(a), bool)
    b[3], used[3] = np.nan, False
    T = mm.MatrixTH()
    s = T.init(a, b, used=used, noScale=scale == 1.0)
    assert s == pytest.approx(scale, rel=1e-14)
    np.testing.assert_allclose(T.getMatrixRot(), R, atol=1e-14)
    np.testing.assert_allclose(T.getVectorPos(), t, atol=1e-14)


def test_frames_from_points():
    T = mm.MatrixTH()
    T.init(origin=[1, 1, 1], onX=[1, 3, 1], inPlane=[0, 7, 1])
    np.testing.assert_allclose(T, [[0, -1, 0, 1], [1, 0, 0, 1], [0, 0, 1, 1], [0, 0, 0, 1]], atol=1e-15)
    points = planted(3, 50)[2] * [3, 2, 1]
    variances = T.init(pts=points, index=0)
    centred = points - points.mean(axis=0)
    np.testing.assert_allclose(variances, np.linalg.eigvalsh(centred.T @ centred / 50), rtol=1e-13)
    T.inverse().mapPoints(points)
    np.testing.assert_allclose(points.var(axis=0), np.asarray(variances)[::-1], rtol=1e-13)
    assert (points[0, :2] > 0).all()


@pytest.mark.parametrize("error, call", [
    (mm.MathError, lambda T: T.init(np.eye(3)[:2], np.eye(3)[:2])),
    (mm.MathError, lambda T: T.init(np.full((4, 3), np.nan), np.eye(4)[:, :3])),
    (mm.MathError, lambda T: T.init(np.ones((4, 2)), np.ones((4, 2)))),
    (mm.MathError, lambda T: T.init([], [])),
    (ValueError, lambda T: T.init(np.eye(3), np.ones((4, 3)))),
    (ValueError, lambda T: T.init(np.eye(3), np.eye(3), used=[True])),
    (ValueError, lambda T: T.init(np.eye(3), np.eye(3), used=[0, 1, 2])),
    (mm.MathError, lambda T: T.init(pts=np.eye(3), index=3)),
    (mm.MathError, lambda T: T.init([1, 2], [3, 4], [5, 6])),
    (mm.MathError, lambda T: T.init([1, 2, 3], [4, 5, 6], [7, 8])),
    (mm.MathError, lambda T: T.setVectorPos([1, 2])),
    (mm.MathError, lambda T: T.mapPoint([1, 2])),
    (mm.MathError, lambda T: mm.MatrixTH(mm.Euler(), [1])),
    (TypeError, lambda T: T.setMatrixRot(np.eye(4)))])
def test_misuse_leaves_the_transform(error, call):
    T = mm.MatrixTH(1, 2, 3, 4, 5, 6)
    before = np.array(T)
    with pytest.raises(error):
        call(T)
    np.testing.assert_array_equal(T, before)


@pytest.mark.parametrize("change", [
    lambda T: T.invert(), lambda T: T.init(np.eye(3), np.eye(3)[::-1], noScale=True),
    lambda T: T.init(pts=np.diag([1.0, 2.0, 4.0]), index=1), lambda T: T.setVectorPos([7, 8, 9]),
    lambda T: T.init([0, 0, 0], [0, 1, 0], [0, 0, 1]), lambda T: T.setMatrixRot(np.eye(3))])
def test_changes_happen_under_the_view(change):
    T = mm.MatrixTH(1, 2, 3, 4, 5, 6)
    view = np.asarray(T)
    before = view.copy()
    change(T)
    assert np.shares_memory(view, np.asarray(T)) and not np.array_equal(view, before)
    plain = mm.MatrixTH(1, 2, 3, 4, 5, 6)
    change(plain)
    np.testing.assert_array_equal(view, plain)
