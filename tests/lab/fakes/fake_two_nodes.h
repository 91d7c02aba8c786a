#pragma once

#include <functional>
#include <random>
#include <vector>

#include "lab/analysis/step.h"

namespace lab {

/// A die on a heat sink in air, with leakage, as docs/simulated-machine.md describes it, on a clock
/// that takes no time. What it is made of is known, and with that what an analysis must find.
struct TwoNodes {
  double die_j_k = 2;
  double sink_j_k = 150;
  double between_w_k = 4;
  double air_w_k = 5.5;  ///< fans at their maximum
  double air_c = 25;
  double idle_w = 10;
  double dynamic_w = 70;

  /// The resistance of the die, and of the sink, to air.
  double die_k_w() const { return 1 / between_w_k + 1 / air_w_k; }
  double sink_k_w() const { return 1 / air_w_k; }
  /// The time constants with the power given, fast and slow: eigenvalues of the two equations.
  double fast_s() const;
  double slow_s() const;
  /// Of the die's resistance, the part with the fast time constant.
  double die_fast_k_w() const;

  /// The machine under `load` (of seconds, 0 to 1), looked at every `step_s`: columns "TC0D" and
  /// "TC0P", and the power as mean since the sample before. It begins settled at load 0.
  StepInput record(const std::function<double(double)>& load, double length_s, double step_s) const;
};

/// `temperatures` with normal noise, then rounded to multiples of `step` (0: not rounded).
void disturb(StepInput& input, double noise, double step, std::mt19937_64& random);

/// Idle for 5 s, full load for 85 s, idle for 85 s.
double one_step(double time_s);

}  // namespace lab
