#include "BlockingSpinLoop/BlockingSpinLoop.h"

#include "Assertion/assertion.h"
#include "Workload/gate.h"

namespace {

constexpr int kBurst = 100;  // iterations between two looks at the waveform

// In memory, so that no compiler can count it down for us.
void spin_a_burst() {
  volatile int left = kBurst;
  while (left > 0) {
    left = left - 1;
  }
}

}  // namespace

BlockingSpinLoop::BlockingSpinLoop(unsigned core, unsigned priority) : SpinLoop(core, priority) {}

void BlockingSpinLoop::run(workload_params* params) {
  assertion(params != nullptr, "params", "src/BlockingSpinLoop", 21);
  while (!params->terminate) {
    spin_a_burst();
    wait_until_active(params);
  }
}

Workload* BlockingSpinLoopFactory::make(unsigned core, unsigned priority) {
  return new BlockingSpinLoop(core, priority);
}

std::string BlockingSpinLoopFactory::name() {
  return "bspin";
}

std::string BlockingSpinLoopFactory::description() {
  return "blocking spin loop";
}
