#pragma once

#include <atomic>
#include <cstdint>

#include "machines/simulated/surroundings.h"

namespace simulated {

/// Surroundings that a test moves by hand: no time passes and no processor works unless it says
/// so. Outlives the machine that it is given to. Thread: any.
struct FakeSurroundings {
  std::atomic<std::int64_t> now_ns{5'000'000'000};
  std::atomic<std::int64_t> processor_time_ns{70'000'000'000};
  std::atomic<uid_t> effective_user{0};
  std::atomic<int> processor_time_calls{0};

  void pass(std::int64_t elapsed_ns, std::int64_t busy_ns) {
    now_ns += elapsed_ns;
    processor_time_ns += busy_ns;
  }

  Surroundings surroundings(int processors) {
    return {.now_ns = [this] { return now_ns.load(); },
            .processor_time_ns =
                [this] {
                  ++processor_time_calls;
                  return processor_time_ns.load();
                },
            .effective_user = [this] { return effective_user.load(); },
            .processors = processors};
  }
};

}  // namespace simulated
