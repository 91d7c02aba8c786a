#include "engine/loads/load_factories.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

#include "BlockingSpinLoop/BlockingSpinLoop.h"
#include "Workload/WorkloadFactory.h"
#include "WorkloadRegistry/registry.h"
#include "engine/loads/activities.h"
#include "engine/loads/fma_kernel.h"
#include "engine/loads/int_kernel.h"
#include "engine/loads/load.h"
#include "engine/loads/memory_kernel.h"
#include "engine/loads/memory_plan.h"
#include "engine/loads/mix_kernel.h"
#include "engine/loads/spin_kernel.h"
#include "vorn/settings.h"
#include "vorn/workload_threads.h"

namespace loads {
namespace {

MachineMemory this_memory() {
  return read_machine_memory("/sys/devices/system/cpu", "/proc/meminfo");
}

/// How many workload threads run `name`.
std::size_t threads_of(const std::string& name) {
  const auto all = static_cast<unsigned>(num_workload_threads());
  std::size_t threads = 0;
  for (unsigned t = 0; t < all; ++t) {
    threads += workloads[thread_to_workload(t)] == name ? 1U : 0U;
  }
  return threads;
}

/// The share of one of the workload threads that run `name`, and so share caches and memory.
MemoryPlan memory_of(const std::string& name) {
  return plan_memory(this_memory(), std::max<std::size_t>(threads_of(name), 1),
                     static_cast<std::size_t>(num_workload_threads()));
}

using MakeKernel = std::unique_ptr<Kernel> (*)(const std::string& load);

std::unique_ptr<Kernel> make_fma(const std::string& /*load*/) {
  return make_fma_kernel();
}

std::unique_ptr<Kernel> make_mem(const std::string& load) {
  return make_memory_kernel(memory_of(load).mem, Stores::kPastCaches);
}

std::unique_ptr<Kernel> make_cache(const std::string& load) {
  return make_memory_kernel(memory_of(load).cache, Stores::kThroughCaches);
}

std::unique_ptr<Kernel> make_mix(const std::string& load) {
  const MemoryPlan plan = memory_of(load);
  return make_mix_kernel(
      {.second_cache = plan.cache, .last_cache = plan.mix_last, .memory = plan.mem});
}

std::unique_ptr<Kernel> make_int(const std::string& /*load*/) {
  return make_int_kernel();
}

std::unique_ptr<Kernel> make_spin(const std::string& /*load*/) {
  return make_spin_kernel();
}

class LoadFactory : public WorkloadFactory {
 public:
  LoadFactory(LoadPlan plan, std::string description, LoadHost& host)
      : plan_(std::move(plan)), description_(std::move(description)), host_(host) {}

  Workload* make(unsigned core, unsigned priority) override {
    return new Load(plan_, core, priority, host_);
  }
  std::string name() override { return plan_.name; }
  std::string description() override { return description_; }
  bool follows_waveform() const override { return plan_.follows == Follows::kTheWaveform; }

 private:
  const LoadPlan plan_;
  const std::string description_;
  LoadHost& host_;
};

struct LoadKind {
  const char* name;
  const char* description;
  double activity;
  MakeKernel kernel;
};

constexpr LoadKind kLoads[] = {
    {"fma", "fused multiply-adds on the widest vectors", activity::kFma, make_fma},
    {"mem", "reads, writes and copies over more than the last cache", activity::kMem, make_mem},
    {"cache", "reads, writes and copies within the second cache", activity::kCache, make_cache},
    {"mix", "multiply-adds with loads from every cache and memory", activity::kMix, make_mix},
    {"int", "scalar integer work", activity::kInt, make_int},
};

void add(std::map<std::string, WorkloadFactory*>& registry, const std::string& name,
         const std::string& description, Follows follows, double activity, MakeKernel kernel,
         LoadHost& host) {
  LoadPlan plan{.name = name, .follows = follows, .activity = activity, .kernel = [kernel, name] {
                  return kernel(name);
                }};
  load_workload(registry, new LoadFactory(std::move(plan), description, host));
}

}  // namespace
}  // namespace loads

void load_engine_factories(std::map<std::string, WorkloadFactory*>& registry, LoadHost& host) {
  using loads::Follows;
  for (const loads::LoadKind& kind : loads::kLoads) {
    const std::string blocking = std::string("b") + kind.name;
    const std::string description = kind.description;
    loads::add(registry, kind.name, description, Follows::kNothing, kind.activity, kind.kernel,
               host);
    loads::add(registry, blocking, "blocking: " + description, Follows::kTheWaveform, kind.activity,
               kind.kernel, host);
  }
  BlockingSpinLoopFactory bspin;
  loads::add(registry, bspin.name(), bspin.description(), Follows::kTheWaveform, kOrdinaryActivity,
             loads::make_spin, host);
}

std::string note_on_memory() {
  for (const char* const load : {"mem", "bmem", "mix", "bmix"}) {
    const std::size_t threads = loads::threads_of(load);
    if (threads > 0 && loads::stays_in_caches(loads::this_memory(), threads,
                                              static_cast<std::size_t>(num_workload_threads()))) {
      return std::string("load \"") + load +
             "\" stays within the last cache: half of the memory that is available holds no more";
    }
  }
  return "";
}
