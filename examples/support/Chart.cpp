#include "support/Chart.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <sstream>
#include <utility>

namespace {

constexpr double sheetWidth = 440.0, left = 58.0, right = 430.0, top = 8.0, maxHeight = 400.0;

// The smallest of 1, 2 and 5 times a power of ten that is not below `least`.
double roundStep(double least)
{
    double const decade = std::pow(10.0, std::floor(std::log10(least)));
    for (double const factor : {1.0, 2.0, 5.0})
        if (factor * decade >= least) return factor * decade;
    return 10.0 * decade;
}

std::string text(char const* anchor, double x, double y, std::string const& content)
{
    std::ostringstream out;
    out << "<text text-anchor=\"" << anchor << "\" x=\"" << x << "\" y=\"" << y << "\">" << content
        << "</text>\n";
    return out.str();
}

std::string tick(double value)
{
    std::ostringstream out;
    out << std::abs(value);
    return (value < 0.0 ? "−" : "") + out.str();
}

}  // namespace

// Pixels from coordinates, with y counted upwards.
struct Chart::Frame {
    double x0, y1, scale, height;

    double x(double value) const { return left + (value - x0) * scale; }
    double y(double value) const { return top + (y1 - value) * scale; }
    double bottom() const { return top + height; }
};

Chart::Chart(std::string description, std::string xLabel, std::string yLabel, bool yDown)
    : _description(std::move(description)),
      _xLabel(std::move(xLabel)),
      _yLabel(std::move(yLabel)),
      _up(yDown ? -1.0 : 1.0)
{
}

void Chart::dots(std::string legend, char const* colour, double size, std::vector<Vector> points)
{
    _series.push_back({std::move(legend), colour, size, std::move(points), 1});
}

void Chart::strokes(std::string legend, char const* colour, double width,
                    std::vector<Vector> points)
{
    _series.push_back({std::move(legend), colour, width, std::move(points), 2});
}

void Chart::line(std::string legend, char const* colour, double width, std::vector<Vector> points)
{
    std::size_t const length = points.size();
    _series.push_back({std::move(legend), colour, width, std::move(points), length});
}

// Holds every point with a margin of 3 % about them.
Chart::Frame Chart::frame() const
{
    double low[2], high[2];
    std::fill(low, low + 2, std::numeric_limits<double>::max());
    std::fill(high, high + 2, std::numeric_limits<double>::lowest());
    for (Series const& series : _series) {
        for (Vector const& p : series.points) {
            double const place[] = {p[0], _up * p[1]};
            for (int k = 0; k < 2; ++k) {
                low[k] = std::min(low[k], place[k]);
                high[k] = std::max(high[k], place[k]);
            }
        }
    }
    double const dx = 1.06 * (high[0] - low[0]), dy = 1.06 * (high[1] - low[1]);
    double const scale = std::min((right - left) / dx, maxHeight / dy);
    return {0.5 * (low[0] + high[0] - (right - left) / scale), 0.5 * (low[1] + high[1] + dy), scale,
            dy * scale};
}

std::string Chart::axes(Frame const& f) const
{
    double const step = roundStep(42.0 / f.scale);
    std::ostringstream grid, labels;
    for (double k = std::ceil(f.x0 / step); f.x(k * step) <= right; ++k) {
        grid << 'M' << f.x(k * step) << ' ' << top << 'V' << f.bottom();
        labels << text("middle", f.x(k * step), f.bottom() + 17.0, tick(k * step));
    }
    for (double k = std::floor(f.y1 / step); f.y(k * step) <= f.bottom(); --k) {
        grid << 'M' << left << ' ' << f.y(k * step) << 'H' << right;
        labels << text("end", left - 6.0, f.y(k * step) + 4.0, tick(_up * k * step));
    }
    std::ostringstream out;
    out << "<path stroke=\"#e3e8ec\" d=\"" << grid.str() << "\"/>\n"
        << "<path stroke=\"#8a97a3\" fill=\"none\" d=\"M" << left << ' ' << top << 'V' << f.bottom()
        << 'H' << right << "\"/>\n"
        << labels.str() << text("middle", 0.5 * (left + right), f.bottom() + 37.0, _xLabel)
        << "<g transform=\"translate(14 " << top + 0.5 * f.height << ") rotate(-90)\">"
        << text("middle", 0.0, 0.0, _yLabel) << "</g>\n";
    return out.str();
}

std::string Chart::path(Series const& series, Frame const& f) const
{
    using Place = std::pair<long, long>;
    std::vector<Place> places;
    for (Vector const& p : series.points)
        places.emplace_back(std::lround(10.0 * f.x(p[0])), std::lround(10.0 * f.y(_up * p[1])));
    if (series.length == 1) {
        std::set<Place> const distinct(places.begin(), places.end());
        places.assign(distinct.begin(), distinct.end());
    }
    std::ostringstream out;
    out << "<path stroke=\"" << series.colour << "\" stroke-width=\"" << 10.0 * series.width
        << "\" d=\"";
    Place last(0, 0);
    for (std::size_t i = 0; i < places.size(); ++i) {
        auto const [x, y] = places[i];
        out << (i % series.length == 0 ? 'm' : 'l') << x - last.first << ' ' << y - last.second
            << (series.length == 1 ? "h0" : "");
        last = places[i];
    }
    out << "\"/>\n";
    return out.str();
}

// One entry after the other, a character being about 7 pixels wide. On return y is below them.
std::string Chart::legend(double& y) const
{
    std::ostringstream out;
    double x = left;
    for (Series const& series : _series) {
        if (series.legend.empty()) continue;
        bool const areDots = series.length == 1;
        double const length = 34.0 + 6.8 * static_cast<double>(series.legend.size());
        if (x > left && x + length > sheetWidth) {
            x = left;
            y += 20.0;
        }
        out << "<path stroke=\"" << series.colour << "\" stroke-linecap=\"round\" stroke-width=\""
            << (areDots ? 7.0 : 3.0) << "\" d=\"M" << x + (areDots ? 8.0 : 0.0) << ' ' << y - 4.0
            << (areDots ? "h0" : "h16") << "\"/>" << text("start", x + 22.0, y, series.legend);
        x += length;
    }
    y += 8.0;
    return out.str();
}

std::string Chart::svg() const
{
    Frame const f = frame();
    double bottom = f.bottom() + 62.0;
    std::string const entries = legend(bottom);
    std::ostringstream out;
    out << "<svg xmlns=\"http://www.w3.org/2000/svg\" role=\"img\" aria-label=\"" << _description
        << "\" viewBox=\"0 0 " << sheetWidth << ' ' << std::ceil(bottom)
        << "\" font-family=\"system-ui, sans-serif\" font-size=\"14\" fill=\"#33414d\">\n"
        << axes(f)
        << "<g transform=\"scale(.1)\" fill=\"none\" stroke-linecap=\"round\" "
           "stroke-linejoin=\"round\">\n";
    for (Series const& series : _series) out << path(series, f);
    out << "</g>\n" << entries << "</svg>\n";
    return out.str();
}
