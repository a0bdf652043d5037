#pragma once

#include <string_view>

/// The text of a file of this directory, "page/page.html" for example, as it was when the program
/// was built. The build generates the definition.
/// @throws std::out_of_range for a file that is not built in.
std::string_view embedded(std::string_view file);
