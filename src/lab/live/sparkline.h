#pragma once

#include <string>
#include <vector>

#include "lab/live/extremes.h"
#include "lab/live/look.h"

namespace lab {

/// The seconds that one cell of a sparkline stands for: a round number, so that all cells together
/// show the run until now, or its last minutes, and each has a sample. It only grows while a run
/// goes on, and so the picture does not waver.
double cell_span_s(double elapsed_s, double sample_interval_s, int cells);

/// The mean of what was measured in each of the last cells, the last of which has the last instant
/// in it; NaN where nothing was. Cells begin at multiples of their span, so that a cell that is
/// over stays as it is. Of many rows to a cell, it reads some.
std::vector<double> cell_means(const std::vector<double>& time_s, const std::vector<double>& values,
                               double span_s, int cells);

/// One character for each value, blank for NaN, in eight steps from least to most of the extent.
/// One of less than `least_height` is widened, so that noise of a steady sensor does not look like
/// a change.
std::string sparkline(const std::vector<double>& values, Extent extent, double least_height,
                      Look look);

/// A fraction (0 to 1; beyond it, or NaN: as the nearest, or 0) as a bar that takes so many
/// columns, its ends included.
std::string bar(double fraction, int columns, Look look);

}  // namespace lab
