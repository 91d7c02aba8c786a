#pragma once

#include <cstdint>
#include <optional>

namespace engine {

/// The length of the run in ns: `length_ns`, or vorn's whole seconds if that is not given; nothing
/// for a run without one. Thread: the main one.
std::optional<std::int64_t> run_length(std::optional<std::int64_t> length_ns);

/// What sets a run's time going, which nobody can tell before it happens.
enum class Counted {
  kFromTheLoads,     ///< once all of them are made
  kFromTheWaveform,  ///< its begin
};

/// Has the end of the core's timer listened for, in a run of that length: start_run_time() sets
/// it. Until then it is never, or `longest_ns` from when the core arms it, the longest that loads
/// may take to be made; the waveform's start looks at that by itself. A run without a length has no
/// timer. Thread: as run_length().
void set_run_length(std::optional<std::int64_t> length_ns, Counted counted,
                    std::int64_t longest_ns);

/// The run's time begins, and ends `length_ns` from here. Thread: any, in the run.
void start_run_time(std::int64_t length_ns);

}  // namespace engine
