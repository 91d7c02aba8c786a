#pragma once

#include <cstdint>

class EdgeObserver;
class IntervalSource;

/// The instant at which the waveform begins.
class WaveformStart {
 public:
  WaveformStart() = default;
  WaveformStart(const WaveformStart&) = delete;
  WaveformStart& operator=(const WaveformStart&) = delete;
  virtual ~WaveformStart() = default;

  /// The instant in ns of CLOCK_MONOTONIC, as things stand. Asked for again and again while it is
  /// awaited, and last some milliseconds before: an instant of the wall clock moves when that is
  /// set. Thread: the timing thread.
  virtual std::int64_t instant_ns() = 0;
};

/// What the timing thread plays, from when, and who is told. By default it is the power waveform of
/// the settings, from the start of the thread. Nothing here is owned.
struct Waveform {
  IntervalSource* source = nullptr;   ///< null: the toggle schedule, for ever
  EdgeObserver* observer = nullptr;   ///< null: nobody
  WaveformStart* start = nullptr;     ///< the waveform is off until then; null: at once
  const char* description = nullptr;  ///< for the summary; null: what the settings say
};

/// Set before the summary and spawn_timing(), then only read. A source makes using_timing_thread()
/// true.
extern Waveform waveform;
