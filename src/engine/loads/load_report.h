#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <string>

#include "engine/work.h"

/// What one thread's load has done. The thread that runs the load is its only writer; everybody may
/// read, at any time, without a lock. It has cache lines of its own.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): the padding keeps writers apart
class alignas(128) LoadReport {
 public:
  /// For the calling thread, which runs `load` with `burst_rounds` rounds a burst.
  LoadReport(std::string load, unsigned core, unsigned burst_rounds);

  const std::string& load() const noexcept { return load_; }
  unsigned core() const noexcept { return core_; }  ///< the label that the load was made with
  pid_t thread_id() const noexcept { return thread_id_; }
  unsigned burst_rounds() const noexcept { return burst_rounds_; }

  /// The work so far. Operations and bytes may be of two neighbouring bursts.
  Work work() const noexcept;
  std::uint64_t bursts() const noexcept;
  std::uint64_t wrong_results() const noexcept;

  /// A fault for tests: the load's next burst computes with one bit flipped. Thread: any.
  void request_fault() noexcept;

  // The load's side.

  void add(const Work& work) noexcept;
  void add_wrong_result() noexcept;
  /// Whether a fault was requested since the last call.
  bool take_fault() noexcept;

 private:
  const std::string load_;
  const unsigned core_;
  const pid_t thread_id_;
  const unsigned burst_rounds_;
  std::atomic<bool> fault_requested_{false};
  alignas(128) std::atomic<std::uint64_t> operations_{0};
  std::atomic<std::uint64_t> bytes_{0};
  std::atomic<std::uint64_t> bursts_{0};
  std::atomic<std::uint64_t> wrong_results_{0};
};
