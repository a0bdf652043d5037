// The page of measured accuracy. Fails when a figure is beyond its limit.

#include "Report.h"

#include "math/MathError.h"

#include <log4cplus/loglevel.h>

#include <cstdio>

namespace {

void printRow(std::string const& name, std::vector<std::string> const& cells)
{
    std::printf("| %s |", name.c_str());
    for (std::string const& cell : cells) std::printf(" %s |", cell.c_str());
    std::printf("\n");
}

}  // namespace

void Report::section(char const* title, char const* text, std::vector<std::string> const& columns)
{
    std::printf("\n## %s\n\n%s\n\n", title, text);
    printRow(columns.front(), {columns.begin() + 1, columns.end()});
    printRow("---", std::vector<std::string>(columns.size() - 1, "--:"));
}

void Report::row(std::string const& name, std::vector<std::string> const& cells)
{
    printRow(name, cells);
}

std::string Report::error(double value, double limit)
{
    return figure(value, value <= limit, limit);  // not within for NaN
}

std::string Report::digits(double value, double limit)
{
    return figure(value, value >= limit, limit);
}

std::string Report::figure(double value, bool isWithin, double limit)
{
    char text[64];
    if (isWithin) {
        std::snprintf(text, sizeof text, value < 99.95 ? "%.1f" : "%.1e", value);
    } else {
        ++_nbBeyondLimits;
        std::snprintf(text, sizeof text, "**%.3g, limit %g**", value, limit);
    }
    return text;
}

int main()
{
    g_MathLogger.setLogLevel(log4cplus::OFF_LOG_LEVEL);
    std::printf(R"(# Accuracy {#accuracy}

Measured by `cmake --build --preset release --target accuracy`, which writes this page. The
same program runs among the tests and fails when a figure is beyond its limit, so that the
limits, some times what is shown here, hold for every change. ε is 2^-52, the spacing of
doubles at 1; an ulp is ε times the size of the quantity.
)");
    Report report;
    reportDecompositions(report);
    reportRotations(report);
    reportLinearRegressions(report);
    reportNonlinearRegressions(report);
    reportFits(report);
    return report.nbBeyondLimits() == 0 ? 0 : 1;
}
