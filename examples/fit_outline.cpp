// Fits a closed spline to the outline of a coin and draws it with its normals.

#include "math/BSpline.h"
#include "support/PointFile.h"
#include "support/Svg.h"

#include <cmath>
#include <exception>
#include <iostream>

namespace {

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
    for (int i = 0; i < 4 * curve.getNbSpans(); ++i) {
        Vector const p = curve.computeCurvePoint(0.25 * i);
        Vector const n = outward * curve.computeNormalToCurve(0.25 * i);
        rows.push_back({p[0], p[1], n[0], n[1]});
    }
    return rows;
}

}  // namespace

int main(int argc, char** argv)
try {
    std::string const data = argc > 1 ? argv[1] : "data";
    std::vector<Vector> const outline = readPoints(data + "/coin_outline.csv", 2);
    BSplineSimple curve;
    curve.init(4, std::vector<Vector>(20, Vector(2)), false);
    curve.setSmoothParam(0.01);
    auto matched = curve.initMatchedPointsByChordLength(outline);
    double const rms = curve.refinement(matched);
    std::cout << outline.size() << " points, " << curve.getNbBSplines()
              << " control points\nRMS distance " << rms << " px, area "
              << std::abs(signedArea(sampled(curve))) << " px^2\n";

    SvgPlot::Rows measured;
    for (Vector const& p : outline) measured.push_back({p[0], p[1]});
    SvgPlot plot("outline.svg", "Outline of a coin and its normals", "x [px]", "y [px]", 700, 700);
    plot.set("size ratio -1");
    plot.set("yrange [] reverse");
    plot.add("measured", "points pt 7 ps 0.35 lc rgb '#1f77b4'", measured);
    plot.add("closed spline", "lines lw 1.5 lc rgb '#d95f02'", sampled(curve));
    plot.add("normals", "vectors head size 0.6,20 lc rgb '#7f7f7f'", normals(curve, 4.0));
    plot.write();
    return rms < 0.1 ? 0 : 1;  // edges are known to a tenth of a pixel
} catch (std::exception const& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
