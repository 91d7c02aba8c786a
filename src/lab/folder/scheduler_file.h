#pragma once

#include <string>
#include <string_view>

#include "lab/data/scheduler_trace.h"

namespace lab {

/// scheduler.csv: a line "# lost N", the head, and a line for each switch.
std::string scheduler_text(const SchedulerTrace& trace);

/// What scheduler_text() made. A line that is none, such as a last one that was cut off, is left
/// out.
SchedulerTrace parse_scheduler(std::string_view text);

}  // namespace lab
