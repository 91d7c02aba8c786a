#pragma once

#include <vector>

#include "lab/analysis/ladder.h"
#include "lab/analysis/step.h"

namespace lab {

/// A ladder of known rungs, from the heated place to ambient, on a clock that takes no time.
struct FakeLadder {
  std::vector<Rung> rungs;

  /// Its impedance at a rung for heat at the first, as stages, fast ones first: exact poles and
  /// residues. At the first rung it is the driving point's, at the others a transfer's.
  /// Source: modes of the symmetric eigenproblem C^-1/2 G C^-1/2.
  std::vector<FosterStage> stages(std::size_t at_rung = 0) const;

  /// What a tester records: `watts` from the first instant on (its reading is the power before), at
  /// instants `to_a_decade` to a decade from `first_s` to `last_s`. "die" is the first rung; with
  /// `case_rung` > 0 that rung is "case". Ambient is at 25 degC.
  StepInput heating(double watts, double first_s, double last_s, int to_a_decade,
                    std::size_t case_rung = 0) const;

  /// The same at even distances: idle for 5 s, `watts` for `heat_s`, and as long idle again.
  StepInput step(double watts, double heat_s, double every_s, std::size_t case_rung = 0) const;
};

/// A ladder of so many rungs with random resistances within a factor of three, whose time constants
/// lie about a factor of `apart` from each other, the fast one first.
FakeLadder random_ladder(std::size_t rungs, double fastest_s, double apart, unsigned seed);

}  // namespace lab
