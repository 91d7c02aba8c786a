#pragma once

#include <string>
#include <vector>

/// The machines of tests/machines: a tree of attribute files as text, one a line.
///
///   # comment
///   0444 class/thermal/thermal_zone0/temp = 41000
///   0444 devices/x/power1_input ! ENODATA        every access fails with this error
///   link class/hwmon/hwmon0 -> ../../devices/platform/coretemp.0/hwmon/hwmon0
struct MachineEntry {
  std::string path;
  std::string text;  ///< of a link: its target, relative to the link's folder
  int mode = 0644;
  int error = 0;  ///< errno
  bool link = false;
};

/// Throws std::runtime_error, naming the line, for a text that is no machine.
std::vector<MachineEntry> parse_machine(const std::string& text);

/// The text of tests/machines/<name>.machine. Throws if there is none.
std::string read_machine(const std::string& name);

/// The names of all machines in tests/machines, sorted.
std::vector<std::string> all_machines();

/// Builds the machine as real files below an existing folder. An attribute with an error is made
/// empty: plain files cannot fail.
void build_machine(const std::string& text, const std::string& folder);
