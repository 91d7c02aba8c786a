#pragma once

#include <string>

#include "Workload/Workload.h"
#include "Workload/WorkloadFactory.h"

/// Keeps its processor busy until the run ends, through the off phases of a waveform as well.
class SpinLoop : public Workload {
 public:
  SpinLoop(unsigned core, unsigned priority);
  void run(workload_params* params) override;
};

class SpinLoopFactory : public WorkloadFactory {
 public:
  Workload* make(unsigned core, unsigned priority) override;
  std::string name() override;
  std::string description() override;
};
