#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace lab {

/// What all loads together had done at an instant, counted since the run began.
struct WorkDone {
  double time_s = 0;  ///< since the first sample of the run
  double operations = 0;
};

/// Something that the engine was told to force otherwise, and when it did.
struct ForcedAt {
  double time_s = 0;  ///< since the first sample of the run
  std::string what;   ///< the target key of a fan, or "pstate"
  std::string value;
};

/// What the engine's record says of how its load was delivered. Nothing: the record does not tell.
struct Delivery {
  std::int64_t edges = 0;
  std::optional<double> edge_lateness_p50_us;  ///< switch behind its plan
  std::optional<double> edge_lateness_p99_us;
  std::optional<double> edge_lateness_max_us;
  std::optional<double> skew_p50_us;  ///< last thread behind the first one after an on edge
  std::optional<double> skew_p99_us;
  std::optional<double> duty_asked;  ///< mean over the waveform
  std::optional<double>
      duty_delivered;      ///< processor time of the loads over that of their processors
  std::int64_t holes = 0;  ///< times that a thread was on and did not run for 1 ms or more
  double holes_s = 0;      ///< together, of all threads
  std::optional<double> longest_hole_s;
  std::int64_t samples = 0;
  std::int64_t samples_lost = 0;  ///< lines that the sample file did not take
  std::optional<double> sample_gap_max_s;
  std::int64_t throttled = 0;       ///< times that processors were slowed down for heat meanwhile
  std::int64_t events_dropped = 0;  ///< events that found no room in the engine's buffers
  std::int64_t record_lost = 0;     ///< lines that the record's file did not take
  int threads = 0;                  ///< most threads of load that an engine had; 0: not known
  std::int64_t wrong_results = 0;
  std::vector<std::string> errors;  ///< the engine's words for them
  std::vector<ForcedAt> forced;
  std::vector<WorkDone> work;  ///< about once a second; empty: the loads do not count
  bool whole = false;          ///< the record has its end
};

}  // namespace lab
