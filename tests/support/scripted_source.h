#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "vorn/interval_source.h"

/// Plays what it is given, then nothing.
class ScriptedSource : public IntervalSource {
 public:
  explicit ScriptedSource(std::vector<std::int64_t> intervals) : intervals_(std::move(intervals)) {}
  std::optional<std::int64_t> next_ns() override {
    return next_ < intervals_.size() ? std::optional(intervals_[next_++]) : std::nullopt;
  }

 private:
  std::vector<std::int64_t> intervals_;
  std::size_t next_ = 0;
};
