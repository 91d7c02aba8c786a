#pragma once

#include "lab/data/answer.h"
#include "lab/data/table.h"

namespace lab {

/// A run in numbers: of each column the mean with its interval, the extremes and what lies between
/// them; what was powerful, hot and still moving at the end in words. `full_load` is what a duty of
/// 1 delivers.
///
/// `figures`: keys.KEY: mean (Estimate), minimum, percentile_5, median, percentile_95, maximum, in
/// the key's unit; missing (count); sensor: step and update_interval (s), null if not known.
Answer analyse_run(const Table& table, double full_load = 1);

}  // namespace lab
