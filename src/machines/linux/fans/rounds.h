#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

#include "machines/linux/surroundings/surroundings.h"

namespace linux_machine {

/// A thread that does a round each kPeriodNs for as long as there is something to do. It never runs
/// with a raised user id. Thread: any.
class Rounds {
 public:
  static constexpr std::int64_t kPeriodNs = 500 * kNsPerMs;

  /// What the thread calls, with no lock held. It may call all but join_ended() of its object.
  struct Work {
    std::function<bool()> needed;  ///< whether there is something to do; join_ended() asks too
    std::function<void()> round;
    /// Instead of the rounds: the thread cannot lower its user id, and ends. Gets the errno.
    std::function<void(int error)> refused;
  };

  explicit Rounds(Work work) : work_(std::move(work)) {}
  ~Rounds();
  Rounds(const Rounds&) = delete;
  Rounds& operator=(const Rounds&) = delete;

  /// There is something to do from now on. Waits for a thread that has done its last round, and
  /// until a new one has the user's id: no two threads of a process are raised at once.
  void begin();

  /// No thread is left behind when this returns and nothing is to be done, unless there is
  /// something to do again meanwhile. Requires: nobody who calls it holds what needed() waits for.
  void join_ended();

 private:
  void run();
  bool wait_for_round();

  const Work work_;
  std::mutex mutex_;  ///< guards all below
  bool runs_ = false;
  bool lowered_ = false;  ///< the thread has the user's id, or knows that it cannot
  bool ends_ = false;
  bool looks_ = false;       ///< the thread is to look whether there is something to do
  std::uint64_t begun_ = 0;  ///< how often there was something to do
  std::condition_variable changed_;
  std::thread thread_;
};

}  // namespace linux_machine
