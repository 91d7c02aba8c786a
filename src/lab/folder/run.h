#pragma once

#include "lab/data/scheduler_trace.h"
#include "lab/data/stimulus.h"
#include "lab/data/table.h"
#include "lab/folder/delivery.h"
#include "lab/folder/run_info.h"
#include "lab/plan/plan.h"

namespace lab {

/// A run as its folder holds it: what an analysis and a report read.
struct Run {
  Plan plan;
  RunInfo info;
  Table samples;  ///< kPhaseColumn, kAskedColumn, kDeliveredColumn, kOthersColumn, then the keys
  Delivery delivery;
  Stimulus stimulus;  ///< of the first minutes
  SchedulerTrace scheduler;
};

}  // namespace lab
