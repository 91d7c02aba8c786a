#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "lab/folder/delivery.h"
#include "lab/folder/record_line.h"

namespace lab {

/// Sums up an engine's record, line by line, in memory that grows with the edges alone.
class DeliveryReader {
 public:
  void add(const RecordLine& line);

  /// What the lines so far say.
  Delivery delivery() const;

  /// The engine's words for how the run ended, and its status; empty and -1 before that.
  const std::string& end_reason() const { return end_reason_; }
  int end_status() const { return end_status_; }

 private:
  /// The first bursts of the threads after an on edge.
  struct OnPhase {
    std::int64_t first_ns = 0;
    std::int64_t last_ns = 0;
    int entered = 0;
  };
  struct ThreadTime {
    std::int64_t first_ns = 0;
    std::int64_t first_time_ns = 0;
    std::int64_t last_ns = 0;
    std::int64_t last_time_ns = 0;
  };

  void add_edge(const RecordLine& line);
  void add_time(const RecordLine& line);

  Delivery sums_;
  std::vector<float> lateness_us_;
  std::map<std::int64_t, OnPhase> on_phases_;  ///< by the planned instant of the edge
  std::vector<float> skews_us_;
  std::map<std::int64_t, ThreadTime> times_;
  std::map<std::int64_t, std::int64_t> throttles_;  ///< by processor: the last count
  std::int64_t begin_ns_ = 0;
  std::int64_t last_edge_ns_ = 0;
  bool on_ = false;
  std::int64_t on_ns_ = 0;
  std::int64_t last_sample_ns_ = 0;
  std::string end_reason_;
  int end_status_ = -1;
};

}  // namespace lab
