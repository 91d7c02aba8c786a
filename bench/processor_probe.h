#pragma once

#include <atomic>
#include <thread>
#include <vector>

/// A stretch of time in seconds of the monotonic clock.
struct Interval {
  double start;
  double end;
  double length() const { return end - start; }
};

/// Sees from outside when a processor is used by others: a thread of the lowest policy there is,
/// pinned to that processor, that reads the clock without pause. Whenever it finds a hole in the
/// time, somebody else had the processor.
class ProcessorProbe {
 public:
  /// Starts to watch `processor`. Holes shorter than 2 us are not noticed.
  explicit ProcessorProbe(int processor);
  ProcessorProbe(const ProcessorProbe&) = delete;
  ProcessorProbe& operator=(const ProcessorProbe&) = delete;
  ~ProcessorProbe();

  /// Ends the watch and returns the holes, in order.
  std::vector<Interval> stop();

 private:
  void watch(int processor);

  std::vector<Interval> holes_;
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

/// Seconds of the monotonic clock.
double monotonic_seconds();
