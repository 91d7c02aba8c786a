#pragma once

#include <string_view>
#include <vector>

#include "lab/data/scheduler_trace.h"

namespace lab {

/// Adds what a line of a trace says to `switches`: that one thread lost a processor, and another
/// one has it. Nothing if it is no event sched_switch; the idle task is none. The form is that of
/// the file `trace` with the clock "mono": seconds with six digits.
void add_switches(std::string_view line, std::vector<SchedulerTrace::Switch>& switches);

/// How many events the head of a trace ("entries-in-buffer/entries-written: 40/52") says were
/// overwritten; 0 of every other line.
std::int64_t overwritten(std::string_view line);

}  // namespace lab
