#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "vorn/interval_source.h"

constexpr std::int64_t kSecond = 1000000000;  // ns

/// The first `count` edges of a source, in ns since the waveform began; fewer if it is over.
inline std::vector<std::int64_t> edges_of(IntervalSource& source, std::size_t count) {
  std::vector<std::int64_t> edges;
  std::int64_t at = 0;
  while (edges.size() < count) {
    const auto interval = source.next_ns();
    if (!interval) {
      break;
    }
    at += *interval;
    edges.push_back(at);
  }
  return edges;
}

/// For how long a load with these edges, on at first, is on from `begin` to `end`.
inline std::int64_t on_time(const std::vector<std::int64_t>& edges, std::int64_t begin,
                            std::int64_t end) {
  std::int64_t total = 0;
  std::int64_t from = 0;
  bool on = true;
  for (const std::int64_t edge : edges) {
    if (on) {
      const std::int64_t first = from < begin ? begin : from;
      const std::int64_t last = edge < end ? edge : end;
      total += last > first ? last - first : 0;
    }
    from = edge;
    on = !on;
  }
  return total;
}
