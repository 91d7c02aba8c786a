#pragma once

#include <cstdint>
#include <optional>

class EdgeObserver;
class IntervalSource;

/// What the timing thread plays, from when, and who is told. By default it is the power waveform of
/// the settings, from the start of the thread.
struct Waveform {
  IntervalSource* source = nullptr;      ///< not owned; null: the toggle schedule, for ever
  EdgeObserver* observer = nullptr;      ///< not owned; null: nobody
  std::optional<std::int64_t> start_ns;  ///< of CLOCK_MONOTONIC; the waveform is off until then
};

/// Set before spawn_timing(), then only read. A source makes using_timing_thread() true.
extern Waveform waveform;
