#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "vorn/interval_source.h"

/// Plays what it is given, then nothing. All intervals end in edges, except where it is told else.
class ScriptedSource : public IntervalSource {
 public:
  explicit ScriptedSource(std::vector<std::int64_t> intervals) : intervals_(std::move(intervals)) {}
  std::optional<std::int64_t> next_ns() override {
    return next_ < intervals_.size() ? std::optional(intervals_[next_++]) : std::nullopt;
  }

  bool ends_in_edge() override { return ends_ ? ends_(next_ - 1) : true; }

  /// Asks `ends` whether the interval of a number, from 0, ends in an edge.
  void tell_edges(std::function<bool(std::size_t)> ends) { ends_ = std::move(ends); }

 private:
  std::vector<std::int64_t> intervals_;
  std::function<bool(std::size_t)> ends_;
  std::size_t next_ = 0;
};
