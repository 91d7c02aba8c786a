#pragma once

#include <cstddef>
#include <memory>

#include "engine/loads/kernel.h"

namespace loads {

/// Whether written lines pass through the caches.
enum class Stores {
  kThroughCaches,
  kPastCaches,  ///< to memory at once, without reading the line first
};

/// Reads, writes and copies over `bytes` of memory of its own, which it fills when it is made. What
/// is read is added up and held to the sum of what was written there a pass before.
/// Requires: at least 64 KiB. Throws std::bad_alloc.
std::unique_ptr<Kernel> make_memory_kernel(std::size_t bytes, Stores stores);

}  // namespace loads
