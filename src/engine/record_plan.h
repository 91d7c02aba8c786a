#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/options.h"
#include "engine/record/record.h"

namespace engine {

/// What the record of this run is to begin with: the command line, and the settings as it made
/// them, in a run of `length_ns`. Reads vorn's settings. Requires: request.record. Thread: the main
/// one.
RecordPlan plan_record(const Request& request, std::optional<std::int64_t> length_ns,
                       const std::vector<std::string>& arguments);

}  // namespace engine
