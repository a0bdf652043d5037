"""The demonstration in Python: real measurements in, figures out, and a picture if asked for.

Usage: demonstration.py [directory of the data] [picture.svg]
"""

import pathlib
import sys

import numpy as np

import measuremath as mm

# One line a task: what was measured, and what was found.
REPORT = "{:<14}{}"


def robust_fit(estimator, data, threshold):
    """Fits the model among outliers: its parameters, the flags of the outliers, the inliers' RMS."""
    estimator.setDataColl(data)
    ransac = mm.Ransac()
    ransac.setEstimator(estimator)
    ransac.setOutliersThreshold(threshold)
    ransac.setSuccessRatio(0.999999)
    if not ransac.robustEstimation():
        raise RuntimeError("no model was found")
    return np.asarray(ransac.getEstimParams()), ransac.getOutlierFlags(), ransac.getInlierRms()


def road(scan):
    (a, b, c, d), outlier, rms = robust_fit(mm.PlanEstimator(), scan, threshold=0.05)
    tilt = np.degrees(np.arctan2(np.hypot(a, b), abs(c)))
    print(REPORT.format("road", f"{np.sum(~outlier)} of {len(scan)} points, RMS {1e3 * rms:.1f} mm, "
                        f"tilt {tilt:.2f} degrees, {abs(d) / np.linalg.norm([a, b, c]):.3f} m below"))
    return outlier


def registration(scan, random):
    moved = scan.copy()
    truth = mm.MatrixTH(mm.Euler(0.12, 0.01, -0.02), [4.0, -1.5, 0.2])
    truth.mapPoints(moved)  # in place
    moved += random.normal(scale=0.01, size=moved.shape)
    found = mm.MatrixTH()
    found.init(scan, moved, noScale=True)
    error = found @ truth.inverse()
    print(REPORT.format("registration", f"{error.getVectorPos().length() * 1e3:.2f} mm and "
                        f"{np.degrees(error.getVectorR().getModule()):.4f} degrees from the truth"))
    return moved


def coin(outline):
    quad, _, _ = robust_fit(mm.EllipseEstimator(), outline, threshold=60.0)
    x, y, angle, a, b = mm.ellipticQuadToCartParams(quad)
    print(REPORT.format("ellipse", f"centre ({x:.1f}, {y:.1f}), semi-axes {a:.1f} and {b:.1f} pixels"))
    t = np.linspace(0, 2 * np.pi, 100)
    turn = np.array([[np.cos(angle), -np.sin(angle)], [np.sin(angle), np.cos(angle)]])
    return [x, y] + np.column_stack([a * np.cos(t), b * np.sin(t)]) @ turn.T


def worn_edge(outline):
    curve = mm.BSplineSimple()
    curve.init(order=4, controlPoints=outline[::7], open=False)
    matched = curve.initMatchedPointsByChordLength(outline)
    rms = curve.refinement(matched)
    print(REPORT.format("spline", f"{curve.getNbBSplines()} control points, RMS {rms:.3f} pixels, "
                        f"largest distance {matched['distance'].max():.2f}"))
    return np.asarray(curve.splineToCurve(0.05))


class Radar(mm.KalmanIekf):
    """Nearly constant speed, seen by range and bearing: the state is (x, y, vx, vy)."""

    def __init__(self):
        mm.KalmanIekf.__init__(self, 4, 2, 2, 2)

    def stateFct(self, x, u):
        return np.concatenate([x[:2] + x[2:] + 0.5 * u, x[2:] + u])

    def obsFct(self, x, z):
        return [np.hypot(x[0], x[1]) - z[0], np.angle(np.exp(1j * (np.arctan2(x[1], x[0]) - z[1])))]


