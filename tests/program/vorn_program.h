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

/// The same on the simulated machine.
inline program::Command vorn_sim(std::vector<std::string> arguments,
                                 program::As as = program::As::kUserWithFixedPriority) {
  program::Command command = vorn(std::move(arguments), as);
  command.path = VORN_SIM_PROGRAM;
  command.called = "vorn-sim";
  return command;
}
