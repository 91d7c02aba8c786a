#pragma once

#include <string>
#include <vector>

#include "engine/options.h"
#include "engine/record/record.h"

namespace engine {

/// What the record of this run is to begin with: the command line, and the settings as it made
/// them. Reads vorn's settings. Requires: request.record. Thread: the main one.
RecordPlan plan_record(const Request& request, const std::vector<std::string>& arguments);

}  // namespace engine
