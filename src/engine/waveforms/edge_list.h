#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/waveforms/waveforms.h"
#include "vorn/interval_source.h"

/// Edges as a file lists them.
struct EdgeList {
  /// When each interval ends, in ns since the first began: each rounded by itself.
  std::vector<std::int64_t> ends_ns;
  /// The length of all, not rounded.
  long double length_ns = 0.0L;
};

/// Reads intervals; docs/waveforms.md has the form. Throws WaveformError, also for what cannot be
/// played like that.
EdgeList read_edges(const std::string& path, Playing playing);

/// Plays a list of edges. Where a round of a loop begins with the level that the one before ended
/// with, the two intervals are one.
class EdgeListSource final : public IntervalSource {
 public:
  /// Requires: a list that read_edges() made for the same way of playing.
  EdgeListSource(EdgeList list, Playing playing);
  std::optional<std::int64_t> next_ns() override;

 private:
  void begin_round(std::size_t first);

  EdgeList list_;
  Playing playing_;
  bool joined_;  ///< each round with the next
  std::size_t next_ = 0;
  std::int64_t round_ = 0;
  std::int64_t round_begin_ns_ = 0;
  std::int64_t last_edge_ns_ = 0;
};
