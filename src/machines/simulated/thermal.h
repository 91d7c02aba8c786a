#pragma once

/// The two-node thermal network of the simulated package: the processor heats the die, the die
/// heats the heat sink, the sink heats the air. Units: W, K, s, degrees Celsius.
namespace simulated {

inline constexpr double kAmbientC = 25;        ///< the air, which stays as it is
inline constexpr double kDieJPerK = 2;         ///< heat capacity of the die
inline constexpr double kSinkJPerK = 150;      ///< heat capacity of the sink
inline constexpr double kDieToSinkWPerK = 4;   ///< with kDieJPerK, a time constant of 0.5 s
inline constexpr double kStillAirWPerK = 1.5;  ///< sink to air, every fan stopped
inline constexpr double kForcedAirWPerK = 4;   ///< added with every fan at its maximum
inline constexpr double kAirFlowExponent = 0.8;

/// Conductance from the sink to the air, in W/K, for an air flow of 0 to 1 (every fan at its
/// maximum). The forced part follows the 0.8th power of the flow, as heat transfer into a
/// turbulent flow does.
double sink_to_air_w_per_k(double air_flow);

struct Temperatures {
  double die_c;
  double sink_c;
};

/// Where the network settles under constant power and conductance.
Temperatures settled(double power_w, double to_air_w_per_k);

/// The network `dt_s` later, by one explicit Euler step: no heat is lost or made by the method.
/// Requires: `dt_s` is small against the die's time constant.
Temperatures stepped(const Temperatures& from, double power_w, double to_air_w_per_k, double dt_s);

}  // namespace simulated
