#pragma once

#include <string>
#include <vector>

#include "lab/analysis/bode_points.h"

namespace lab {

/// What limits the points, cause and remedy: no power, fans that were not held, load that was not
/// delivered, a carrier whose aliases lie near a frequency, sensors that are slow or coarse, and
/// from which frequency on a key shows nothing.
std::vector<std::string> judge_bode(const BodeInput& input, const BodeResult& result);

}  // namespace lab
