#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "lab/data/answer.h"
#include "lab/data/table.h"

namespace lab {

/// A record of heat and temperatures from which thermal resistances are to be found.
struct StepInput {
  std::vector<double> time_s;  ///< ascending; need not be even
  std::vector<double> heat;    ///< W, or load 0 to 1: a mean (reading_span.h); NaN: not read
  bool heat_is_power = true;
  bool structure = false;            ///< the ladder behind each temperature is asked for as well
  std::string heat_name;             ///< the key, or what else it is called
  double heat_delay_s = 0;           ///< how long after the heat its reading comes
  std::vector<Column> temperatures;  ///< in degC
  std::vector<Column> beside;        ///< asked, delivered, others, and fan speeds in RPM
  /// Enough for an hour at 4 Hz as it is. Beyond, rows far from a change of heat are put together.
  std::size_t most_rows = 16000;
};

/// What each temperature does with heat: its thermal resistance (the steady rise for each watt) and
/// the stages that make it up, with intervals, as `figures` says below. The heat goes in as it was
/// measured: steps, noise, holes and leakage are all the same to it. Heating and cooling count
/// alike. What the data cannot tell is not told: warnings say why, and what would help. Instants
/// that do not ascend are left out, and so is what lies before fans that come to a speed and keep
/// it have done so, if the heat has not changed by then.
///
/// `figures`:
///   keys.KEY.resistance           Estimate, "K/W", or "K" for the whole load if power is missing
///   keys.KEY.stages[]             resistance (same unit) and time_constant ("s"), fast ones first;
///                                 a temperature away from the heat may have negative ones
///   keys.KEY.start_temperature    Estimate, "degC": settled at the heat before the record
///   keys.KEY.residual_rms         K
///   keys.KEY.sensor               step (K) and update_interval (s); null: cannot be told
///   keys.KEY.decided              false: the estimates are not to be relied on
///   power                         name, unit, minimum, mean, maximum; "load" instead of "power" if
///                                 that is what the heat is
///
/// With `structure`, the ladder behind each temperature as well: structure_told.h has its figures.
///
/// Sources: JESD51-1 for the terms; the methods are cited where they are: heat_curve.h,
/// step_fits.h, stage_response.h, foster_fit.h, stage_choice.h, uncertainty.h, coarse_fit.h.
Answer analyse_step(const StepInput& input);

}  // namespace lab
