#include "lab/questions/watch.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>

#include "lab/analysis/replay.h"
#include "lab/analysis/run.h"
#include "lab/data/units.h"
#include "lab/folder/csv_table.h"
#include "lab/plan/duration.h"
#include "lab/plan/plan_error.h"
#include "lab/questions/utilisation.h"

// A watch is a run whose duty is 0 throughout. One thread of the load is made and sleeps, the
// timing thread looks once a second whether something else is asked for, and the samples are all
// that is done: the machine's own work keeps its processors.

namespace lab {

namespace {

const std::map<std::string, UtilisationLayout::Unit> kUnits{
    {"part", UtilisationLayout::Unit::part},
    {"percent", UtilisationLayout::Unit::percent},
    {"automatic", UtilisationLayout::Unit::automatic}};

bool replayed(const Plan& plan) {
  return std::any_of(plan.phases.begin(), plan.phases.end(),
                     [](const Phase& phase) { return phase.drive.shape == Drive::Shape::profile; });
}

}  // namespace

void Watch::add_options(CLI::App& app) {
  app.add_option("--for", for_, "how long (default: until Ctrl-C)")->option_text("<time>");
  auto* replay = app.add_option("--replay", file_, "play the utilisation in this table as a load")
                     ->option_text("<file>");
  app.add_option("--time", time_, "column of its time, by name or number (default: 1)")
      ->needs(replay)
      ->option_text("<column>");
  app.add_option("--time-unit", time_unit_, "us, ms, s, min or h (default: s)")
      ->needs(replay)
      ->check(CLI::IsMember(names_of(time_units())))
      ->option_text("<unit>");
  app.add_option("--utilisation", utilisation_,
                 "column of the utilisation, by name or number (default: 2)")
      ->needs(replay)
      ->option_text("<column>");
  app.add_option("--utilisation-unit", unit_,
                 "part (0 to 1), percent, or automatic: percent if any is above 1 (default)")
      ->needs(replay)
      ->check(CLI::IsMember(names_of(kUnits)))
      ->option_text("<unit>");
}

Plan Watch::replay() const {
  if (!for_.empty()) {
    throw PlanError("--for and --replay exclude each other: the utilisation says how long");
  }
  Plan plan;
  plan.question = name();
  Phase phase;
  phase.name = "replay";
  phase.drive.shape = Drive::Shape::profile;
  phase.drive.profile = parse_utilisation(read_csv(file_), file_,
                                          {.time = time_,
                                           .time_unit_s = time_units().at(time_unit_),
                                           .column = utilisation_,
                                           .unit = kUnits.at(unit_)});
  phase.duration_s = phase.drive.profile.back().time_s;
  plan.phases = {phase};
  return plan;
}

Plan Watch::plan() const {
  if (!file_.empty()) {
    return replay();
  }
  Plan plan;
  plan.question = name();
  plan.load = "bspin";
  plan.threads = 1;
  plan.carrier_hz = 1;
  Phase phase;
  phase.name = "watch";
  phase.until_stopped = for_.empty();
  phase.duration_s = kLongestPhase_s;
  if (!for_.empty()) {
    const std::optional<double> time_s = parse_duration(for_);
    if (!time_s || !(*time_s >= 2)) {
      throw PlanError("--for takes a time of 2 s or more, such as 90, 90s or 2m, and not \"" +
                      for_ + "\"");
    }
    phase.duration_s = *time_s;
  }
  plan.phases = {phase};
  return plan;
}

Answer Watch::analyse(const Run& run) const {
  const RunContext context{.phases = {}, .watched = !replayed(run.plan)};
  Answer answer = analyse_run(run.samples, context);
  if (replayed(run.plan)) {
    tell_replay(run.samples, answer);
  }
  return answer;
}

std::vector<std::string> Watch::lacks(const Offer& offer) const {
  if (!offer.temperatures && !offer.power) {
    return {"no temperature and no power: there is nothing to watch"};
  }
  return {};
}

}  // namespace lab
