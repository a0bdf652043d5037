// Measures real data and shows the results on one page, each with the code that made it; or fits
// the dominant plane to points of the user's own.

#include "math/Version.h"

#include "panels/Panel.h"
#include "support/Page.h"

#include <CLI/CLI.hpp>

#include <fstream>
#include <iostream>

namespace {

struct Options {
    std::string points;
    std::string picture = "plane.svg";
    std::string page = "measuremath.html";
    std::string pictures;
    std::string data = MEASUREMATH_DATA_DIR;
};

void write(std::string const& file, std::string const& text)
{
    std::ofstream out(file);
    if (!(out << text).flush()) throw std::runtime_error(file + ": can't be written");
    std::cout << "Wrote " << file << "\n\n";
}

void print(Panel const& panel)
{
    std::cout << panel.id << '\n';
    for (auto const& [name, value] : panel.figures)
        std::cout << "  " << name << ": " << value << '\n';
}

// The plane of the user's own points.
void measurePoints(Options const& options)
{
    Panel const panel = planePanel(options.points);
    print(panel);
    write(options.picture, panel.picture);
}

void measureData(Options const& options)
{
    std::vector<Panel> const panels = {planePanel(options.data + "/street_scan.csv"),
                                       ellipsesPanel(options.data + "/coins_edges.csv"),
                                       registrationPanel(options.data + "/street_scan.csv"),
                                       trackPanel(),
                                       splinePanel(options.data + "/coin_outline.csv"),
                                       polyhedronPanel(options.data + "/bookcase_scan.csv")};
    for (Panel const& panel : panels) {
        print(panel);
        if (!options.pictures.empty())
            write(options.pictures + "/" + panel.id + ".svg", panel.picture);
    }
    write(options.page, page(panels));
}

int run(int argc, char** argv)
{
    Options options;
    CLI::App app(
        "Measures real data and shows the results, with the code that made them, on one page.\n"
        "Given points of your own (x, y, z in metres, one a line), it fits their dominant plane.");
    app.set_version_flag("--version",
                         "measuremath-demo " + std::string(measuremath::versionString()));
    app.add_option("points", options.points, "CSV file of points");
    app.add_option("picture", options.picture, "SVG file of the plane to write")
        ->capture_default_str();
    app.add_option("--page", options.page, "HTML file to write")->capture_default_str();
    app.add_option("--pictures", options.pictures, "directory for each picture of the page as SVG");
    app.add_option("--data", options.data, "directory of the measured data")->capture_default_str();
    CLI11_PARSE(app, argc, argv);

    options.points.empty() ? measureData(options) : measurePoints(options);
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (std::exception const& error) {
        std::cerr << "measuremath-demo: " << error.what() << '\n';
        return 1;
    }
}
