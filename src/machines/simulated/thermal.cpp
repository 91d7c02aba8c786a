#include "machines/simulated/thermal.h"

#include <cmath>

double simulated::sink_to_air_w_per_k(double air_flow) {
  return kStillAirWPerK + kForcedAirWPerK * std::pow(air_flow, kAirFlowExponent);
}

simulated::Temperatures simulated::settled(double power_w, double to_air_w_per_k) {
  const double sink_c = kAmbientC + power_w / to_air_w_per_k;
  return {sink_c + power_w / kDieToSinkWPerK, sink_c};
}

simulated::Temperatures simulated::stepped(const Temperatures& from, double power_w,
                                           double to_air_w_per_k, double dt_s) {
  const double to_sink_w = (from.die_c - from.sink_c) * kDieToSinkWPerK;
  const double to_air_w = (from.sink_c - kAmbientC) * to_air_w_per_k;
  return {from.die_c + (power_w - to_sink_w) * dt_s / kDieJPerK,
          from.sink_c + (to_sink_w - to_air_w) * dt_s / kSinkJPerK};
}
