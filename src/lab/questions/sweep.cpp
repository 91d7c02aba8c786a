#include "lab/questions/sweep.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "lab/analysis/sweep.h"
#include "lab/plan/duration.h"
#include "lab/plan/plan_error.h"
#include "lab/questions/limits.h"
#include "lab/questions/number_range.h"
#include "lab/questions/sweep_plan.h"

namespace lab {

namespace {

SweptSetting setting_named(const std::string& name) {
  for (const SweptSetting over : {SweptSetting::fans, SweptSetting::pstate, SweptSetting::load}) {
    if (name == text(over)) {
      return over;
    }
  }
  return SweptSetting::duty;
}

const char* usual_points(SweptSetting over) {
  switch (over) {
    case SweptSetting::fans:
    case SweptSetting::pstate:
      return "";  // as the machine has them
    case SweptSetting::duty:
      return "0,0.25,0.5,0.75,1";
    case SweptSetting::load:
      return "bmix,bfma,bcache,bint,bmem,bspin";
  }
  return "";
}

/// The points that the machine has. Throws PlanError if it does not tell.
std::vector<std::string> points_of(SweptSetting over, const Inquiry& machine) {
  const bool fans = over == SweptSetting::fans;
  std::vector<std::string> points =
      fans ? speeds_of(machine.keys()) : numbers_of(machine.pstates());
  if (points.size() < 2) {
    throw PlanError(fans ? "this machine does not tell between which speeds its fans run: name the "
                           "points with --at (\"vorn-keys --calibrate\" measures them)"
                         : "this machine tells of no two P-states: there is nothing to go over "
                           "(\"vorn-keys --check\" says why; --at names P-states all the same)");
  }
  return points;
}

int random_seed() {
  constexpr unsigned kMost = 1000000;  // a number that is easy to say again
  return static_cast<int>(std::random_device()() % kMost);
}

}  // namespace

void Sweep::add_options(CLI::App& app) {
  app.add_option("WHAT", over_, "what to go over: rpm, duty, pstate or load")
      ->check(CLI::IsMember({"rpm", "duty", "pstate", "load"}))
      ->option_text(" ");
  app.add_option("--at", at_,
                 "the points, with commas between (default: rpm: six from the least speed to the "
                 "maximum; duty: 0,0.25,0.5,0.75,1; pstate: those of the machine, eight at "
                 "most; load: all that follow a "
                 "waveform)")
      ->option_text("<list>");
  app.add_option("--duty", duty_, "duty at the points of rpm, pstate and load (default: 1)")
      ->check(number_from(0.0, 1.0))
      ->option_text("<d>");
  app.add_option("--error", error_,
                 "repeat points until the error of each is at most this part: of a power, of the "
                 "way that a temperature goes in the sweep (default: 0.01)")
      ->check(number_from(1e-6, 1.0))
      ->option_text("<part>");
  app.add_option("--at-most", at_most_,
                 "what is not settled by then goes on all the same (default: 10m)")
      ->option_text("<time>");
  app.add_flag("--in-order", in_order_, "visit the points in their order (default: shuffled)");
  app.add_option("--seed", seed_, "of the order of the points (default: a random one)")
      ->check(CLI::Range(0, std::numeric_limits<int>::max()))
      ->option_text("<n>");
}

Plan Sweep::plan() const {
  if (over_.empty()) {
    throw PlanError("sweep takes what it is to go over: rpm, duty, pstate or load");
  }
  const SweptSetting over = setting_named(over_);
  if (over == SweptSetting::duty && duty_ != 1) {
    throw PlanError("--duty is what a sweep over duty goes over: give its points with --at");
  }
  if (over != SweptSetting::duty && duty_ == 0) {
    throw PlanError("--duty is 0: there is no load to compare with none");
  }
  const double at_most_s = option_seconds("--at-most", at_most_);
  Plan plan;
  plan.question = name();
  plan.fans.hold = Fans::Hold::maximum;
  plan.error = error_;
  if (!in_order_) {
    plan.seed = seed_ ? *seed_ : random_seed();
  }
  const std::string list = at_.empty() ? usual_points(over) : at_;
  // Without a list, complete() replaces the one point by those of the machine.
  const std::vector<std::string> points = !list.empty() ? listed_points(over, list)
                                          : over == SweptSetting::fans
                                              ? std::vector<std::string>{"maximum"}
                                              : std::vector<std::string>{"0"};
  plan.phases = phases_of(over, points, duty_, at_most_s);
  if (over == SweptSetting::pstate) {
    plan.pstate = plan.phases.front().pstate;
  }
  if (plan.seed) {
    shuffle(plan.phases, over == SweptSetting::duty ? 0 : 1, static_cast<unsigned>(*plan.seed));
  }
  return plan;
}

void Sweep::complete(Plan& plan, const Inquiry& machine) const {
  const SweptSetting over = swept_setting(plan);
  // Idle, and the one point that stands for those of the machine; a list has two or more.
  const bool open =
      plan.phases.size() == 2 &&
      std::all_of(plan.phases.begin(), plan.phases.end(), [](const Phase& phase) {
        return phase.fans ? phase.fans->hold == Fans::Hold::maximum : phase.pstate == 0;
      });
  if (open) {
    const Phase load = plan.phases[1];
    plan.phases = phases_of(over, points_of(over, machine), load.drive.duty, load.duration_s);
    if (plan.seed) {
      shuffle(plan.phases, 1, static_cast<unsigned>(*plan.seed));
    }
  }
  if (over == SweptSetting::fans && plan.limits.empty()) {
    arm_limits(plan, machine.keys());  // a fan is slowed under load
  }
}

std::vector<Phase> Sweep::further(const Run& run) const {
  const SweepInput input = sweep_input(run);
  std::vector<Phase> phases;
  for (const std::size_t point : points_to_repeat(input)) {
    const auto visit = std::find_if(input.visits.begin(), input.visits.end(),
                                    [&](const SweepVisit& one) { return one.point == point; });
    const double phase = run.samples.find(kPhaseColumn)->values[visit->first_row];
    phases.push_back(run.plan.phases[static_cast<std::size_t>(phase)]);
    // As long as the first time: one that begins near its end would seem to have settled at once.
    const std::vector<double>& time_s = run.samples.time_s;
    phases.back().until_settled = false;
    phases.back().duration_s = std::ceil(time_s[visit->end_row - 1] - time_s[visit->first_row]);
  }
  if (run.plan.seed) {
    shuffle(phases, 0,
            static_cast<unsigned>(*run.plan.seed) + static_cast<unsigned>(run.plan.phases.size()));
  }
  return phases;
}

Answer Sweep::analyse(const Run& run) const {
  return analyse_sweep(sweep_input(run));
}

std::vector<std::string> Sweep::lacks(const Offer& offer) const {
  std::vector<std::string> found;
  if (!offer.temperatures) {
    found.emplace_back("no temperature: nothing tells when a point has settled");
  }
  if (!offer.power) {
    found.emplace_back("no power: there is neither a load-line nor a resistance");
  }
  if (!offer.fans) {
    found.emplace_back(
        "no fan can be held: nothing to go over with rpm, and the machine's own "
        "control changes the resistance meanwhile");
  }
  if (!offer.pstates) {
    found.emplace_back("no P-state can be forced: nothing to go over with pstate");
  }
  return found;
}

}  // namespace lab