def track(random):
    sigma = np.array([0.5, 0.05])  # m and rad
    radar = Radar()
    radar.setParams([-60, 30, 0, 0])
    radar.setParamsCov(25 * np.eye(4))
    radar.setCtrl([0, 0], 0.15**2 * np.eye(2))
    k = np.arange(1, 41)
    way = np.column_stack([-60 + 3 * k, 30 + 20 * np.sin(0.08 * k)])
    seen, estimated = [], []
    for at in way:
        z = [np.hypot(*at), np.arctan2(at[1], at[0])] + sigma * random.normal(size=2)
        radar.predict()
        radar.setObs(z, np.diag(sigma**2))
        radar.update()
        seen.append(z[0] * np.array([np.cos(z[1]), np.sin(z[1])]))
        estimated.append(radar.getParams()[:2])
    rms = [np.sqrt(np.mean(np.sum((np.array(p) - way) ** 2, axis=1))) for p in (seen, estimated)]
    print(REPORT.format("track", f"RMS {rms[1]:.2f} m, measured {rms[0]:.2f} m"))
    return np.array(seen), np.array(estimated)


def bookcase(points):
    # Rough directions out of the wall, to the left and up, and where each face has its points.
    directions = np.array([[-0.982, 0.080, 0.169], [0.087, 0.996, 0.033], [0.166, -0.047, 0.985]])
    place = points @ directions.T + [2.172, 0, 0]
    inside = np.array([[0.06, 0.365], [-0.59, 0.79], [-0.26, 0.35]])
    body = mm.ConvexPolyedron()
    for axis, at, sign in [(0, 0.035, -1), (0, 0.395, 1), (1, -0.62, -1), (1, 0.82, 1), (2, -0.285, -1),
                           (2, 0.38, 1)]:
        within = inside.copy()
        within[axis] = at - 0.035, at + 0.035
        if (axis, sign) == (2, -1):
            within[1, 1] = 0.05  # books stand on the left half of the shelf
        near = points[((place > within[:, 0]) & (place < within[:, 1])).all(axis=1)]
        plane = robust_fit(mm.PlanEstimator(), near, threshold=0.012)[0]
        plane /= np.linalg.norm(plane[:3]) * sign * np.sign(plane[:3] @ directions[axis])
        body.addPlane([*plane[:3], -plane[3]])
    volume, error = body.computeVolumeAndMaxErr(0.01)
    print(REPORT.format("polyhedron", f"{body.getNbTops()} vertices, {volume:.3f} cubic metres, "
                        f"within {error:.0f} %"))
    return body


def main(data="data", picture=None):
    random = np.random.default_rng(4)
    mm.initRandGene(42)
    scan, outline, shelves = (np.loadtxt(pathlib.Path(data) / f"{name}.csv", delimiter=",", comments=["#", "x"])
                              for name in ("street_scan", "coin_outline", "bookcase_scan"))
    outlier = road(scan)
    registration(scan, random)
    ellipse, spline = coin(outline), worn_edge(outline)
    seen, estimated = track(random)
    body = bookcase(shelves)
    if picture is None:
        return
    import matplotlib
    matplotlib.use("Agg")
    from matplotlib import pyplot
    _, (left, middle, right, last) = pyplot.subplots(1, 4, figsize=(20, 5), subplot_kw={"aspect": "equal"})
    left.set_title("road [m]")
    left.plot(*scan[outlier, :2].T, ".", ms=1, color="0.7")
    left.plot(*scan[~outlier, :2].T, ".", ms=1)
    middle.set_title("coin [pixel]")
    middle.invert_yaxis()  # as in the image
    middle.plot(*outline.T, ".", *ellipse.T, *spline.T)
    right.set_title("track [m]")
    right.plot(*seen.T, "+", *estimated.T)
    last.set_title("bookcase from above [m]")
    for face in range(body.getNbPlanes()):
        last.fill(*np.asarray(body.getTopsOnPlane(face))[:, :2].T, fill=False)
    pyplot.savefig(picture, bbox_inches="tight")


if __name__ == "__main__":
    main(*sys.argv[1:])
