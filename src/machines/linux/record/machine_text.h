#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "machines/linux/sysfs/result.h"

// A machine as text: its attribute files, one a line.
//
//   # comment
//   0444 class/thermal/thermal_zone0/temp = 41000
//   0444 devices/x/power1_input ! ENODATA       it does not answer, with this error
//   +1.003 devices/x/energy1_input = 5012       what it said so many seconds after its first answer
//   link class/hwmon/hwmon0 -> ../../devices/platform/coretemp.0/hwmon/hwmon0
//
// A control character, a backslash and a blank of a path stand as \xHH.

namespace linux_machine {

/// What an attribute said at some time: a text, or an error.
struct Answer {
  double after_s = 0;  ///< behind the first answer
  std::string text;    ///< trimmed
  int error = 0;       ///< errno; 0: none

  bool says_the_same(const Answer& other) const {
    return text == other.text && error == other.error;
  }
};

struct MachineEntry {
  std::string path;
  std::string text;  ///< of a link: its target, relative to the link's folder
  int mode = 0644;
  int error = 0;  ///< errno
  bool link = false;
  std::vector<Answer> later;  ///< behind the first, in their order
};

/// The entries of a machine's text, in its order, or which line is wrong, and why.
sysfs::Result<std::vector<MachineEntry>> read_machine_text(std::string_view text);

/// The lines of an entry.
std::string machine_text(const MachineEntry& entry);

}  // namespace linux_machine
