#pragma once

#include <vector>

namespace lab {

/// A stage of an impedance Z(s) = sum of R / (1 + s tau) (Foster form).
struct FosterStage {
  double resistance = 0;  ///< K/W
  double tau_s = 0;
};

/// A rung of a ladder (Cauer form): a heat capacity, and the resistance from it to the next rung,
/// or from the last one to ambient. Unlike a stage it can be a place: the first is where the heat
/// is.
struct Rung {
  double resistance = 0;   ///< K/W
  double capacitance = 0;  ///< J/K
};

/// The ladder that has this impedance at its first rung, as many rungs as there are stages. All of
/// its elements are positive, also where rounding has the last word: they are quotients of norms,
/// and no difference is taken. Requires: resistances and time constants above zero, time constants
/// that differ; in any order.
/// Source: the tridiagonal matrix of a ladder is found from poles and residues by Lanczos'
/// iteration; here as lower bidiagonalisation of its square root (Golub and Kahan, 1965; Paige and
/// Saunders, 1982, started with the residues), with full reorthogonalisation. The condition is the
/// root of that of a continued fraction.
std::vector<Rung> ladder_of(const std::vector<FosterStage>& stages);

}  // namespace lab
