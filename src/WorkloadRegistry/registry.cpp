#include "WorkloadRegistry/registry.h"

#include "BlockingSpinLoop/BlockingSpinLoop.h"
#include "SpinLoop/SpinLoop.h"

void load_workload(std::map<std::string, WorkloadFactory*>& factories, WorkloadFactory* factory) {
  factories[factory->name()] = factory;
}

void load_factories(std::map<std::string, WorkloadFactory*>& factories) {
  load_workload(factories, new BlockingSpinLoopFactory);
  load_workload(factories, new SpinLoopFactory);
}
