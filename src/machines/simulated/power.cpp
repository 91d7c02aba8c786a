#include "machines/simulated/power.h"

#include <cmath>

double simulated::dynamic_scale(std::size_t pstate) {
  const PState& state = kPStates[pstate];
  const double voltage = state.voltage_v / kPStates[0].voltage_v;
  return state.frequency_mhz / kPStates[0].frequency_mhz * voltage * voltage;
}

double simulated::leakage_w(double die_c) {
  return kLeakageW * std::exp2((die_c - kLeakageC) / kLeakageDoublingC);
}

double simulated::package_power_w(double utilisation, std::size_t pstate, double die_c) {
  return kIdleW + kDynamicW * utilisation * dynamic_scale(pstate) + leakage_w(die_c);
}
