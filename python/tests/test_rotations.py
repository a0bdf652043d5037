"""Rotations against the elementary rotations by numpy."""

import itertools

import numpy as np
import pytest

import measuremath as mm


def about(axis, angle):
    c, s = np.cos(angle), np.sin(angle)
    i, j = [(1, 2), (2, 0), (0, 1)][axis]
    R = np.eye(3)
    R[i, i], R[i, j], R[j, i], R[j, j] = c, -s, s, c
    return R


def euler_matrix(e):
    return about(2, e[0]) @ about(1, e[1]) @ about(0, e[2])


ANGLES = list(itertools.product([-3.0, -0.4, 0.0, 1.1], [-1.2, 0.0, 0.7], [-2.0, 0.0, 0.3, 3.1]))
TOLERANCE = 2e-15 * 8  # eight roundings of elements up to 1


@pytest.mark.parametrize("e", ANGLES)
def test_every_form_is_the_same_rotation(e):
    R = euler_matrix(e)
    np.testing.assert_allclose(mm.eulerToMatrix(e), R, atol=TOLERANCE)
    np.testing.assert_allclose(mm.matrixToEuler(R), e, atol=TOLERANCE)
    np.testing.assert_allclose(mm.quatToMatrix(mm.matrixToQuat(R)), R, atol=TOLERANCE)
    np.testing.assert_allclose(mm.vectToMatrix(mm.matrixToVect(R)), R, atol=TOLERANCE)
    if e[1] or e[2]:  # elsewhere azimuth and roll are not determined
        np.testing.assert_allclose(mm.azElRoToMatrix(mm.matrixToAzElRo(R)), R, atol=TOLERANCE)
    angle, axis = mm.quatToVect(mm.matrixToQuat(R))
    np.testing.assert_allclose(mm.vectToMatrix(angle * axis), R, atol=TOLERANCE)
    np.testing.assert_allclose(mm.quatToMatrix(mm.vectToQuat(angle, axis)), R, atol=TOLERANCE)


@pytest.mark.parametrize("e", ANGLES[::5])
def test_the_classes_convert_into_each_other(e):
    R = euler_matrix(e)
    forms = [mm.Euler(*e), mm.VectorR(mm.Euler(*e)), mm.MatrixR(R).getQuaternion(), mm.MatrixR(R)]
    for form in forms:
        np.testing.assert_allclose(mm.MatrixR(form), R, atol=TOLERANCE)
        np.testing.assert_allclose(mm.Euler(form), e, atol=TOLERANCE)
    product = mm.MatrixR(R) @ mm.MatrixR(R)
    assert type(product) is mm.MatrixR and type(mm.MatrixR(R) @ [1, 2, 3]) is mm.Vector
    np.testing.assert_allclose(product, R @ R, atol=TOLERANCE)
    np.testing.assert_array_equal(mm.MatrixR(R).inverse(), R.T)


def numeric_jacobian(f, x, h=1e-6):
    steps = h * np.eye(len(x))
    return np.column_stack([(np.asarray(f(x + d)) - np.asarray(f(x - d))) / (2 * h) for d in steps])


CENTRAL = 1e-8  # h^2 of the central differences and rounding / h, both with room


@pytest.mark.parametrize("f, jacobian, x", [
    (lambda e: euler_matrix(e) @ [1, -2, 3], lambda e: mm.dRotdEuler(e, [1, -2, 3]), [0.3, -0.8, 2.0]),
    (lambda e: mm.matrixToEuler(euler_matrix(e).T), mm.dEulerRotInvdEulerRot, [0.3, -0.8, 0.4]),
    (mm.cartToSph, mm.computeJSph, [1.0, 2.0, -0.5]), (mm.sphToCart, mm.computeJCart, [0.4, 1.2]),
    (mm.cartToSphParticular, mm.computeJSphParticular, [1.0, 0.2, 2.0]),
    (mm.sphToCartParticular, mm.computeJCartParticular, [0.4, 0.7])])
def test_jacobians_are_derivatives(f, jacobian, x):
    np.testing.assert_allclose(jacobian(x), numeric_jacobian(f, np.array(x)), atol=CENTRAL)


def test_directions_are_those_of_the_conventions():
    phi, theta = 0.4, 1.2
    direction = [np.cos(phi) * np.sin(theta), np.sin(phi) * np.sin(theta), np.cos(theta)]
    np.testing.assert_allclose(mm.sphToCart([phi, theta]), direction, atol=TOLERANCE)
    np.testing.assert_allclose(mm.cartToSph(np.multiply(5, direction)), [phi, theta], atol=TOLERANCE)
    particular = [np.sin(phi) * np.cos(0.7), -np.sin(0.7), np.cos(phi) * np.cos(0.7)]
    np.testing.assert_allclose(mm.sphToCartParticular([phi, 0.7]), particular, atol=TOLERANCE)
    np.testing.assert_allclose(mm.cartToSphParticular(particular), [phi, 0.7], atol=TOLERANCE)


@pytest.mark.parametrize("function, short", [
    (mm.eulerToMatrix, [1, 2]), (mm.quatToMatrix, [1, 2, 3]), (mm.quatToVect, [1, 2, 3]),
    (mm.vectToMatrix, []), (mm.azElRoToMatrix, [1, 2]), (mm.dEulerRotInvdEulerRot, [1]),
    (mm.matrixToEuler, np.eye(2)), (mm.matrixToVect, np.ones((3, 2))), (mm.matrixToQuat, np.eye(2)),
    (mm.matrixToAzElRo, np.ones((2, 3))), (mm.cartToSph, [1, 2]), (mm.sphToCart, [1]),
    (mm.computeJSph, [1, 2]), (mm.Euler, [1, 2]), (mm.Quaternion, [1, 2, 3]), (mm.VectorR, [1]),
    (mm.MatrixR, np.eye(4)), (mm.MatrixTH, np.eye(3))])
def test_sizes_are_checked(function, short):
    with pytest.raises(mm.MathError, match="^Bad (vector|matrix) dime"):
        function(short)


def test_three_numbers_are_not_taken_for_a_parameterisation():
    with pytest.raises(TypeError):
        mm.MatrixR([0.1, 0.2, 0.3])
    angles = mm.Euler(mm.Vector([0.1, 0.2, 0.3]))
    angles.setLacet(0.5)
    assert (angles.getRoulis(), angles.getTangage(), angles.getLacet()) == (0.1, 0.2, 0.5)
