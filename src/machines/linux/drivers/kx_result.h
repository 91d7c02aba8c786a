#pragma once

#include "Kx/Kx.h"
#include "machines/linux/sysfs/result.h"

namespace linux_machine {

/// What a failure is to the framework's caller, who sees only the code; the text reaches the user
/// by another way.
///
///   held                             kKxReturnExclusiveAccess
///   unsupported                      kKxReturnUnsupported
///   refused, given_back              kKxReturnNotPermitted
///   bad_value                        kKxReturnBadArgument
///   nonsense                         kKxReturnError
///   absent (it went away), silent    kKxReturnIOError
kx_return_t kx_result(const sysfs::Failure& failure);

}  // namespace linux_machine
