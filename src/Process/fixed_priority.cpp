#include "Process/fixed_priority.h"

#include <linux/capability.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>

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

}  // namespace

int process::set_fixed_priority(pthread_t thread, int priority) {
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
