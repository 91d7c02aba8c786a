#pragma once

#include <string>
#include <vector>

#include "lab/report/figure.h"

namespace lab {

/// A kind of picture file.
enum class Picture { png, svg, pdf };

/// What gnuplot has to read to draw the figures below each other, on its standard output. The data
/// stand in it. No label acts on gnuplot: all stand in quotes in which it replaces nothing.
std::string gnuplot_script(const std::vector<Figure>& figures, Picture picture);

}  // namespace lab
