#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>

#include "machines/simulated/keys.h"
#include "machines/simulated/model.h"
#include "machines/simulated/surroundings.h"

namespace simulated {

/// The model in its surroundings: what both drivers work on. Each operation first lets the model
/// live through the time since the last one, with the processor time that the process used in it;
/// at most once a millisecond, because asking for that time is a system call.
/// Thread: any, but not from a signal handler: every operation takes a lock.
class Machine {
 public:
  /// Requires: every function of `surroundings` is set.
  explicit Machine(Surroundings surroundings);

  /// The value of `key` now, as the controller stores it.
  std::uint32_t read(const Key& key);

  /// Requires: `key` is not read-only.
  void write(const Key& key, std::uint32_t steps);

  /// Makes the caller the one user of the P-states. False: there is one already.
  bool claim_pstates();

  /// Ends what claim_pstates began, and returns to power balancing.
  void release_pstates();

  /// Requires: claim_pstates was granted; `pstate` is none (power balancing) or < kPStates.size().
  void force_pstate(std::optional<std::size_t> pstate);

  /// Whether the process may change the machine now: its effective user id is 0.
  bool may_change() const { return surroundings_.effective_user() == 0; }

  /// A copy of the model as it is now, for inspection.
  Model inspect();

 private:
  void catch_up();

  const Surroundings surroundings_;
  std::mutex mutex_;  ///< guards all below
  Model model_;
  std::int64_t last_ns_;
  std::int64_t last_processor_time_ns_;
  std::int64_t owed_ns_ = 0;  ///< processor time that the model has not seen yet
  bool pstates_claimed_ = false;
};

/// The machine that vorn-sim runs on: made when it is first asked for, and never destroyed, for
/// threads may use it until the process ends. Thread: any.
Machine& machine();

}  // namespace simulated
