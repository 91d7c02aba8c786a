#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>

#include "machines/linux/sysfs/tree.h"

namespace linux_machine {

constexpr std::int64_t kNsPerMs = 1'000'000;
constexpr std::int64_t kNsPerS = 1'000'000'000;

/// Everything that the drivers learn from, and do to, the world outside of their own memory.
/// Tests replace it, and the machine is then exactly repeatable. The functions are called from
/// any thread. Outlives every driver that is given it.
struct Surroundings {
  sysfs::Tree& sys;           ///< the kernel's devices: /sys
  sysfs::Tree& proc;          ///< its processes: /proc
  std::string curves_folder;  ///< measured fan curves: /var/lib/vorn
  std::string state_folder;   ///< what is to be given back: /run/vorn
  bool guarded = true;  ///< start a guardian; false for a machine in memory, which ends with us

  std::function<std::int64_t()> now_ns;            ///< CLOCK_MONOTONIC
  std::function<void(std::int64_t ns)> sleep_for;  ///< at least so long
  std::function<uid_t()> effective_user;
  std::function<void(const std::string&)> report;  ///< a line for the user, on standard error
};

}  // namespace linux_machine
