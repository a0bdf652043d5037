#pragma once

#include "support/Points.h"

#include <string>
#include <vector>

/// A map as inline SVG: points and lines in the plane, equal scales, axes with ticks, a legend.
///
/// The dots of a series are one path, in tenths of a pixel and each place once: seven thousand
/// points take 50 kB, and a browser one element.
class Chart {
public:
    /// The palette, told apart also by readers who do not see all colours.
    static constexpr char const *blue = "#1f6fb2", *orange = "#d4550a", *green = "#2b8a57",
                                *grey = "#aab4bd";

    /// @param description  what the picture shows, for readers who cannot see it.
    /// @param yDown        as in images: the second coordinate grows downwards.
    Chart(std::string description, std::string xLabel, std::string yLabel, bool yDown = false);

    /// Dots of this diameter in pixels.
    Chart& dots(std::string legend, char const* colour, double size, Points points);

    /// A line through the points, of this width in pixels.
    Chart& line(std::string legend, char const* colour, double width, Points points);

    /// Several such lines under one legend.
    Chart& lines(std::string legend, char const* colour, double width, std::vector<Points> lines);

    /// The svg element. At least two different points must have been drawn.
    std::string svg() const;

private:
    struct Series {
        std::string legend;
        char const* colour;
        double width;
        std::vector<Points> lines;  // for dots: all of them as one
        bool areDots;
    };
    struct Frame;

    Frame frame() const;
    std::string axes(Frame const& f) const;
    std::string path(Series const& series, Frame const& f) const;
    std::string legend(double& y) const;

    std::string _description, _xLabel, _yLabel;
    double _up;  // 1, or -1 where y grows downwards
    std::vector<Series> _series;
};
