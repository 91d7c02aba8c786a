#pragma once

#include <string>

#include "SpinLoop/SpinLoop.h"
#include "Workload/WorkloadFactory.h"

/// Keeps its processor busy while the waveform is on, and sleeps while it is off.
class BlockingSpinLoop : public SpinLoop {
 public:
  BlockingSpinLoop(unsigned core, unsigned priority);
  void run(workload_params* params) override;
};

class BlockingSpinLoopFactory : public WorkloadFactory {
 public:
  Workload* make(unsigned core, unsigned priority) override;
  std::string name() override;
  std::string description() override;
  bool follows_waveform() const override { return true; }
};
