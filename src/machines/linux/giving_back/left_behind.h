#pragma once

#include <string>
#include <vector>

#include "machines/linux/giving_back/state_file.h"

namespace linux_machine {

/// Puts back what the state file says and still reads as it was forced, reporting what cannot be,
/// and empties it if all could. Returns whether it is empty then.
bool give_back_left_behind(const Surroundings& surroundings, const StateFile& state);

/// The parts of the machine that have a state file with something in it: what a run holds now, or
/// one that was killed left behind.
std::vector<std::string> parts_with_state(const Surroundings& surroundings);

}  // namespace linux_machine
