#pragma once

#include <memory>

#include "engine/loads/kernel.h"

namespace loads {

/// Fused multiply-adds on the widest vectors, in as many independent chains as fill the units. It
/// reads memory only to begin a burst, and is checked against the same recurrence in scalar code.
std::unique_ptr<Kernel> make_fma_kernel();

}  // namespace loads
