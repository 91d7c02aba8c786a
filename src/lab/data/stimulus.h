#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lab {

/// The load of a run edge by edge, as the engine saw it itself. Instants are ns of CLOCK_MONOTONIC,
/// and each list is in their order.
struct Stimulus {
  struct Edge {
    std::int64_t planned_ns = 0;
    bool on = false;
  };
  /// A thread of the load begins its first burst after an on edge, or has ended the last one before
  /// an off edge.
  struct Follow {
    std::int64_t instant_ns = 0;
    int thread = 0;
    bool on = false;
  };
  /// The processor time that a thread had used, by the kernel's account.
  struct ThreadTime {
    std::int64_t instant_ns = 0;
    int thread = 0;
    std::int64_t time_ns = 0;
  };
  /// A sample was complete.
  struct Sample {
    std::int64_t instant_ns = 0;
    double elapsed_s = 0;  ///< since sampling began, on the clock that its grid is counted on
  };
  struct Thread {
    int number = 0;
    std::int64_t task = 0;  ///< its number in the kernel; 0: not known
    std::string policy;     ///< "fifo", "rr", "ordinary" or "other"
    int priority = 0;
  };

  std::vector<Edge> edges;
  std::vector<Follow> follows;
  std::vector<ThreadTime> times;
  std::vector<Sample> samples;
  std::vector<Thread> threads;
  std::vector<std::int64_t> asked_ns;  ///< when each steering took effect
  bool cut = false;                    ///< there was more than is kept
};

}  // namespace lab
