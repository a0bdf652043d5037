#pragma once

#include "panels/Panel.h"

#include <string>
#include <vector>

/// The demonstration as one HTML page that needs nothing beside itself. Each section shows the lines
/// of its panel's source between pairs of markers, `//! [name]`, as they were compiled.
std::string page(std::vector<Panel> const& panels);
