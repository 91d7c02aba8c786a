#include "machines/linux/drivers/kx_result.h"

namespace linux_machine {

kx_return_t kx_result(const sysfs::Failure& failure) {
  switch (failure.trouble) {
    case sysfs::Trouble::held:
      return kKxReturnExclusiveAccess;
    case sysfs::Trouble::unsupported:
      return kKxReturnUnsupported;
    case sysfs::Trouble::refused:
    case sysfs::Trouble::given_back:
      return kKxReturnNotPermitted;
    case sysfs::Trouble::bad_value:
      return kKxReturnBadArgument;
    case sysfs::Trouble::nonsense:
      return kKxReturnError;
    case sysfs::Trouble::absent:
    case sysfs::Trouble::silent:
      break;
  }
  return kKxReturnIOError;
}

}  // namespace linux_machine
