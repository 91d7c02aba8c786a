#pragma once

#include <string>
#include <vector>

#include "lab/data/answer.h"
#include "lab/data/table.h"

namespace lab {

/// What is known of a run beside its samples.
struct RunContext {
  std::vector<std::string> phases;  ///< their names; empty: none was planned
  bool watched = false;             ///< what others do is looked at, and disturbs nothing
};

/// A run in numbers: of each key the mean with its interval, the extremes and what lies between
/// them, of the whole run and of each phase; how much load was asked for and delivered; what was
/// powerful, hot and still moving at the end in words.
///
/// `figures`:
///   keys.KEY      mean (Estimate), minimum, percentile_5, median, percentile_95, maximum, in the
///                 key's unit; missing (count); sensor: step and update_interval (s), null if not
///                 known
///   load.COLUMN   of asked, delivered and others: mean, minimum, maximum, 0 to 1
///   phases[]      name, begin and end (s), and keys.KEY with mean (Estimate), minimum, maximum
Answer analyse_run(const Table& table, const RunContext& context = {});

}  // namespace lab
