"""Estimators, splines, assignment and shapes: planted truth, brute force, misuse."""

import gc
import itertools
import re

import numpy as np
import pytest

import measuremath as mm

random = np.random.default_rng(3)
angles = random.uniform(0, 2 * np.pi, 60)
circle = np.column_stack([4 + 2 * np.cos(angles), 1 + 2 * np.sin(angles)])
ellipse = circle @ np.array([[0.8, 0.6], [-0.3, 0.4]]) + [3, 0]
sphere = random.normal(size=(60, 3))
sphere = [1, 2, 3] + 5 * sphere / np.linalg.norm(sphere, axis=1)[:, None]
tube = np.column_stack([2 + 3 * np.cos(angles), -1 + 3 * np.sin(angles), random.uniform(-5, 5, 60)])
plane = np.column_stack([random.uniform(-5, 5, (60, 2)), np.zeros(60)])
plane[:, 2] = 1 + 0.3 * plane[:, 0] - 0.2 * plane[:, 1]
line = np.column_stack([angles, 2 + 0.5 * angles])


class Parabola(mm.Estimator):
    """y = a x^2 + b x + c, in Python."""

    def __init__(self):
        mm.Estimator.__init__(self, 3, 3)

    def computeEstimation(self, data):
        if np.ptp(data[:, 0]) == 0:
            return None
        return np.polyfit(data[:, 0], data[:, 1], 2)

    def computeResiduals(self, params, data):
        return np.polyval(params, data[:, 0]) - data[:, 1]


parabola = np.column_stack([angles, 0.5 * angles**2 - angles + 3])
MODELS = [(mm.PlanEstimator, plane), (mm.LineEstimator, line), (mm.EllipseEstimator, ellipse),
          (mm.CircleEstimator, circle), (mm.SphereEstimator, sphere), (mm.CylinderEstimator, tube),
          (Parabola, parabola)]


@pytest.mark.parametrize("make, data", MODELS)
@pytest.mark.parametrize("control", [mm.Ransac, mm.LMedS])
def test_controllers_flag_exactly_the_planted_outliers(make, data, control):
    dirty, outlier = data.copy(), np.zeros(len(data), bool)
    outlier[::6] = True
    dirty[outlier] += random.uniform(2, 4, (outlier.sum(), data.shape[1])) * [[1, -1, 1][:data.shape[1]]]
    estimator, controller = make(), control()
    estimator.setDataColl(dirty)
    controller.setEstimator(estimator)
    if control is mm.Ransac:
        controller.setOutliersThreshold(1e-3)
    mm.initRandGene(42)
    assert controller.robustEstimation()
    np.testing.assert_array_equal(controller.getOutlierFlags(), outlier)
    assert controller.getOutlierFlags().dtype == bool and controller.getNbOutliers() == outlier.sum()
    np.testing.assert_array_equal(controller.getInlierColl(), dirty[~outlier])
    assert controller.isOutlier(0) and not controller.isOutlier(1) and controller.getInlierRms() < 1e-9
    clean = fitted(make, data)
    np.testing.assert_allclose(clean.getResiduals(controller.getEstimParams()), 0, atol=1e-8)
    np.testing.assert_allclose(clean.getResiduals(clean.getEstimParams()), 0, atol=1e-8)


def fitted(make, data):
    estimator = make()
    estimator.setDataColl(data)
    assert estimator.estim()
    return estimator


