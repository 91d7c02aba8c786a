#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vorn/workload_placement.h"

namespace engine {

/// The workload threads among the processors that this process may run on, each bound to its own if
/// that is asked for.
class Placement : public WorkloadPlacement {
 public:
  enum class Binding { kLabels, kBound };

  /// Requires: `allowed` is not empty, and `one`, the processor of all threads, is among it.
  Placement(std::vector<unsigned> allowed, std::optional<unsigned> one, Binding binding)
      : allowed_(std::move(allowed)), one_(one), binding_(binding) {}

  unsigned core(unsigned t) const override;

  /// Binds the thread, if that is asked for. A processor that has gone since it was tried is said
  /// on standard error and ends the run. Thread: the workload thread.
  void begin(unsigned t, std::uint32_t core) override;

  /// Which of `threads` threads is bound to which processor, for the user.
  std::string text(unsigned threads) const;

 private:
  std::vector<unsigned> allowed_;
  std::optional<unsigned> one_;
  Binding binding_;
};

}  // namespace engine
