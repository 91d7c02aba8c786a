#pragma once

#include <string>
#include <vector>

#include "machines/linux/record/machine_text.h"

using linux_machine::MachineEntry;

// The machines of tests/machines, in the format of machine_text.h.

/// Throws std::runtime_error, naming the line, for a text that is no machine.
std::vector<MachineEntry> parse_machine(const std::string& text);

/// The text of tests/machines/<name>.machine. Throws if there is none.
std::string read_machine(const std::string& name);

/// The names of all machines in tests/machines, sorted.
std::vector<std::string> all_machines();

/// Builds the machine as real files below an existing folder. An attribute with an error is made
/// empty: plain files cannot fail.
void build_machine(const std::string& text, const std::string& folder);
