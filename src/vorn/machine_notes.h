#pragma once

#include <list>
#include <string>
#include <vector>

#include "vorn/notes.h"
#include "vorn/privileged_setup.h"

/// What a machine has of what a run asked for.

/// How a key stands with the controller.
enum class KeyState {
  usable,      ///< two bytes, as every key that this program reads or writes
  malformed,   ///< not the name of a key: not four characters
  unknown,     ///< the controller has no such key
  other_size,  ///< it has, of another size
  other_type,  ///< it has, but sampling it aborts the program: no number with a fixed point
};

/// What the keys were to be used for.
enum class KeyUse {
  sampling,
  fans,  ///< as the names of fans to set
};

struct AskedKey {
  std::string name;
  KeyState state = KeyState::usable;
};

/// What asking the machine brought.
struct MachineFacts {
  bool controller = true;
  bool power_plugin = true;
  std::vector<AskedKey> keys;  ///< those that were asked for
};

/// The companion program that goes with this one: "vorn-sim" has "vorn-keys-sim".
std::string keys_program();

/// Asks the machine for these keys, and whether it has a controller and a power plugin. Changes
/// nothing on it. What cannot be told counts as well. Thread: any.
MachineFacts ask_machine(const std::list<std::string>& keys, KeyUse use);

/// Why the keys cannot be sampled.
Notes notes_on_sampling(const MachineFacts& machine);

/// A reading failed because this user may not read the key.
Note note_on_refused_reading();

/// Why these fans cannot be set.
Notes notes_on_fans(const MachineFacts& machine);

/// Why no P-state can be forced.
Notes notes_on_pstate(const MachineFacts& machine);

/// Why this setting failed, if the machine's facts say so. What was not tried is not named.
Notes notes_on_failed_setup(PrivilegedSetting failed, const MachineFacts& machine);
