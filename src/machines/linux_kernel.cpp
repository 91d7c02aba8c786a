#include "machines/linux_kernel.h"

#include <linux/capability.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <memory>

namespace {

using CapabilitySets = std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3>;

// Thread: capabilities belong to the calling thread, so this changes no other one.
bool change_capabilities(long call, CapabilitySets& sets) {
  __user_cap_header_struct header{};
  header.version = _LINUX_CAPABILITY_VERSION_3;
  return syscall(call, &header, sets.data()) == 0;
}

/// Makes CAP_SYS_NICE effective for the calling thread while it lives, if the thread is permitted
/// it. A program started from a set-user-id file keeps its rights permitted but not effective
/// while it runs with its real user id.
class EffectiveSysNice {
 public:
  EffectiveSysNice() {
    constexpr std::uint32_t kBit = 1U << CAP_SYS_NICE;
    if (!change_capabilities(SYS_capget, before_)) {
      return;
    }
    CapabilitySets raised = before_;
    if ((raised[0].permitted & kBit) != 0 && (raised[0].effective & kBit) == 0) {
      raised[0].effective |= kBit;
      raised_ = change_capabilities(SYS_capset, raised);
    }
  }
  ~EffectiveSysNice() {
    if (raised_) {
      change_capabilities(SYS_capset, before_);
    }
  }
  EffectiveSysNice(const EffectiveSysNice&) = delete;
  EffectiveSysNice& operator=(const EffectiveSysNice&) = delete;

  bool raised() const { return raised_; }

 private:
  CapabilitySets before_{};
  bool raised_ = false;
};

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

int linux_kernel::set_fixed_priority(pthread_t thread, int priority) {
  sched_param param{};
  param.sched_priority = priority;
  int result = pthread_setschedparam(thread, SCHED_FIFO, &param);
  if (result == EPERM) {
    const EffectiveSysNice rights;
    if (rights.raised()) {
      result = pthread_setschedparam(thread, SCHED_FIFO, &param);
    }
  }
  return result;
}

bool linux_kernel::may_have_fixed_priority(int priority) {
  if (set_fixed_priority(pthread_self(), priority) != 0) {
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