def test_parameters_are_those_planted():
    c, s, t = fitted(mm.CircleEstimator, circle), fitted(mm.SphereEstimator, sphere), fitted(
        mm.CylinderEstimator, tube)
    np.testing.assert_allclose([*c.getCenter(), c.getRadius()], [4, 1, 2], rtol=1e-12)
    np.testing.assert_allclose([*s.getCenter(), s.getRadius()], [1, 2, 3, 5], rtol=1e-12)
    np.testing.assert_allclose(t.getAxisDirection(), [0, 0, 1], atol=1e-10)
    np.testing.assert_allclose([*t.getAxisPoint()[:2], t.getRadius()], [2, -1, 3], rtol=1e-9)
    p = fitted(mm.PlanEstimator, plane)
    np.testing.assert_allclose(p.getNormal() / p.getNormal()[2], [-0.3, 0.2, 1], rtol=1e-12)
    assert p.getDistToOrigin() / p.getNormal()[2] == pytest.approx(1) and p.getRMS3D() < 1e-14
    mean = mm.MeanEstimator()
    mean.setDataSize(3)
    mean.setDataColl(sphere)
    mean.estim()
    np.testing.assert_allclose(mean.getEstimParams(), sphere.mean(axis=0), rtol=1e-13)
    np.testing.assert_allclose(mean.getEstimCov(), np.cov(sphere.T, bias=True), rtol=1e-12)


def test_a_controller_keeps_its_estimator():
    ransac = mm.Ransac()
    ransac.setEstimator(fitted(mm.PlanEstimator, plane))
    ransac.setOutliersThreshold(1e-6)
    gc.collect()
    assert ransac.robustEstimation()
    ransac.setEstimator(None)
    for use in (ransac.robustEstimation, ransac.getOutlierFlags, ransac.getInlierColl,
                lambda: ransac.isOutlier(0)):
        with pytest.raises(mm.MathError):
            use()


class Meddling(Parabola):
    meddle = None

    def computeResiduals(self, params, data):
        if self.meddle:
            self.meddle()
        return Parabola.computeResiduals(self, params, data)


def test_what_a_model_of_ones_own_does_wrong():
    model, ransac = Meddling(), mm.Ransac()
    model.setDataColl(parabola)
    ransac.setEstimator(model)
    ransac.setOutliersThreshold(0.1)
    for meddle in (lambda: model.setDataColl(parabola[:6]), lambda: ransac.setEstimator(None),
                   lambda: ransac.setOutliersThreshold(1), lambda: ransac.robustEstimation()):
        model.meddle = meddle
        with pytest.raises(mm.MathError, match="Not from within a callback"):
            ransac.robustEstimation()
    model.meddle = lambda: 1 / 0
    with pytest.raises(ZeroDivisionError):
        ransac.robustEstimation()
    model.meddle = None
    assert ransac.robustEstimation()
    model.computeResiduals = lambda params, data: [1.0]
    with pytest.raises(ValueError):
        model.getResiduals([1, 2, 3])
    with pytest.raises(NotImplementedError):
        fitted(lambda: mm.Estimator(1, 1), circle)


@pytest.mark.parametrize("open", [True, False])
def test_splines_fit_their_own_points(open):
    turn = np.linspace(0, 5, 9)
    corners = np.column_stack([3 * np.cos(turn), 2 * np.sin(turn) + 0.2 * turn])
    truth = mm.BSplineSimple()
    truth.init(order=4, controlPoints=corners, open=open)
    points = np.asarray(truth.splineToCurve(0.05))
    np.testing.assert_allclose(truth.fastSplineToCurve(0.05), points, atol=1e-12)
    np.testing.assert_allclose(points[7], truth.computeCurvePoint(0.35), atol=1e-12)
    step = (np.asarray(truth.computeCurvePoint(1.3 + 1e-6)) - truth.computeCurvePoint(1.3 - 1e-6)) / 2e-6
    np.testing.assert_allclose(truth.computeTangentToCurve(1.3), step / np.linalg.norm(step), atol=1e-8)
    fit = mm.BSplineSimple()
    fit.init(4, corners + 0.05 * random.normal(size=(9, 2)), open)
    fit.setSmoothParam(0.0)
    matched = fit.initMatchedPoints(points)
    assert matched.dtype.names == ("point", "weight", "s", "distance") and len(matched) == len(points)
    matched["weight"] = 2.0
    before = matched["s"].copy()
    assert fit.refinement(matched) < 1e-6
    assert (matched["s"] != before).any() and matched["distance"].max() < 1e-5
    np.testing.assert_allclose(fit.getControlPoints(), corners, atol=1e-3)
    spline = mm.BSpline()
    spline.init(4, truth.getBreakPoints(), truth.getKnotMultiplicities(), open)
    spline.setOrChangeControlPoints(corners)
    np.testing.assert_allclose(spline.splineToCurve(0.05), points, atol=1e-12)


