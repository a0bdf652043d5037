"""Vector and Matrix against numpy; storage shared, viewed and apart; misuse."""

import copy
import gc
import sys

import numpy as np
import pytest

import measuremath as mm

V = np.array([3.0, -1.0, 2.0])
W = np.array([0.5, 4.0, -2.0])
M = np.array([[2.0, 1.0, 0.0], [1.0, 3.0, -1.0], [0.0, 5.0, 4.0]])


@pytest.mark.parametrize("source", [
    V, [3, -1, 2], (3.0, -1.0, 2.0), V.astype(np.float32), V.astype(int), np.repeat(V, 2)[::2],
    V[::-1][::-1], V.astype(">f8"), memoryview(V), mm.Vector(V)])
def test_vectors_come_from_whatever_holds_real_numbers(source):
    v = mm.Vector(source)
    assert len(v) == 3
    np.testing.assert_array_equal(v, V)


@pytest.mark.parametrize("source", [M, M.tolist(), np.asfortranarray(M), M.T.copy().T, mm.Matrix(M),
                                    [mm.Vector(row) for row in M]])
def test_matrices_come_from_any_layout(source):
    np.testing.assert_array_equal(mm.Matrix(source), M)


@pytest.mark.parametrize("make", [
    lambda: mm.Vector("123"), lambda: mm.Vector([[1, 2]]), lambda: mm.Vector([1j]),
    lambda: mm.Vector(None), lambda: mm.Vector(["1"]), lambda: mm.Vector({1: 2}), lambda: mm.Vector(2.5),
    lambda: mm.Matrix([1, 2]), lambda: mm.Matrix([[1, 2], [3]]), lambda: mm.Vector(V) + "x",
    lambda: mm.Matrix(M) * mm.Matrix(M), lambda: mm.Vector(10**30), lambda: mm.Vector(V)["a"]])
def test_what_is_no_array_is_refused(make):
    with pytest.raises((TypeError, IndexError)):
        make()


@pytest.mark.parametrize("text, make", [
    ("Invalid array size", lambda: mm.Vector(-1)),
    ("Invalid array size", lambda: mm.Matrix(2, -1)),
    ("Invalid array size", lambda: mm.Matrix(2**31, 2**31)),
    ("Bad vector dimensions", lambda: mm.Vector(V) + [1, 2]),
    ("Bad vector dimensions", lambda: mm.Vector([1, 2]).cross([3, 4])),
    ("Bad matrix dimensions", lambda: mm.Matrix(M) @ np.ones((2, 2))),
    ("Bad vector and matrix dimensions", lambda: mm.Matrix(M) @ [1, 2]),
    ("Invalid matrix size, need square matrix", lambda: mm.Matrix(2, 3).inverse()),
    ("Singular Matrix, can't inverse", lambda: mm.Matrix(2, 2).inverse())])
def test_misuse_raises_math_error(text, make):
    with pytest.raises(mm.MathError) as error:
        make()
    assert str(error.value) == text


@pytest.mark.parametrize("operation", [
    lambda a, b: a + b, lambda a, b: a - b, lambda a, b: 2.5 * a, lambda a, b: a * -2, lambda a, b: -a])
@pytest.mark.parametrize("kind, a, b", [(mm.Vector, V, W), (mm.Matrix, M, M.T)])
def test_arithmetic_is_that_of_numpy(operation, kind, a, b):
    result = operation(kind(a), kind(b))
    assert type(result) is kind
    np.testing.assert_array_equal(result, operation(a, b))
    np.testing.assert_array_equal(operation(kind(a), b), operation(a, b))
    np.testing.assert_array_equal(operation(a, kind(b)), operation(a, b))


def test_products_and_measures_agree_with_numpy():
    v, w, m = mm.Vector(V), mm.Vector(W), mm.Matrix(M)
    np.testing.assert_array_equal(v * w, V * W)
    np.testing.assert_array_equal(v / w, V / W)
    np.testing.assert_array_equal(v.cross(w), np.cross(V, W))
    np.testing.assert_array_equal(m @ v, M @ V)
    np.testing.assert_array_equal(m @ M.T, M @ M.T)
    np.testing.assert_array_equal(M.T @ m, M.T @ M)
    np.testing.assert_array_equal(m.transpose(), M.T)
    np.testing.assert_array_equal(m.getDiagVector(), np.diag(M))
    assert v.dot(w) == V @ W and v.minPos() == 1
    assert v.length() == pytest.approx(np.linalg.norm(V), rel=1e-15)
    assert m.determinant3x3() == pytest.approx(np.linalg.det(M), rel=1e-14)
    assert m.frobeniusNorm() == pytest.approx(np.linalg.norm(M), rel=1e-15)
    np.testing.assert_allclose(m.inverse(), np.linalg.inv(M), rtol=1e-13, atol=1e-15)
    assert v == V and v != W and v.equals(V + 1e-4, 1e-3) and not v.equals(V + 1e-2, 1e-3)
    assert repr(v) == "Vector([ 3., -1.,  2.])"


