#include "machines/linux/fans/permission.h"

#include "machines/linux/fans/channel.h"
#include "machines/linux/fans/daemons.h"

namespace linux_machine {

using sysfs::Failure;
using sysfs::Trouble;

sysfs::Result<sysfs::Done> may_change(const Surroundings& surroundings, const FanChannel& fan) {
  if (surroundings.effective_user() != 0) {
    return Failure{Trouble::refused, fan.enable() + ": changing it needs the superuser"};
  }
  if (const std::optional<std::string> daemon = running_fan_daemon(surroundings.proc)) {
    return Failure{Trouble::held, beside_daemon(*daemon)};
  }
  return sysfs::Done{};
}

}  // namespace linux_machine
