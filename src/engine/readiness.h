#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>

#include "vorn/clock.h"
#include "vorn/waveform.h"

namespace engine {

/// How many workload threads have yet to make their load, which takes some of them a second: a load
/// measures its bursts, and touches its memory. Thread: any.
class Readiness {
 public:
  /// `threads`: how many there will be. Until this is called nobody is ready.
  void expect(unsigned threads) { missing_ = threads; }

  /// Has `first_begins` called by the first thread that is about to make its load, and `all_made`
  /// by the last one that has made it. Before the threads.
  void tell(std::function<void()> first_begins, std::function<void()> all_made) {
    first_begins_ = std::move(first_begins);
    all_made_ = std::move(all_made);
  }

  /// A thread is about to make its load.
  void begins() {
    if (!begun_.exchange(true) && first_begins_) {
      first_begins_();
    }
  }

  /// One more thread has made its load. At most once for each.
  void made() {
    if (--missing_ == 0 && all_made_) {
      all_made_();
    }
  }

  unsigned missing() const noexcept { return missing_; }

 private:
  std::atomic<bool> begun_{false};
  std::atomic<unsigned> missing_{1};
  std::function<void()> first_begins_;
  std::function<void()> all_made_;
};

/// How long the loads of so many threads may take to be made, in ns: far longer than they need, if
/// nobody keeps them from their processors. Pure.
std::int64_t longest_making_ns(std::size_t threads, std::size_t processors);

/// The waveform begins as soon as all loads are made, so that none misses its first edges.
class StartWhenReady : public WaveformStart {
 public:
  using Clock = std::int64_t (*)();

  /// Calls `too_long` once, from the timing thread, if a load is still missing `longest_ns` after
  /// it was looked for first. `readiness` is not owned.
  StartWhenReady(const Readiness& readiness, std::int64_t longest_ns,
                 std::function<void()> too_long, Clock clock = monotonic_ns)
      : readiness_(readiness),
        longest_ns_(longest_ns),
        too_long_(std::move(too_long)),
        clock_(clock) {}

  /// A moment ahead as long as a load is missing, and for ever once that took too long; then the
  /// instant at which all were found made, and time for the last of them to reach its wait.
  std::int64_t instant_ns() override;

 private:
  const Readiness& readiness_;
  std::int64_t longest_ns_;
  std::function<void()> too_long_;
  Clock clock_;
  std::int64_t looked_ns_ = 0;  ///< first; 0: not yet
  bool given_up_ = false;
  std::int64_t begin_ns_ = 0;  ///< 0: not known yet
};

}  // namespace engine
