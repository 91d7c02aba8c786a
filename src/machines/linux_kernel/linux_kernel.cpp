#include "machines/linux_kernel/linux_kernel.h"

#include <pthread.h>
#include <sched.h>

#include <cerrno>
#include <cstddef>
#include <fstream>
#include <memory>

#include "Process/fixed_priority.h"

namespace {

struct FreeSet {
  void operator()(cpu_set_t* set) const { CPU_FREE(set); }
};

}  // namespace

int linux_kernel::processor_count() {
  constexpr std::size_t kMostProcessors = 1U << 16;
  for (std::size_t processors = 1024; processors <= kMostProcessors; processors *= 2) {
    const std::size_t size = CPU_ALLOC_SIZE(processors);
    const std::unique_ptr<cpu_set_t, FreeSet> set(CPU_ALLOC(processors));
    if (set == nullptr) {
      return -1;
    }
    if (sched_getaffinity(0, size, set.get()) == 0) {
      return CPU_COUNT_S(size, set.get());
    }
    if (errno != EINVAL) {  // EINVAL: the kernel's set is larger than this one
      return -1;
    }
  }
  return -1;
}

bool linux_kernel::may_have_fixed_priority(int priority) {
  if (process::set_fixed_priority(pthread_self(), priority) != 0) {
    return false;
  }
  const sched_param ordinary{};
  pthread_setschedparam(pthread_self(), SCHED_OTHER, &ordinary);
  return true;
}

std::optional<long> linux_kernel::fixed_priority_runtime_us() {
  std::ifstream in("/proc/sys/kernel/sched_rt_runtime_us");
  long runtime_us = 0;
  return in >> runtime_us ? std::optional<long>(runtime_us) : std::nullopt;
}
