#pragma once

#include <vector>

#include "lab/data/estimate.h"

namespace lab {

/// A temperature that has settled at a power and a fan speed.
struct CooledPoint {
  double temperature = 0;  ///< degC
  double error = 0;        ///< standard error, K
  double power = 0;        ///< W
  double air_flow = 0;     ///< speed of the fans, as a part of their highest one
};

/// How the way from the heat to the air depends on the fans:
///   T = T_air + P (R_series + 1 / (G_still + G_forced flow^exponent)).
struct AirFlowLaw {
  bool known = false;           ///< false, too, of what no flow of air explains
  bool series = false;          ///< a part of the resistance that no fan changes is told from 0
  Estimate air;                 ///< degC: the temperature that no heat is left at
  Estimate series_resistance;   ///< K/W
  Estimate still_conductance;   ///< W/K: with every fan stopped
  Estimate forced_conductance;  ///< W/K: what the highest speed adds
  Estimate exponent;
};

/// Fits the law to points at four or more speeds, of which one was held without load or with
/// another power: that tells the temperature of the air, for which no sensor is needed. The
/// resistance in series is kept if it is told from 0, which takes a fifth speed. Errors are those
/// of the points, raised by what the law leaves beyond them. Levenberg-Marquardt, conductances and
/// exponent as logarithms. Source of the law: Nu ~ Re^m in forced convection, for example Incropera
/// and DeWitt, Fundamentals of Heat and Mass Transfer, chapter 7.
AirFlowLaw air_flow_law(const std::vector<CooledPoint>& points);

}  // namespace lab
