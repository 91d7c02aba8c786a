#pragma once

#include <string>

#include "lab/report/figure.h"

namespace lab {

/// The figure as an SVG element for an HTML page, without legend and axis labels. Its colours are
/// the classes of page.css, so that it follows light, dark and print.
std::string svg_chart(const Figure& figure);

}  // namespace lab
