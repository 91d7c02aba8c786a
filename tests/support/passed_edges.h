#pragma once

#include <cstdint>
#include <vector>

#include "vorn/edge_observer.h"

/// The edges that it is told of: when those on were planned, and when those off were switched, less
/// than 0.
struct PassedEdges : EdgeObserver {
  void switched(std::int64_t planned_ns, std::int64_t switched_ns, bool active) noexcept override {
    seen.push_back(active ? planned_ns : -switched_ns);
  }
  std::vector<std::int64_t> seen;
};
