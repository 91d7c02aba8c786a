#pragma once

#include <cstdint>
#include <optional>

namespace engine {

/// The length of the run in ns: `length_ns`, or vorn's whole seconds if that is not given; nothing
/// for a run without one. Thread: the main one.
std::optional<std::int64_t> run_length(std::optional<std::int64_t> length_ns);

/// Has the end of the core's timer listened for, in a run of that length, and sets it to never:
/// when the time begins to count is known by whoever calls start_run_time(). A run without a length
/// has no timer. Thread: as run_length().
void set_run_length(std::optional<std::int64_t> length_ns);

/// The time of the run, or of what comes before it, ends `length_ns` from here. Thread: any, in the
/// run.
void start_run_time(std::int64_t length_ns);

}  // namespace engine
