#pragma once

#include <cstdint>

/// Where the edges of a waveform lie on a clock. Pure.
class EdgePlan {
 public:
  /// For a waveform that begins at `begin_ns`.
  explicit EdgePlan(std::int64_t begin_ns) : planned_ns_(begin_ns) {}

  /// Plans the end of the next interval, which is `interval_ns` long, counted from the planned end
  /// of the one before; from `now_ns` if that is more than 20 ms later, which is a stop of the
  /// process. A planned instant may have passed. Returns the planned instant.
  std::int64_t next(std::int64_t interval_ns, std::int64_t now_ns);

  /// The last planned instant.
  std::int64_t planned_ns() const { return planned_ns_; }

 private:
  std::int64_t planned_ns_;
};
