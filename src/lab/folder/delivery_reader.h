#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "lab/folder/delivery.h"
#include "lab/folder/record_line.h"

namespace lab {

/// Sums up the records of a run's engines, one behind the other, line by line, in memory that grows
/// with the edges alone.
class DeliveryReader {
 public:
  void add(const RecordLine& line);

  /// What the lines so far say.
  Delivery delivery() const;

  /// The engine's words for how the run ended; empty before that.
  const std::string& end_reason() const { return end_reason_; }

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

  /// What is of one engine alone: threads, edges and samples begin anew with the next.
  struct Engine {
    std::map<std::int64_t, OnPhase> on_phases;       ///< by the instant of the edge
    std::vector<std::int64_t> entered;               ///< whose edge may not have been read yet
    std::map<std::string, std::int64_t> dropped;     ///< by kind and thread: how many so far
    std::map<std::int64_t, ThreadTime> times;        ///< by thread
    std::map<std::int64_t, std::int64_t> throttles;  ///< by processor: the last count
    std::optional<std::int64_t> begin_ns;            ///< of the waveform
    std::int64_t last_edge_ns = 0;
    std::map<std::int64_t, double> operations;  ///< by thread: the last count
    bool on = false;
    std::int64_t on_ns = 0;
    std::optional<std::int64_t> last_sample_ns;
  };
  /// Parts of the time of waveforms.
  struct Duties {
    double span_ns = 0;
    double asked_ns = 0;
    double delivered_ns = 0;
    bool delivered = false;  ///< some thread's time is known
  };

  static void add_entered(std::int64_t instant_ns, std::map<std::int64_t, OnPhase>& on_phases);
  static void add_skew(const OnPhase& phase, std::vector<float>& skews_us);

  /// Adds the skews of the present engine's on phases that more lines may come of.
  void add_rest(std::vector<float>& skews_us) const;

  void begin_record();
  void add_edge(const RecordLine& line);
  void add_sample(std::int64_t instant_ns);
  void add_dropped(const RecordLine& line);
  void add_time(const RecordLine& line);
  void add_work(const RecordLine& line);

  /// The duties so far with those of the present engine.
  Duties duties() const;

  Delivery sums_;
  std::vector<float> lateness_us_;
  std::vector<float> skews_us_;
  Duties ended_;      // of the engines before the present one
  bool cut_ = false;  // the record of one of those has no end
  Engine engine_;
  std::int64_t records_ = 0;
  std::optional<std::int64_t> zero_ns_;  // of the run's first sample
  double earlier_operations_ = 0;        // of the engines before the present one
  std::int64_t work_due_ns_ = 0;
  std::string end_reason_;
};

}  // namespace lab
