#pragma once

#include <cstddef>
#include <vector>

#include "lab/report/figure.h"
#include "lab/report/inks.h"

namespace lab {

/// The samples of a run over time, by kind: temperatures, powers, load, fans, and the others.
std::vector<Figure> sample_figures(const Run& run, std::size_t most_points, Inks& inks);

}  // namespace lab
