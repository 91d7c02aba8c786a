#pragma once

#include <string>
#include <utility>
#include <vector>

#include "support/program.h"

/// The built vorn with `arguments`, for an ordinary user who has the right to a fixed priority.
inline program::Command vorn(std::vector<std::string> arguments,
                             program::As as = program::As::kUserWithFixedPriority) {
  program::Command command;
  command.path = VORN_PROGRAM;
  command.arguments = std::move(arguments);
  command.as = as;
  return command;
}

/// What vorn-sim says at its start to such a user.
constexpr const char* kSimulatedNotice =
    "vorn-sim: no right to fixed priorities, threads run at ordinary priority; CAP_SYS_NICE "
    "(setcap, or a container's --cap-add) gives them\n";

/// What a run says at its end that forced the fans and the P-state.
constexpr const char* kBothRestored = "Power balancing restored\nFans restored\n";

/// The note that every program prints whose user may not have a fixed priority.
constexpr const char* kPriorityNote =
    "vorn: note: this user has no right to a fixed priority; give it to the program (sudo setcap "
    "cap_sys_nice+ep \"$(command -v vorn)\"), to the user from the next login on (a line \"USER - "
    "rtprio 64\" in /etc/security/limits.d/vorn.conf), or to a container (--cap-add sys_nice)\n";

/// What follows a program's name if its waveform has no effect on the default load.
constexpr const char* kIgnoredNote =
    ": note: a waveform over \"spin\", which ignores it: its threads are busy all the time; use "
    "one "
    "that follows it: -w bspin\n";

/// The same on the simulated machine.
inline program::Command vorn_sim(std::vector<std::string> arguments,
                                 program::As as = program::As::kUserWithFixedPriority) {
  program::Command command = vorn(std::move(arguments), as);
  command.path = VORN_SIM_PROGRAM;
  command.called = "vorn-sim";
  return command;
}
