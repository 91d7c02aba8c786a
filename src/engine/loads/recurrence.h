#pragma once

#include <cstddef>

/// The recurrence that the floating-point loads compute in every lane of every chain.
///
/// Two steps, x = x * 1.75.. + b1 and x = x * -0.57.. + b2, whose factors multiply to -(1 + 2^-11).
/// The value swings around a fixed point and its digits never settle, so the multipliers keep
/// switching; the swing doubles in some 1400 rounds, so a wrong digit is carried to the end of the
/// burst instead of dying out, and kMostRounds of them stay far from infinity. Only an error in the
/// last two or three bits may be rounded away before it is carried.
namespace loads::recurrence {

inline constexpr double kFactor1 = 1.7512345678901234;
inline constexpr double kFactor2 = -(1.0 + 1.0 / 2048) / kFactor1;
inline constexpr double kTerm1 = 0.61803398874989485;
inline constexpr double kTerm2 = 0.41421356237309505;

/// e^4 times the first swing.
inline constexpr unsigned kMostRounds = 8192;

/// Where element `i` begins: between 1 and 2, no two alike in the first thousands.
inline constexpr double seed(std::size_t i) {
  const double x = static_cast<double>(i + 1) * kTerm1;
  return 1 + (x - static_cast<double>(static_cast<std::size_t>(x)));
}

}  // namespace loads::recurrence
