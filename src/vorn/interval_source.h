#pragma once

#include <cstdint>
#include <optional>

/// Where the timing thread takes the waveform's intervals from.
class IntervalSource {
 public:
  IntervalSource() = default;
  IntervalSource(const IntervalSource&) = delete;
  IntervalSource& operator=(const IntervalSource&) = delete;
  virtual ~IntervalSource() = default;

  /// The length of the next interval in ns, at the end of which the waveform is switched (0: it is
  /// switched in passing, and nobody is woken); nothing when the waveform is over, which ends the
  /// run at the end of the interval before. Asked for at each edge, just before the switch: every
  /// microsecond spent here makes the edge later. Thread: the timing thread. Allocates nothing and
  /// does not block.
  virtual std::optional<std::int64_t> next_ns() = 0;

  /// Whether the interval that next_ns() returned last ends in an edge. If it does not, the state
  /// stays as it is, and the next interval follows. Asked where the interval begins, for the sake
  /// of those who wait: the answer may change until its end. Asked again there, before the next
  /// next_ns(): that answer holds. Thread and bounds: as of next_ns().
  virtual bool ends_in_edge() { return true; }
};
