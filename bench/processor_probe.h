#pragma once

#include <atomic>
#include <thread>
#include <vector>

#include "witness.h"

/// A stretch of time in seconds of the monotonic clock, in which others had the processor.
struct Interval {
  double start;
  double end;
  double explained;  ///< how much of it a thread of the witness's ran
  double length() const { return end - start; }
};

/// Sees from outside when a processor is used by others: a thread of the lowest policy there is,
/// pinned to that processor, that reads the clock without pause. Whenever it finds a hole in the
/// time, somebody else had the processor.
class ProcessorProbe {
 public:
  /// Starts to watch `processor`. Holes shorter than 2 us are not noticed.
  explicit ProcessorProbe(int processor);

  /// From now on `witness` explains the holes of 50 us and more. Requires: it outlives the watch.
  void call(const Witness& witness) { witness_.store(&witness); }
  ProcessorProbe(const ProcessorProbe&) = delete;
  ProcessorProbe& operator=(const ProcessorProbe&) = delete;
  ~ProcessorProbe();

  /// Ends the watch and returns the holes, in order.
  std::vector<Interval> stop();

 private:
  void watch(int processor);
  double note_hole(double start, double end);
  double explain(double hole);

  std::vector<Interval> holes_;
  std::atomic<const Witness*> witness_{nullptr};
  std::vector<double> used_before_;
  double not_asked_ = 0.0;
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

/// Seconds of the monotonic clock.
double monotonic_seconds();
