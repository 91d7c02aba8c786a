#include "machines/linux/kx_result.h"

#include <cerrno>

namespace linux_machine {
namespace {

kx_return_t refusal(int error) {
  switch (error) {
    case EBUSY:
      return kKxReturnExclusiveAccess;
    case EOPNOTSUPP:
      return kKxReturnUnsupported;
    default:
      return kKxReturnNotPermitted;
  }
}

}  // namespace

kx_return_t kx_result(const sysfs::Failure& failure) {
  switch (failure.trouble) {
    case sysfs::Trouble::refused:
      return refusal(failure.error);
    case sysfs::Trouble::nonsense:
      return failure.error == EINVAL ? kKxReturnBadArgument : kKxReturnError;
    case sysfs::Trouble::absent:
    case sysfs::Trouble::silent:
      break;
  }
  return kKxReturnIOError;
}

}  // namespace linux_machine
