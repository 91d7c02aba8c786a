#include <time.h>
#include <unistd.h>

#include <cerrno>

#include "machines/linux/this_machine.h"

namespace linux_machine {
namespace {

std::int64_t now_ns() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return time.tv_sec * kNsPerS + time.tv_nsec;
}

void sleep_for(std::int64_t ns) {
  timespec left{ns / kNsPerS, ns % kNsPerS};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

/// One write, so that lines of several threads and processes stay whole.
void report(const std::string& line) {
  const std::string text = "vorn: " + line + "\n";
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

const Surroundings& this_surroundings() {
  static sysfs::Folder& sys = *new sysfs::Folder("/sys");
  static sysfs::Folder& proc = *new sysfs::Folder("/proc");
  static const Surroundings& surroundings = *new Surroundings{.sys = sys,
                                                              .proc = proc,
                                                              .curves_folder = "/var/lib/vorn",
                                                              .state_folder = "/run/vorn",
                                                              .guarded = true,
                                                              .now_ns = now_ns,
                                                              .sleep_for = sleep_for,
                                                              .effective_user = geteuid,
                                                              .report = report};
  return surroundings;
}

}  // namespace linux_machine
