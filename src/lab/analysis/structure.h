#pragma once

#include <string>
#include <vector>

#include "lab/analysis/ladder.h"
#include "lab/analysis/step_key.h"
#include "lab/data/estimate.h"

namespace lab {

/// A rung as it is told.
struct RungEstimate {
  Estimate resistance;   ///< K/W, to the next rung or to ambient
  Estimate capacitance;  ///< J/K
};

/// The path of the heat from one temperature to ambient, as that temperature shows it.
struct Structure {
  std::string name;
  bool decided = true;  ///< false: there is no structure, or its end was not seen
  /// Why this is no place where the heat goes in; empty: as far as the data tell, it is.
  std::string away;
  std::vector<RungEstimate> ladder;   ///< from the heated place outwards; empty: there is none
  std::vector<FosterStage> spectrum;  ///< empty: none that is positive fits
  std::vector<Rung> fine;             ///< the ladder of the spectrum
  std::vector<std::string> warnings;
};

/// The structures behind the temperatures of a record, whose heat is power.
///
/// Only the impedance of the place that is heated (the driving point's) has a structure function.
/// Of a passive ladder all its stages are positive, and it rises at once. A transfer impedance,
/// from the heat to another place, begins late: its stages add up to a slope of zero at first, so
/// at least one of them is negative. A temperature is taken to be away from the heat if one of its
/// stages is negative beyond doubt, or if its first rise is less than a tenth of another one's.
///
/// Sources: JESD51-1 and JESD51-14 for the terms and the use; Szekely, Identification of RC
/// networks by deconvolution (1998), for stages to structure functions; ladder.h and
/// time_constant_spectrum.h for the two conversions. Intervals: the covariance of the stages, by
/// the derivatives of the logarithms of the rungs.
std::vector<Structure> structures(const std::vector<KeyResult>& results, const HeatCurve& curve);

/// The one of the structures with a ladder whose place is heated most directly: its first rung has
/// the least capacitance. Null if none has a ladder.
const Structure* most_direct(const std::vector<Structure>& structures);

}  // namespace lab
