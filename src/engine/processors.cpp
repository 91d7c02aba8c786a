#include "engine/processors.h"

#include <pthread.h>
#include <sched.h>

#include <cerrno>
#include <memory>

namespace engine {

namespace {

constexpr std::size_t kMostProcessors = 1U << 20U;  // more than any kernel is built for

struct FreeCpuSet {
  void operator()(cpu_set_t* set) const { CPU_FREE(set); }
};
using CpuSet = std::unique_ptr<cpu_set_t, FreeCpuSet>;

}  // namespace

std::vector<unsigned> allowed_processors() {
  // The kernel refuses a set that is smaller than its own, and does not say how large that is.
  for (std::size_t processors = CPU_SETSIZE; processors <= kMostProcessors; processors *= 2) {
    const CpuSet set(CPU_ALLOC(processors));
    const std::size_t size = CPU_ALLOC_SIZE(processors);
    if (sched_getaffinity(0, size, set.get()) != 0) {
      if (errno == EINVAL) {
        continue;
      }
      return {};
    }
    std::vector<unsigned> allowed;
    for (std::size_t processor = 0; processor < processors; ++processor) {
      if (CPU_ISSET_S(processor, size, set.get())) {
        allowed.push_back(static_cast<unsigned>(processor));
      }
    }
    return allowed;
  }
  return {};
}

int bind_to_processor(unsigned processor) {
  const std::size_t processors = processor + std::size_t{1};
  const CpuSet set(CPU_ALLOC(processors));
  if (set == nullptr) {
    return ENOMEM;
  }
  const std::size_t size = CPU_ALLOC_SIZE(processors);
  CPU_ZERO_S(size, set.get());
  CPU_SET_S(processor, size, set.get());
  return pthread_setaffinity_np(pthread_self(), size, set.get());
}

unsigned processor_of(unsigned t, const std::vector<unsigned>& allowed,
                      std::optional<unsigned> binding) {
  return binding ? *binding : allowed[t % allowed.size()];
}

}  // namespace engine
