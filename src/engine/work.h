#pragma once

#include <cstdint>

/// What a load has done: counted, never estimated.
struct Work {
  std::uint64_t operations = 0;  ///< arithmetic ones; a fused multiply-add is two
  std::uint64_t bytes = 0;       ///< read and written, as the load asked for them
};