def test_indexing_is_that_of_numpy_and_writes_through():
    v, m = mm.Vector(V), mm.Matrix(M)
    v[-1], v[:2] = 7, [5, 6]
    m[1][2], m[:, 0] = 9, 8
    np.testing.assert_array_equal(v, [5, 6, 7])
    np.testing.assert_array_equal(m, [[8, 1, 0], [8, 3, 9], [8, 5, 4]])
    assert list(v) == [5, 6, 7] and m[2, 1] == 5
    with pytest.raises(IndexError):
        v[3]


@pytest.mark.parametrize("kind, values", [(mm.Vector, V), (mm.Matrix, M), (mm.Vector, []),
                                          (mm.Matrix, np.zeros((0, 3)))])
def test_a_view_is_the_storage_and_keeps_it(kind, values):
    array = kind(values)
    view = np.asarray(array)
    assert view.shape == np.shape(values) and view.flags.writeable and view.flags.c_contiguous
    if view.size:
        assert np.shares_memory(view, np.asarray(array))
    view += 1
    np.testing.assert_array_equal(array, np.add(values, 1))
    del array
    gc.collect()
    np.testing.assert_array_equal(view, np.add(values, 1))


# Every way to a second object, and of a write into the first one through the library.
COPIES = [lambda a: a.copy(), copy.copy, copy.deepcopy, lambda a: type(a)(a), lambda a: a * 1.0,
          lambda a: 1.0 * a]
WRITES = [lambda a: a.__imul__(2), lambda a: a.__iadd__(a), lambda a: a.__setitem__(0, 9),
          lambda a: a.__isub__(np.ones_like(a)), lambda a: a.__itruediv__(4)]


@pytest.mark.parametrize("make_copy", COPIES)
@pytest.mark.parametrize("write", WRITES)
@pytest.mark.parametrize("values, kind", [(V, mm.Vector), (M, mm.Matrix)])
@pytest.mark.parametrize("view_first", [True, False])
def test_copies_and_views_stay_apart_whatever_is_written(make_copy, write, values, kind, view_first):
    array = kind(values)
    view = np.asarray(array) if view_first else None
    twin = make_copy(array)
    view = np.asarray(array) if view is None else view

    view[...] = view + 10  # unseen by copy-on-write
    np.testing.assert_array_equal(twin, values)
    write(array)
    np.testing.assert_array_equal(view, array)  # the storage has not moved
    assert np.shares_memory(view, np.asarray(array))
    np.testing.assert_array_equal(twin, values)
    expected = np.array(array)
    np.asarray(twin)[...] = -1
    np.testing.assert_array_equal(array, expected)


def test_a_matrix_is_inverted_under_its_view():
    m = mm.Matrix(M)
    view = np.asarray(m)
    m.invert()
    np.testing.assert_allclose(view @ M, np.eye(3), atol=1e-14)
    view[...] = 0
    with pytest.raises(mm.MathError):
        m.invert()


def test_memoryviews_of_every_kind():
    m = mm.Matrix(M)
    view = memoryview(m)
    assert (view.format, view.shape, view.strides, view.nbytes) == ("d", (3, 3), (24, 8), 72)
    assert bytes(m) == M.tobytes()
    view[1, 2] = 42
    assert m[1, 2] == 42
    with pytest.raises(TypeError):
        view[0, 0] = "x"


def test_nothing_is_left_behind():
    v, m = mm.Vector(V), mm.Matrix(M)
    holders = sys.getrefcount(v), sys.getrefcount(m)
    for _ in range(100):
        views = np.asarray(v), np.asarray(m), memoryview(v)
        v[1:], m[0], v.copy(), m @ v, repr(v)
    del views
    gc.collect()
    assert (sys.getrefcount(v), sys.getrefcount(m)) == holders
    # Without views, a copy shares again: made private by this view only.
    twin = v.copy()
    assert not np.shares_memory(np.asarray(twin), np.asarray(v))


def test_objects_without_contents_are_no_crash():
    empty = mm.Vector.__new__(mm.Vector)
    for use in (memoryview, len, lambda e: mm.Vector(V) + e, mm.eulerToMatrix, repr):
        with pytest.raises((TypeError, BufferError, RuntimeError, RecursionError)):
            use(empty)
