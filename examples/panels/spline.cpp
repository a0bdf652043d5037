// The outline of a coin as a closed spline, with its normals.

#include "math/BSpline.h"

#include "panels/Panel.h"
#include "support/Chart.h"
#include "support/Measured.h"
#include "support/PointFile.h"

#include <cmath>

namespace {

using Points = std::vector<Vector>;

// The curve as a closed polygon fine enough for its length and area.
Points polygon(BSpline const& curve)
{
    Pix::ListPoint<double> list;
    curve.fastSplineToCurve(list, 0.01);
    Points points;
    for (auto const& p : list) points.push_back(Vector::of({p.x, p.y}));
    points.push_back(points.front());
    return points;
}

// Positive where the corners turn from x to y.
double signedArea(Points const& corners)
{
    double twice = 0.0;
    for (std::size_t i = 1; i < corners.size(); ++i)
        twice += corners[i - 1][0] * corners[i][1] - corners[i][0] * corners[i - 1][1];
    return 0.5 * twice;
}

double length(Points const& line)
{
    double sum = 0.0;
    for (std::size_t i = 1; i < line.size(); ++i) sum += (line[i] - line[i - 1]).length();
    return sum;
}

}  // namespace

Panel splinePanel(std::string const& pointFile)
{
    Points const outline = readPoints(pointFile, 2);
    //! [code]
    BSplineSimple curve;
    curve.init(4, std::vector<Vector>(20, Vector(2)), false);  // cubic, 20 control points, closed
    curve.setSmoothParam(0.01);
    std::vector<MatchedPointInfo> matched = curve.initMatchedPointsByChordLength(outline);
    double const rms = curve.refinement(matched);
    std::vector<Vector> normals;  // as strokes of 4 px, from the curve outward
    for (double s = 0.0; s < curve.getMaxS(); s += 0.25) {
        normals.push_back(curve.computeCurvePoint(s));
        normals.push_back(normals.back() - 4.0 * curve.computeNormalToCurve(s));
    }
    //! [code]
    Points const corners = polygon(curve);
    double const area = signedArea(corners), nbPoints = static_cast<double>(outline.size());
    double const free = 2.0 * curve.getNbBSplines();
    double const sigma = rms * std::sqrt(nbPoints / (nbPoints - free));
    double const areaError = sigma * length(corners) / std::sqrt(nbPoints);

    Chart chart(
        "The measured outline of a coin, the closed spline through it, and its outward normals.",
        "x [px]", "y [px]", true);
    chart.strokes("normals", Chart::grey, 1.2, normals);
    chart.line("closed spline", Chart::orange, 2.0, corners);
    chart.dots("measured", Chart::blue, 3.5, outline);
    return {"spline",
            "An outline as a spline",
            "The edge of one worn coin, a closed curve of points in order. The control points are "
            "fitted to "
            "orthogonal distances, and the points matched anew until nothing moves.",
            {{"Measured points", count(outline.size())},
             {"Control points", std::to_string(curve.getNbBSplines())},
             {"RMS distance", quantity(rms, 3, "px")},
             {"Area", measured(std::abs(area), areaError, "px²")},
             {"Length", quantity(length(corners), 1, "px")}},
            chart.svg()};
}
