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

/// Anybody can give a process of his a name; only root's can control fans. One that does not say
/// whose it is counts.
bool is_of_root(sysfs::Tree& proc, const std::string& process) {
  constexpr std::string_view kUsers = "\nUid:";
  const sysfs::Result<std::string> status = sysfs::read_text(proc, process + "/status");
  const std::size_t at = status ? status->find(kUsers) : std::string::npos;
  if (at == std::string::npos) {
    return true;
  }
  const auto users = sysfs::parse_words(std::string_view(*status).substr(at + kUsers.size()));
  constexpr std::size_t kEffective = 1;
  return users.size() <= kEffective || users[kEffective] == "0";
}

}  // namespace

std::optional<std::string> running_fan_daemon(sysfs::Tree& proc) {
  for (const std::string& process : sysfs::list(proc, "")) {
    if (!sysfs::parse_integer(process)) {
      continue;
    }
    const sysfs::Result<std::string> comm = sysfs::read_text(proc, process + "/comm");
    if (comm && std::find(kDaemons.begin(), kDaemons.end(), *comm) != kDaemons.end() &&
        is_of_root(proc, process)) {
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
