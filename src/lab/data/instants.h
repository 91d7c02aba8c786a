#pragma once

namespace lab {

/// Instants of the engine are whole ns of CLOCK_MONOTONIC. What they measure is told in these, and
/// as a double: 2^53 ns are a hundred days.
inline constexpr double kSecond_ns = 1e9;
inline constexpr double kMicrosecond_ns = 1e3;

}  // namespace lab
