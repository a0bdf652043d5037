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

Chart& Chart::dots(std::string legend, char const* colour, double size, Points points)
{
    _series.push_back({std::move(legend), colour, size, {std::move(points)}, true});
    return *this;
}

Chart& Chart::line(std::string legend, char const* colour, double width, Points points)
{
    return lines(std::move(legend), colour, width, {std::move(points)});
}

Chart& Chart::lines(std::string legend, char const* colour, double width, std::vector<Points> lines)
{
    _series.push_back({std::move(legend), colour, width, std::move(lines), false});
    return *this;
}

// Holds every point with a margin of 3 % about them.
Chart::Frame Chart::frame() const
{
    double const most = std::numeric_limits<double>::max();
    double low[] = {most, most}, high[] = {-most, -most};
    for (Series const& series : _series)
        for (Points const& line : series.lines)
            for (Vector const& p : line) {
                double const place[] = {p[0], _up * p[1]};
                for (int k = 0; k < 2; ++k) {
                    low[k] = std::min(low[k], place[k]);
                    high[k] = std::max(high[k], place[k]);
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
    std::ostringstream out;
    out << "<path stroke=\"" << series.colour << "\" stroke-width=\"" << 10.0 * series.width
        << "\" d=\"";
    Place last(0, 0);
    for (Points const& line : series.lines) {
        std::vector<Place> places;
        for (Vector const& p : line)
            places.emplace_back(std::lround(10.0 * f.x(p[0])), std::lround(10.0 * f.y(_up * p[1])));
        if (series.areDots) {
            std::set<Place> const distinct(places.begin(), places.end());
            places.assign(distinct.begin(), distinct.end());
        }
        char command = 'm';
        for (auto const& [x, y] : places) {
            out << command << x - last.first << ' ' << y - last.second
                << (series.areDots ? "h0" : "");
            command = series.areDots ? 'm' : 'l';
            last = {x, y};
        }
    }
    out << "\"/>\n";
    return out.str();
}

// A row of entries, or more where 8 pixels a character do not fit. On return y is below them.
std::string Chart::legend(double& y) const
{
    std::ostringstream out;
    double width = 0.0;
    for (Series const& series : _series) {
        double const length = 32.0 + 8.0 * static_cast<double>(series.legend.size());
        bool const beginsRow = width == 0.0 || width + length > sheetWidth - left;
        if (beginsRow) {
            out << (width == 0.0 ? "" : "</text>\n") << "<text x=\"" << left << "\" y=\"" << y
                << "\">";
            y += 20.0;
            width = 0.0;
        }
        out << "<tspan font-weight=\"bold\" fill=\"" << series.colour << "\" dx=\""
            << (beginsRow ? 0 : 14) << "\">" << (series.areDots ? "●" : "—") << "</tspan> "
            << series.legend;
        width += length;
    }
    out << "</text>\n";
    return out.str();
}

std::string Chart::svg() const
{
    Frame const f = frame();
    double bottom = f.bottom() + 62.0;
    std::string const entries = legend(bottom);
    std::ostringstream out;
    out << "<svg xmlns=\"http://www.w3.org/2000/svg\" role=\"img\" aria-label=\"" << _description
        << "\" viewBox=\"0 0 " << sheetWidth << ' ' << std::ceil(bottom - 12.0)
        << "\" font-family=\"system-ui, sans-serif\" font-size=\"14\" fill=\"#33414d\">\n"
        << axes(f)
        << "<g transform=\"scale(.1)\" fill=\"none\" stroke-linecap=\"round\" "
           "stroke-linejoin=\"round\">\n";
    for (Series const& series : _series) out << path(series, f);
    out << "</g>\n" << entries << "</svg>\n";
    return out.str();
}
