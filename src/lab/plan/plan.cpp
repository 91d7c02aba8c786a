#include "lab/plan/plan.h"

#include <algorithm>
#include <sstream>

#include "lab/plan/plan_error.h"

namespace lab {

namespace {

double fastest_hz(const Drive& drive) {
  double fastest_hz = drive.frequency_hz;
  for (const Sine& sine : drive.sines) {
    fastest_hz = std::max(fastest_hz, sine.frequency_hz);
  }
  return fastest_hz;
}

}  // namespace

Fans fans_of(const Plan& plan, const Phase& phase) {
  return phase.fans.value_or(plan.fans);
}

std::optional<int> pstate_of(const Plan& plan, const Phase& phase) {
  const std::optional<int> pstate = phase.pstate.has_value() ? phase.pstate : plan.pstate;
  return pstate == kAutomaticPState ? std::nullopt : pstate;
}

double longest_s(const Plan& plan) {
  double sum_s = 0;
  for (const Phase& phase : plan.phases) {
    sum_s += phase.duration_s;
  }
  return sum_s;
}

void check(const Plan& plan) {
  for (const Phase& phase : plan.phases) {
    std::ostringstream why;
    const bool shaped = phase.drive.shape != Drive::Shape::constant;
    const bool last = &phase == &plan.phases.back();
    if (phase.until_stopped && !last) {
      why << "it goes on until it is stopped, and is not the last one";
    } else if (!(phase.duration_s <= kLongestPhase_s)) {
      why << "it lasts longer than a year";
    } else if (phase.duration_s * plan.carrier_hz < 2) {
      why << "it lasts less than two periods of the carrier, which is " << plan.carrier_hz << " Hz";
    } else if (shaped && fastest_hz(phase.drive) > plan.carrier_hz / 2) {
      why << fastest_hz(phase.drive) << " Hz is above half of the carrier, which is "
          << plan.carrier_hz << " Hz and cannot show it";
    } else if (shaped && phase.drive.duty + phase.drive.depth > 1 + 1e-9) {
      why << "offset and depth are more than 1 together";
    } else if (!phase.fan.empty() && plan.fans.hold == Fans::Hold::automatic) {
      why << "it sets one fan, and the others are left to the machine: hold them with fans at the "
             "top of the plan";
    }
    if (!why.str().empty()) {
      throw PlanError("phase \"" + phase.name + "\": " + why.str());
    }
  }
}

}  // namespace lab
