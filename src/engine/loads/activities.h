#pragma once

/// How much of a processor's dynamic power each load draws (Workload/activity.h), for machines that
/// calculate power: docs/simulated-machine.md has the table. What of a processor works: all of it
/// at once; the vector units; the second cache's wide paths; the scalar units; memory, for which
/// the rest mostly waits.
namespace loads::activity {

inline constexpr double kMix = 1.00;
inline constexpr double kFma = 0.95;
inline constexpr double kCache = 0.80;
inline constexpr double kInt = 0.70;
inline constexpr double kMem = 0.65;

}  // namespace loads::activity
