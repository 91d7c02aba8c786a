#pragma once

#include <pthread.h>
#include <semaphore.h>

#include <atomic>
#include <cstdint>
#include <vector>

namespace engine {

/// Says on standard error that a thread's load computed a wrong result, as soon as an ordinary
/// thread can: the workload threads must not wait for whoever reads the messages. Of each thread
/// the first one is said; the loads count the others.
class WrongResults {
 public:
  explicit WrongResults(unsigned threads) : firsts_(threads) {}
  WrongResults(const WrongResults&) = delete;
  WrongResults& operator=(const WrongResults&) = delete;
  /// Requires: no workload thread runs any more. Returns when all has been said.
  ~WrongResults();

  /// Starts the thread that says it. Returns whether it could be started.
  bool start();

  /// A load of workload thread `thread` computed a wrong result on `processor` (-1: unknown), at
  /// `at_ns` of CLOCK_MONOTONIC. Neither blocks, locks nor allocates.
  /// Thread: the workload thread itself.
  void add(unsigned thread, int processor, std::int64_t at_ns) noexcept;

 private:
  struct First {
    int processor = -1;
    std::int64_t at_ns = 0;
    std::atomic<bool> known{false};  ///< released after the others can be read
    bool said = false;               // the saying thread's alone
  };

  static void* say_firsts(void* self);
  void say_new();

  std::vector<First> firsts_;
  sem_t changed_{};
  std::atomic<bool> ending_{false};
  pthread_t thread_{};
  bool started_ = false;
};

}  // namespace engine