def spline():
    curve = mm.BSplineSimple()
    curve.init(3, np.eye(5)[:, :2], True)
    return curve


@pytest.mark.parametrize("error, call", [
    (ValueError, lambda: spline().splineToCurve(0)), (ValueError, lambda: spline().splineToCurve(1e-300)),
    (ValueError, lambda: spline().fastSplineToCurve(np.nan)), (ValueError, lambda: spline().splineToCurve(-1)),
    (mm.MathError, lambda: mm.BSpline().splineToCurve(0.1)), (mm.MathError, lambda: mm.BSpline().display()),
    (mm.MathError, lambda: spline().computeCurvePoint(99)), (mm.MathError, lambda: spline().initMatchedPoints([[1]])),
    (mm.MathError, lambda: spline().initMatchedPoints([[np.nan, 0]])),
    (TypeError, lambda: spline().refinement(np.zeros((3, 4)))), (mm.MathError, lambda: mm.BSpline().refinement(
        spline().initMatchedPoints(np.eye(2)))),
    (IndexError, lambda: mm.Munkres(2, 2).getCell(2, 0)), (IndexError, lambda: mm.Munkres(0, 0).getCell(0, 0)),
    (IndexError, lambda: mm.Munkres(2, 2).setCell(0, -3, mm.CellType())), (mm.MathError, lambda: mm.Munkres(-1, 2)),
    (mm.MathError, lambda: mm.ConvexPolyedron().computeBoundingBox()), (mm.MathError, lambda: box().getTop(8)),
    (mm.MathError, lambda: box().computeVolume(0)), (mm.MathError, lambda: box().addPlane([1, 2, 3])),
    (mm.MathError, lambda: box().getTopsOnPlane(-1)), (mm.MathError, lambda: box().contain([1, 2])),
    (mm.MathError, lambda: mm.ellipticQuadToCartParams([1, 2])), (mm.MathError, lambda: mm.lineIntersection(
        [1, 0, 0], [2, 0, 1])), (mm.MathError, lambda: mm.crossRatioFromPoint([1], [2], [3], [4])),
    (mm.MathError, lambda: mm.Ransac().robustEstimation()), (TypeError, lambda: mm.Ransac().setEstimator(3)),
    (TypeError, lambda: mm.LMMinPack().setCostFun(mm.Ransac())),
    (mm.MathError, lambda: mm.PlanEstimator().setDataColl(circle)), (mm.MathError, lambda: mm.PlanEstimator().estim()),
    (mm.MathError, lambda: mm.PlanEstimator().setDataColl([])), (mm.MathError, lambda: mm.LMedS().setOutliersRatio(0.5)),
    (TypeError, lambda: mm.PlanEstimator().setDataColl("abc")), (TypeError, lambda: mm.RobustCtrl())])
def test_misuse_raises(error, call):
    with pytest.raises(error):
        call()


@pytest.mark.parametrize("rows, cols", [(3, 3), (2, 5), (5, 2), (6, 6)])
def test_assignment_is_the_best_of_all(rows, cols):
    costs = random.uniform(0, 9, (rows, cols))
    grid = mm.Munkres(costs)
    grid.solve()
    pairs = grid.getAssignment()
    wide = costs if rows <= cols else costs.T
    best = min(wide[range(len(wide)), p].sum() for p in itertools.permutations(range(wide.shape[1]), len(wide)))
    assert costs[pairs[:, 0], pairs[:, 1]].sum() == pytest.approx(best)
    assert grid.getCell(*pairs[0]).starred and len(pairs) == min(rows, cols)
    manual = mm.Munkres(rows, cols)
    for i, j in np.ndindex(rows, cols):
        manual.setCell(i, j, mm.CellType(costs[i, j]))
    manual.solve()
    np.testing.assert_array_equal(manual.getAssignment(), pairs)


