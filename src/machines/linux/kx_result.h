#pragma once

#include "Kx/Kx.h"
#include "machines/linux/sysfs/result.h"

namespace linux_machine {

/// What a failure is to the framework's caller, who sees only the code; the text reaches the user
/// by another way.
///
///   refused, EBUSY: another run or another fan daemon holds it   kKxReturnExclusiveAccess
///   refused, EOPNOTSUPP: the hardware cannot                     kKxReturnUnsupported
///   refused, anything else                                       kKxReturnNotPermitted
///   nonsense, EINVAL: of the caller's value                      kKxReturnBadArgument
///   nonsense                                                     kKxReturnError
///   absent (it went away), silent                                kKxReturnIOError
kx_return_t kx_result(const sysfs::Failure& failure);

}  // namespace linux_machine
