#pragma once

#include <vector>

#include "lab/analysis/bode.h"
#include "lab/analysis/fans.h"
#include "lab/analysis/prove.h"
#include "lab/analysis/step.h"
#include "lab/analysis/sweep_points.h"
#include "lab/data/table.h"

namespace lab {

/// What the runs of a day look like to the analyses: 864,000 rows at 10 Hz, four temperatures with
/// noise. Each takes a second or more to make.

/// Half of each period idle, and half of it loaded.
StepInput stepping_day(double period_s);

/// Nine frequencies from 0.01 to 2 Hz at once, or one by one for as long each.
enum class Swings { at_once, one_by_one };
BodeInput swinging_day(Swings swings);

/// Five duties in turn, ten minutes each.
SweepInput sweeping_day();

/// Three fans in turn, each of which is slowed down, stopped and started; each stay is `stay_s`.
struct FansDay {
  Table samples;
  std::vector<FanRecord> fans;
};
FansDay day_of_fans(double stay_s);

/// A square wave of 2.5 Hz all day, whose edges are more than a run keeps, and a step of the load
/// every half minute.
ProveInput proving_day();

/// A utilisation that was played, with what was asked for and delivered.
Table replayed_day();

}  // namespace lab
