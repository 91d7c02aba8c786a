#include "lab/questions/step.h"

#include <CLI/CLI.hpp>

#include "lab/analysis/step.h"
#include "lab/plan/duration.h"
#include "lab/plan/plan_error.h"
#include "lab/questions/heat.h"
#include "lab/questions/number_range.h"

namespace lab {

void Step::add_options(CLI::App& app) {
  app.add_option("--duty", duty_, "part of the time that the load is on, 0 to 1 (default: 1)")
      ->check(number_from(0.0, 1.0))
      ->option_text("<d>");
  app.add_option("--base", base_, "the same before and after the step (default: 0)")
      ->check(number_from(0.0, 1.0))
      ->option_text("<d>");
  app.add_option("--idle", idle_,
                 "before the step (default: 10s, in which held fans come to speed)")
      ->option_text("<time>");
  app.add_option("--heat", heat_, "length of the step (default: \"until settled\")")
      ->option_text("<time>");
  app.add_option("--cool", cool_, "after the step (default: \"until settled\")")
      ->option_text("<time>");
  app.add_option("--at-most", at_most_,
                 "what is not settled by then goes on all the same (default: 10m)")
      ->option_text("<time>");
  app.add_flag("--structure", structure_,
               "the path of the heat as well: ladder, spectrum and structure functions");
}

Plan Step::plan() const {
  if (duty_ == base_) {
    throw PlanError("--duty and --base are the same: there is no step");
  }
  Plan plan;
  plan.question = name();
  plan.structure = structure_;
  plan.fans.hold = Fans::Hold::maximum;
  constexpr const char* such_as = "90, 90s or 2m, or \"until settled\"";
  const auto phase = [&](const char* phase_name, double duty, const std::string& time,
                         const char* option) {
    Phase made;
    made.name = phase_name;
    made.drive.duty = duty;
    made.until_settled = time == "until settled";
    made.duration_s = made.until_settled ? option_seconds("--at-most", at_most_, such_as)
                                         : option_seconds(option, time, such_as);
    plan.phases.push_back(made);
  };
  phase("idle", base_, idle_, "--idle");
  phase("load", duty_, heat_, "--heat");
  phase("cooling", base_, cool_, "--cool");
  // The fit takes both edges together: what heating has shown, cooling only has to confirm.
  plan.phases.back().drift = 0.1;
  return plan;
}

Answer Step::analyse(const Run& run) const {
  const StepInput input = heat_and_temperatures(run);
  Answer answer = analyse_step(input);
  if (input.time_s.size() < run.samples.time_s.size()) {
    answer.warnings.emplace_back(
        "A reading of power is a mean over 0.1 s at least: of samples that came faster, the fit "
        "has "
        "one for each 0.1 s. For this question, sample no faster than 10 times a second.");
  }
  return answer;
}

std::vector<std::string> Step::lacks(const Offer& offer) const {
  std::vector<std::string> found;
  if (!offer.temperatures) {
    found.emplace_back("no temperature: there is nothing to see a step in");
  }
  if (!offer.power) {
    found.emplace_back("no power: results are for each unit of load, not for each watt");
  }
  if (!offer.fans) {
    found.emplace_back(
        "no fan can be held: the machine's own control changes the resistance "
        "meanwhile");
  }
  return found;
}

}  // namespace lab
