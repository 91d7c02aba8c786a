#include "lab/report/ink_style.h"

#include <sstream>
#include <string_view>

#include "lab/report/page_pieces.h"

namespace lab {

namespace {

/// What stands in page.css between `before`, where it is found first, and a semicolon.
std::string declared(const std::string& before) {
  const std::size_t found = kPageStyle.find(before);
  if (found == std::string_view::npos) {
    return "";
  }
  const std::size_t begin = found + before.size();
  return std::string(kPageStyle.substr(begin, kPageStyle.find(';', begin) - begin));
}

}  // namespace

std::string paper_colour(const std::string& name) {
  return declared("--" + name + ": ");
}

InkStyle ink_style(Ink ink) {
  InkStyle style{.colour = paper_colour("ink" + std::to_string(ink.colour)), .dashes = {}};
  std::istringstream lengths(
      declared(".dash" + std::to_string(ink.dash) + " { stroke-dasharray: "));
  for (int length = 0; lengths >> length;) {
    style.dashes.push_back(length);
  }
  return style;
}

}  // namespace lab
