#pragma once

#include <vector>

#include "machines/linux/guardian/control_groups.h"
#include "machines/linux/surroundings/surroundings.h"

namespace linux_machine {

/// How often run and guardian say that they live, and the guardian looks.
constexpr int kRoundMs = 250;
constexpr int kSilentRounds = 8;  ///< of the listener's own: the time that he himself stood is none

/// What a guardian is born with. All of it was there before the fork.
struct Birth {
  const Surroundings& surroundings;
  const char* part;                                ///< in what the user is told
  const std::vector<GroupHierarchy>& hierarchies;  ///< to be left
  bool of_root;                                    ///< root itself started the run
  int socket;                                      ///< to the run
  int state;                                       ///< the state file, locked
  int round_ms = kRoundMs;
  int silent_rounds = kSilentRounds;  ///< after so many the run counts as stopped
};

/// The life of a guardian, in a process that was just forked: sets itself apart, says that it is
/// ready, watches, and when the run has ended, shows no life for 2 s or is in danger, gives
/// everything back that the state file says, says so and ends. Allocates nothing, and after it is
/// ready opens nothing but attributes: it comes from a process with threads.
[[noreturn]] void guard(const Birth& birth);

}  // namespace linux_machine
