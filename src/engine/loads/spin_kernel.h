#pragma once

#include <memory>

#include "engine/loads/kernel.h"

namespace loads {

/// The blocking spin loop's bursts, so that they can be counted and observed as a load's. Their
/// length is that of the driver's own: set_rounds() changes nothing.
std::unique_ptr<Kernel> make_spin_kernel();

}  // namespace loads
