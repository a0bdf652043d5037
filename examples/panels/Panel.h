#pragma once

#include <string>
#include <vector>

/// A number of a panel, as people read it.
struct Figure {
    std::string name;
    std::string value;
};

/// One section of the demonstration: a measurement, its figures and its picture.
struct Panel {
    std::string id;  ///< Also the name of its source, panels/<id>.cpp.
    std::string title;
    std::string text;  ///< What was measured, and what the figures rest on.
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
