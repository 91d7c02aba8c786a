#pragma once

#include <cstdint>
#include <optional>

namespace engine {

/// The length of the run in ns: `length_ns`, or vorn's whole seconds if that is not given; nothing
/// for a run without one. Thread: the main one.
std::optional<std::int64_t> run_length(std::optional<std::int64_t> length_ns);

enum class Counted { kFromTheStart, kFromTheWaveform };

/// Sets the core's timer for a run of that length. If the time counts from the waveform's begin,
/// which nobody can tell before, the core's timer is set to never, so that its end is listened for,
/// and start_run_time() sets it. A run without a length has no timer. Thread: as run_length().
void set_run_length(std::optional<std::int64_t> length_ns, Counted counted);

/// The run's time begins, and ends `length_ns` from here. Thread: any, in the run.
void start_run_time(std::int64_t length_ns);

}  // namespace engine
