#include "SpinLoop/SpinLoop.h"

#include "Assertion/assertion.h"
#include "Workload/workload_params.h"

SpinLoop::SpinLoop(unsigned core, unsigned priority) : Workload(core, priority) {}

void SpinLoop::run(workload_params* params) {
  assertion(params != nullptr, "params", "src/SpinLoop", 20);
  // The reads themselves are the load: no pause, no yield.
  while (!params->terminate) {
  }
}

Workload* SpinLoopFactory::make(unsigned core, unsigned priority) {
  return new SpinLoop(core, priority);
}

std::string SpinLoopFactory::name() {
  return "spin";
}

std::string SpinLoopFactory::description() {
  return "minimal spin loop";
}
