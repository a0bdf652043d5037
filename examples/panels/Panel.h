#pragma once

#include <string>
#include <vector>

/// A number of a panel, as people read it.
struct Figure {
    std::string name;
    std::string value;
};

/// What one section of the demonstration shows: the figures of a measurement and its picture.
struct Panel {
    std::string id;  ///< The section of page/page.html, and the source panels/<id>.cpp.
    std::vector<Figure> figures;
    std::string picture;  ///< An svg element.
};

/// @name The panels
/// Each reads its points, measures and draws.
/// @throws std::runtime_error with the reason when a file or the measurement fails.
/// @{
Panel planePanel(std::string const& pointFile);
Panel ellipsesPanel(std::string const& pointFile);
Panel registrationPanel(std::string const& pointFile);
Panel trackPanel();
Panel splinePanel(std::string const& pointFile);
Panel polyhedronPanel(std::string const& pointFile);
/// @}
