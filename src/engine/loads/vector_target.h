#pragma once

#include <cstddef>
#include <string>

/// The vectors that the loads are computed with: the widest that this processor has, chosen once,
/// when the program first asks. Thread: any.
namespace loads {

/// The name of the instruction set, such as "AVX3" (AVX-512), "AVX2", "SSE4", "NEON" or "SVE".
std::string vector_target();

/// Bytes of one vector.
std::size_t vector_bytes();

}  // namespace loads
