#include "vorn/workload_placement.h"

#include "vorn/settings.h"
#include "vorn/workload_threads.h"

namespace {

// Its destructor does nothing, so threads that still run while main() ends may use it.
WorkloadPlacement labels;

}  // namespace

WorkloadPlacement* workload_placement = &labels;

// The bound is the number of processors, not the last one's: threads beyond are all named one past
// it, so that the summary tells them from those that have a processor of their own.
unsigned WorkloadPlacement::core(unsigned t) const {
  return binding != kNotGiven ? binding : min(t, static_cast<unsigned>(ncpus()));
}

void WorkloadPlacement::begin(unsigned /*t*/, std::uint32_t /*core*/) {}

void WorkloadPlacement::made() {}

void WorkloadPlacement::ended() {}
