#pragma once

#include <cstdio>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

/// A picture that gnuplot draws and writes as SVG; one sheet, in the plane or in space.
///
///     SvgPlot plot("line.svg", "A line", "x [m]", "y [m]");
///     plot.add("points", "points pt 7 ps 0.4 lc rgb '#1f77b4'", {{0.0, 1.0}, {2.0, 3.0}});
///     plot.write();
class SvgPlot {
public:
    using Rows = std::vector<std::vector<double>>;

    SvgPlot(std::string const& file, std::string const& title, std::string const& xLabel,
            std::string const& yLabel, int width = 900, int height = 600)
    {
        _commands.precision(8);
        set("encoding utf8");
        set("terminal svg size " + std::to_string(width) + "," + std::to_string(height) +
            " dynamic background rgb 'white' font 'sans-serif,13'");
        set("output " + quoted(file));
        set("title " + quoted(title));
        set("xlabel " + quoted(xLabel));
        set("ylabel " + quoted(yLabel));
        set("grid lc rgb '#dddddd'");
        set("key outside bottom center horizontal");
    }

    /// Any option of gnuplot's `set` command: `set("size ratio -1")` for equal scales.
    void set(std::string const& option) { _commands << "set " << option << '\n'; }

    /// Draws in space: every row then has three coordinates or more.
    void inSpace(std::string const& zLabel)
    {
        _plot = "splot ";
        set("zlabel " + quoted(zLabel) + " rotate");
    }

    /// One series: its legend (empty: none), gnuplot's words after `with`, and one row a point. An
    /// empty row interrupts a line.
    void add(std::string const& legend, std::string const& with, Rows const& rows)
    {
        std::string const name = "$series" + std::to_string(_series++);
        _commands << name << " << END\n";
        for (std::vector<double> const& row : rows) {
            for (double const x : row) _commands << x << ' ';
            _commands << '\n';
        }
        _commands << "END\n";
        _plot += (_series > 1 ? ", " : "") + name + " with " + with +
                 (legend.empty() ? " notitle" : " title " + quoted(legend));
    }

    /// @throws std::runtime_error when gnuplot is missing or fails.
    void write()
    {
        std::unique_ptr<std::FILE, int (*)(std::FILE*)> gnuplot(popen("gnuplot", "w"), pclose);
        std::string const script = _commands.str() + _plot + '\n';
        bool const sent = gnuplot && std::fwrite(script.data(), 1, script.size(), gnuplot.get()) == script.size();
        if (!sent || pclose(gnuplot.release()) != 0)
            throw std::runtime_error("gnuplot did not draw the picture; is it installed?");
    }

private:
    static std::string quoted(std::string const& text)
    {
        std::string result = "'";
        for (char const c : text) result += c == '\'' ? std::string("''") : std::string(1, c);
        return result + "'";
    }

    std::ostringstream _commands;
    std::string _plot = "plot ";
    int _series = 0;
};
