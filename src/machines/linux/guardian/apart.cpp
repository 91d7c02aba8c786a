#include "machines/linux/guardian/apart.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace linux_machine {
namespace {

struct Limit {
  __rlimit_resource resource;
  rlim_t least;  ///< what has to be allowed
  const char* of;
};

// By each of these a process can be ended, or kept from what it has to do. A process at a fixed
// priority has a limit of its own for the time that it works without a pause.
constexpr std::array<Limit, 7> kLimits = {{
    {RLIMIT_CPU, RLIM_INFINITY, "processor time"},
    {RLIMIT_RTTIME, RLIM_INFINITY, "time at a fixed priority"},
    {RLIMIT_FSIZE, RLIM_INFINITY, "file size"},
    {RLIMIT_AS, RLIM_INFINITY, "address space"},
    {RLIMIT_DATA, RLIM_INFINITY, "data"},
    {RLIMIT_STACK, rlim_t{1024} * 1024, "stack"},
    {RLIMIT_NOFILE, 512, "open files"},
}};

/// False if less is allowed than has to be.
bool lift(const Limit& limit) {
  rlimit now{};
  if (getrlimit(limit.resource, &now) != 0) {
    return false;
  }
  if (now.rlim_cur >= limit.least) {
    return true;
  }
  const rlimit wanted{limit.least, std::max(limit.least, now.rlim_max)};
  return setrlimit(limit.resource, &wanted) == 0;
}

/// The run it guards is the better choice. Needs a right that even root may lack.
void be_spared_when_memory_is_short() {
  const int file = open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC);
  if (file >= 0) {
    [[maybe_unused]] const ssize_t asked = write(file, "-1000", 5);
    close(file);
  }
}

void run_everywhere_and_soon() {
  constexpr int kBefore = -20;  // all other ordinary programs; a fixed priority is kept
  setpriority(PRIO_PROCESS, 0, kBefore);
  cpu_set_t all;
  std::fill_n(reinterpret_cast<unsigned char*>(&all), sizeof all, static_cast<unsigned char>(0xFF));
  sched_setaffinity(0, sizeof all, &all);
}

void close_between(int first, int last) {
  if (first <= last) {
    close_range(static_cast<unsigned>(first), static_cast<unsigned>(last), 0);
  }
}

}  // namespace

void take_away_from_caller() {
  if (geteuid() == 0) {
    syscall(SYS_setresuid, 0, 0, 0);  // the library's would ask threads that are not here
  }
}

bool set_apart(const std::vector<GroupHierarchy>& hierarchies, LineText& why) {
  [[maybe_unused]] const int moved = chdir("/");
  umask(S_IRWXG | S_IRWXO);
  be_spared_when_memory_is_short();
  run_everywhere_and_soon();
  const auto* const kept = std::find_if_not(kLimits.begin(), kLimits.end(), lift);
  leave_control_groups(hierarchies);
  std::array<char, 4096> groups;
  if (getuid() != 0) {
    why.add("it runs as another user than root");
  } else if (kept != kLimits.end()) {
    why.add("it cannot lift its limit of ").add(kept->of);
  } else if (const std::string_view group = own_group_that_binds(groups.data(), groups.size());
             !group.empty()) {
    why.add("it cannot leave the control group ").add(group);
  } else {
    return true;
  }
  return false;
}

void close_all_but(int one, int other) {
  const auto [low, high] = std::minmax(one, other);
  close_between(0, STDERR_FILENO - 1);
  close_between(STDERR_FILENO + 1, low - 1);
  close_between(low + 1, high - 1);
  close_range(static_cast<unsigned>(high) + 1, ~0U, 0);
}

}  // namespace linux_machine
