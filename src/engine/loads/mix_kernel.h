#pragma once

#include <cstddef>
#include <memory>

#include "engine/loads/kernel.h"

namespace loads {

/// Bytes of the regions that a mixed kernel loads from: one that stays in the second cache, one
/// that stays in the last one, and one that stays in none.
struct MixRegions {
  std::size_t second_cache;
  std::size_t last_cache;
  std::size_t memory;
};

/// Fused multiply-adds in one stream with loads from every level, so that the units, the caches and
/// memory are busy at once. What is loaded goes into the multiply-adds, and so into the check.
/// Requires: each region holds 64 KiB or more. Throws std::bad_alloc.
std::unique_ptr<Kernel> make_mix_kernel(const MixRegions& regions);

}  // namespace loads
