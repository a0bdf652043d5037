#pragma once

#include <string>
#include <vector>

/// Tables of figures as a page of Markdown on the standard output. A figure beyond its limit is
/// marked there and counted.
class Report {
public:
    /// Starts a section: heading, explanation and the head of its table, the first column of names.
    void section(char const* title, char const* text, std::vector<std::string> const& columns);
    void row(std::string const& name, std::vector<std::string> const& cells);

    /// A figure to put in a cell: an error, not to exceed `limit`.
    std::string error(double value, double limit);
    /// Correct decimal digits, not to be fewer than `limit`.
    std::string digits(double value, double limit);

    int nbBeyondLimits() const { return _nbBeyondLimits; }

private:
    std::string figure(double value, bool isWithin, double limit);

    int _nbBeyondLimits = 0;
};

/// The sections of the page.
void reportDecompositions(Report& report);
void reportRotations(Report& report);
void reportLinearRegressions(Report& report);
void reportNonlinearRegressions(Report& report);
void reportFits(Report& report);
