// Fits a closed spline to the outline of a coin and draws it with its normals.

#include "math/BSpline.h"
#include "support/PointFile.h"
#include "support/Svg.h"

#include <cmath>
#include <iomanip>
#include <iostream>

namespace {

SvgPlot::Rows rowsOf(std::vector<Vector> const& points)
{
    SvgPlot::Rows rows;
    for (Vector const& p : points) rows.push_back({p[0], p[1]});
    return rows;
}

SvgPlot::Rows sampled(BSpline const& curve)
{
    Pix::ListPoint<double> list;
    curve.fastSplineToCurve(list, 0.02);
    list.push_back(list.front());
    SvgPlot::Rows rows;
    for (auto const& p : list) rows.push_back({p.x, p.y});
    return rows;
}

// Positive when the curve runs counter-clockwise in the axes of its coordinates.
double signedArea(SvgPlot::Rows const& rows)
{
    double twice = 0.0;
    for (std::size_t i = 1; i < rows.size(); ++i)
        twice += rows[i - 1][0] * rows[i][1] - rows[i][0] * rows[i - 1][1];
    return 0.5 * twice;
}

// Outward normals as arrows: start and length along x and y.
SvgPlot::Rows normals(BSpline const& curve, double length)
{
    double const outward = signedArea(sampled(curve)) > 0.0 ? -length : length;
    SvgPlot::Rows rows;
    for (double s = 0.0; s < curve.getMaxS(); s += 0.25) {
        Vector const p = curve.computeCurvePoint(s);
        Vector const n = outward * curve.computeNormalToCurve(s);
        rows.push_back({p[0], p[1], n[0], n[1]});
    }
    return rows;
}

}  // namespace

int main(int argc, char** argv)
{
    std::string const data = argc > 1 ? argv[1] : "data";
    std::vector<Vector> const outline = readPoints(data + "/coin_outline.csv", 2);

    BSplineSimple curve;
    curve.init(4, std::vector<Vector>(20, Vector(2)), false);
    curve.setSmoothParam(0.01);
    auto matched = curve.initMatchedPointsByChordLength(outline);
    double const rms = curve.refinement(matched);

    SvgPlot::Rows const samples = sampled(curve);
    std::cout << std::fixed << std::setprecision(3) << outline.size() << " points, "
              << curve.getNbBSplines() << " control points\nRMS distance " << rms << " px, area "
              << std::setprecision(1) << std::abs(signedArea(samples)) << " px^2\n";

    SvgPlot plot("outline.svg", "Outline of a coin and its normals", "x [px]", "y [px]", 700, 700);
    plot.set("size ratio -1");
    plot.set("yrange [] reverse");
    plot.add("measured", "points pt 7 ps 0.35 lc rgb '#1f77b4'", rowsOf(outline));
    plot.add("closed spline", "lines lw 1.5 lc rgb '#d95f02'", samples);
    plot.add("normals", "vectors head size 0.6,20 lc rgb '#7f7f7f'", normals(curve, 4.0));
    plot.add("control points", "points pt 4 ps 0.7 lc rgb '#2ca02c'",
             rowsOf(curve.getControlPoints()));
    plot.write();
    return rms < 0.1 ? 0 : 1;  // edges are known to a tenth of a pixel
}
