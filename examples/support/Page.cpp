#include "support/Page.h"

#include "math/Version.h"
#include "support/Embedded.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace {

using Values = std::vector<std::pair<std::string, std::string>>;

std::string escaped(std::string_view text)
{
    std::string result;
    for (char const c : text)
        result += c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '&' ? "&amp;" : std::string(1, c);
    return result;
}

// Replaces every {{name}} by its value.
std::string filled(std::string_view frame, Values const& values)
{
    std::string text(frame);
    for (auto const& [name, value] : values) {
        std::string const place = "{{" + name + "}}";
        for (auto at = text.find(place); at != std::string::npos;
             at = text.find(place, at + value.size()))
            text.replace(at, place.size(), value);
    }
    return text;
}

// The lines between pairs of markers, without the markers' indentation.
std::string code(std::string_view source)
{
    std::istringstream lines{std::string(source)};
    std::string result;
    std::size_t indent = 0;
    bool inside = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.find("//! [") != std::string::npos) {
            inside = !inside;
            if (inside && !result.empty()) result += "\n";
            indent = line.find('/');
        } else if (inside) {
            result += line.substr(std::min(indent, line.size())) + "\n";
        }
    }
    return result;
}

std::string result(Panel const& panel)
{
    std::string figures;
    for (auto const& [name, value] : panel.figures)
        figures += "<tr><th scope=\"row\">" + escaped(name) + "</th><td>" + escaped(value) +
                   "</td></tr>\n";
    return filled(embedded("page/result.html"),
                  {{"figures", figures},
                   {"code", escaped(code(embedded("panels/" + panel.id + ".cpp")))},
                   {"picture", panel.picture}});
}

}  // namespace

std::string page(std::vector<Panel> const& panels)
{
    Values values = {{"version", measuremath::versionString()}};
    for (Panel const& panel : panels) values.emplace_back(panel.id, result(panel));
    return filled(embedded("page/page.html"), values);
}
