#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "machines/linux/giving_back/standard_error.h"
#include "machines/linux/this_machine.h"
#include "support/machine/live_tree.h"

// The programs as they are, on a machine of files: the folder that VORN_TREE names.

namespace linux_machine {
namespace {

/// Time passes so many times as fast as on the wall, as VORN_TREE_PACE says.
int pace() {
  const char* const named = std::getenv("VORN_TREE_PACE");
  return named == nullptr ? 1 : std::atoi(named);
}

std::int64_t now_ns() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return pace() * (time.tv_sec * kNsPerS + time.tv_nsec);
}

void sleep_for(std::int64_t ns) {
  const std::int64_t real_ns = ns / pace();
  timespec left{real_ns / kNsPerS, real_ns % kNsPerS};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

std::string folder() {
  const char* const named = std::getenv("VORN_TREE");
  return named == nullptr ? "/nonexistent" : named;
}

}  // namespace

const Surroundings& this_surroundings() {
  static LiveTree& tree = *new LiveTree(folder(), pace());
  [[maybe_unused]] static const bool ready = (tree.be_ready_for_forks(), true);
  static const Surroundings& surroundings = *new Surroundings{.sys = tree.sys(),
                                                              .proc = tree.proc(),
                                                              .curves_folder = tree.curves(),
                                                              .state_folder = tree.state(),
                                                              .guarded = true,
                                                              .now_ns = now_ns,
                                                              .sleep_for = sleep_for,
                                                              .effective_user = geteuid,
                                                              .report = say_on_standard_error};
  return surroundings;
}

}  // namespace linux_machine
