#include "machines/linux/fans/daemons.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "machines/linux/sysfs/attribute.h"
#include "machines/linux/sysfs/parse.h"

namespace linux_machine {
namespace {

// A process's comm is cut to 15 characters; none of these is longer.
constexpr std::array<std::string_view, 4> kDaemons = {"fancontrol", "fan2go", "thinkfan",
                                                      "coolercontrold"};

}  // namespace

std::optional<std::string> running_fan_daemon(sysfs::Tree& proc) {
  for (const std::string& process : sysfs::list(proc, "")) {
    if (!sysfs::parse_integer(process)) {
      continue;
    }
    const sysfs::Result<std::string> comm = sysfs::read_text(proc, process + "/comm");
    if (comm && std::find(kDaemons.begin(), kDaemons.end(), *comm) != kDaemons.end()) {
      return *comm;
    }
  }
  return std::nullopt;
}

std::string beside_daemon(const std::string& daemon) {
  return daemon + " is running and controls the fans: stop it first (systemctl stop " + daemon +
         ")";
}

}  // namespace linux_machine
