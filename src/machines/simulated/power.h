#pragma once

#include <array>
#include <cstddef>

/// The power of the simulated processor package. Pure functions of utilisation (0 to 1, the mean
/// over the package's processors, weighted by the activity of the work), P-state and die
/// temperature. Units: W, V, MHz, degrees Celsius.
namespace simulated {

struct PState {
  double frequency_mhz;
  double voltage_v;
};

/// P-state 0 is the fastest.
inline constexpr std::array<PState, 8> kPStates = {{{3200, 1.30},
                                                    {2900, 1.25},
                                                    {2600, 1.20},
                                                    {2300, 1.15},
                                                    {2000, 1.10},
                                                    {1700, 1.05},
                                                    {1400, 1.00},
                                                    {1100, 0.95}}};

// The package of a desktop computer of about 95 W. Each of its n processors has 1/n of each of
// these, so that one full package is the same on every host that runs the model.
inline constexpr double kIdleW = 10;     ///< every processor waiting, leakage apart
inline constexpr double kDynamicW = 70;  ///< every processor at its hottest work at P-state 0
inline constexpr double kLeakageW = 4;   ///< leakage at kLeakageC
inline constexpr double kLeakageC = 50;
inline constexpr double kLeakageDoublingC = 30;  ///< the leakage doubles with each of these

/// Dynamic power of `pstate` in terms of that of P-state 0: (f/f0)(V/V0)^2.
/// Requires: `pstate` < kPStates.size().
double dynamic_scale(std::size_t pstate);

double leakage_w(double die_c);

double package_power_w(double utilisation, std::size_t pstate, double die_c);

}  // namespace simulated
