#pragma once

#include <vector>

#include "lab/analysis/structure.h"
#include "lab/data/answer.h"

namespace lab {

/// Adds structures to the answer to a step: a sentence, a table, warnings, and
///
/// `figures`:
///   heated                 the key whose place is heated most directly; null: none is
///   ladder[]               of that key, from the heated place outwards: resistance ("K/W", to the
///                          next rung or to ambient) and capacitance ("J/K"), both Estimates
///   keys.KEY.impedance     "driving point" or "transfer"
///   keys.KEY.ladder[]      likewise, of every driving point
///
/// and three charts: the spectrum of time constants, the cumulative and the differential structure
/// function. The answer is decided if a structure is.
void tell_structures(const std::vector<Structure>& structures,
                     const std::vector<KeyResult>& results, Answer& answer);

/// The same for a record in which no power was measured: there is no structure without watts.
void tell_no_power(Answer& answer);

}  // namespace lab
