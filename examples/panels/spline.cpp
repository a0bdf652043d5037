// The outline of a coin as a closed spline, with its normals.

#include "math/BSpline.h"

#include "panels/Panel.h"
#include "support/Chart.h"
#include "support/Measured.h"
#include "support/PointFile.h"

#include <cmath>

namespace {

// The curve as a closed polygon fine enough for its length and area.
Points polygon(BSpline const& curve)
{
    Pix::ListPoint<double> list;
    curve.fastSplineToCurve(list, 0.01);
    Points points;
    for (auto const& p : list) points.push_back(Vector::of({p.x, p.y}));
    return closed(points);
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
    std::vector<Points> normals;  // as strokes of 4 px, from the curve outward
    for (double s = 0.0; s < curve.getMaxS(); s += 0.25) {
        Vector const foot = curve.computeCurvePoint(s);
        normals.push_back({foot, foot - 4.0 * curve.computeNormalToCurve(s)});
    }
    //! [code]
    Points const line = polygon(curve);
    double const nbPoints = static_cast<double>(outline.size());
    double const free = 2.0 * curve.getNbBSplines();
    double const sigma = rms * std::sqrt(nbPoints / (nbPoints - free));
    double const areaError = sigma * length(line) / std::sqrt(nbPoints);
    return {"spline",
            {{"Measured points", count(outline.size())},
             {"Control points", std::to_string(curve.getNbBSplines())},
             {"RMS distance", quantity(rms, 3, "px")},
             {"Area", measured(area(line), areaError, "px²")},
             {"Length", quantity(length(line), 1, "px")}},
            Chart("The measured outline of a coin, the closed spline through it, and its outward "
                  "normals.",
                  "x [px]", "y [px]", true)
                .lines("normals", Chart::grey, 1.2, normals)
                .line("closed spline", Chart::orange, 2.0, line)
                .dots("measured", Chart::blue, 3.5, outline)
                .svg()};
}