def box():
    body = mm.ConvexPolyedron()
    for axis, (low, high) in enumerate([(0, 1), (0, 2), (0, 3)]):
        body.addPlane([*-np.eye(3)[axis], low])
        body.addPlane([*np.eye(3)[axis], -high])
    return body


def test_a_box_is_measured():
    body = box()
    assert sorted(map(tuple, body.getTops())) == sorted(itertools.product((0, 1), (0, 2), (0, 3)))
    assert body.getTopsOnPlane(0).getRow() == 4 and body.getNbPlanes() == 6 and body.getNbTops() == 8
    np.testing.assert_array_equal(body.computeBoundingBox(), [[0, 0, 0], [1, 2, 3]])
    volume, error = body.computeVolumeAndMaxErr(0.125)
    assert volume == body.computeVolume(0.125) == pytest.approx(6, rel=0.01 * error) and error > 0
    assert body.contain([0.5, 1, 1]) and not body.contain(0.5, 1, 4)
    assert mm.ConvexPolyedron().getTops().getCol() == 3
    body.addPlane([0, 0, 2], [1, 0, 2], [0, 2, 2], offset=0.5)
    assert max(top[2] for top in body.getTops()) == 1.5


def test_conics_lines_and_cross_ratios():
    cart = [3.0, -1.0, 0.4, 2.0, 0.7]
    quad = mm.ellipticCartToQuadParams(cart)
    np.testing.assert_allclose(mm.ellipticQuadToCartParams(quad), cart, rtol=1e-12)
    T, R, S = mm.ellipseDecomposition(quad)
    x, y, _ = T @ R @ S @ np.array([np.cos(0.3), np.sin(0.3), 1])
    assert x * x + quad.dot([y * y, x * y, x, y, 1]) == pytest.approx(0, abs=1e-12)
    np.testing.assert_allclose(mm.lineIntersection([1, -1, 0], [1, 1, -2]), [1, 1])
    line = mm.ptDir2DToCart2D([1, 2], [3, 4])
    assert line.dot([4, 6, 1]) == pytest.approx(0)
    point, direction = mm.cart3DToPtDir3D(mm.ptDir3DToCart3D([1, 2, 3], [0, 1, 1]))
    assert mm.pointToLine3DDist(point, direction, [1, 5, 6]) < 1e-14
    assert mm.pointToPolarLineDist(*mm.computePolarLine([0, 1], [1, 2]), [2, 3]) < 1e-15
    np.testing.assert_array_equal(mm.planLineIntersection([0, 0, 2], [0, 0, 1], [1, 1, 0], [0, 0, 3]), [1, 1, 2])
    assert mm.planLineIntersection([0, 0, 2], [0, 0, 1], [1, 1, 0], [1, 0, 0]) is None
    points = [[0, 0], [1, 2], [3, 6], [7, 14]]
    ratio = mm.crossRatioFromPoint(*points)
    assert ratio == pytest.approx(3 * 6 / (2 * 7))
    np.testing.assert_allclose(mm.pointFromCrossRatio(ratio, *points[:3]), points[3])


def test_random_numbers_repeat():
    def draws():
        mm.initRandGene(7)
        return [mm.randGene(), mm.vaUnif(2.0), mm.vaGauss(1.0), mm.vaGauss(1.0)]  # they come in pairs

    assert draws() == draws() and 0 <= draws()[0] <= 1 and abs(draws()[1]) <= 2


def test_everything_has_a_docstring():
    signature = re.compile(r"^(?:\d+\. )?\w+\(.*\) -> .*$", re.MULTILINE)
    for name, thing in vars(mm).items():
        members = {name: thing, **(vars(thing) if isinstance(thing, type) else {})}
        for member, value in members.items():
            if isinstance(value, type) or not callable(value):
                assert not isinstance(value, type) or value.__doc__, member
            elif not member.startswith("_"):
                texts = signature.split(value.__doc__ or "")[1:]
                assert texts and all(text.strip() for text in texts), (name, member)
