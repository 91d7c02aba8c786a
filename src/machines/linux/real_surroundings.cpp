#include <time.h>
#include <unistd.h>

#include <cerrno>

#include "machines/linux/giving_back/standard_error.h"
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
                                                              .report = say_on_standard_error};
  return surroundings;
}

}  // namespace linux_machine
