#include "lab/questions/just_run.h"

#include "lab/analysis/run.h"

namespace lab {

Plan JustRun::plan() const {
  Plan plan;
  plan.question = name();
  return plan;
}

Answer JustRun::analyse(const Run& run) const {
  RunContext context;
  for (const Phase& phase : run.plan.phases) {
    context.phases.push_back(phase.name);
  }
  return analyse_run(run.samples, context);
}

std::vector<std::string> JustRun::lacks(const Offer& offer) const {
  if (!offer.temperatures && !offer.power) {
    return {"no temperature and no power: a run here has nothing to sample"};
  }
  return {};
}

}  // namespace lab
