#pragma once

#include <cstdint>

/// Where the workload threads are placed, and what is done on each before its load: the seam for a
/// program that does more than name processors. The default is vorn.
class WorkloadPlacement {
 public:
  WorkloadPlacement() = default;
  WorkloadPlacement(const WorkloadPlacement&) = delete;
  WorkloadPlacement& operator=(const WorkloadPlacement&) = delete;
  virtual ~WorkloadPlacement() = default;

  /// The processor of workload thread `t`. Thread: any.
  virtual unsigned core(unsigned t) const;

  /// Workload thread `t` begins; `core` is its processor. The default does nothing: the processor
  /// is a label. Thread: the workload thread, before it makes its workload.
  virtual void begin(unsigned t, std::uint32_t core);

  /// The thread's workload is made and runs next. Thread: the workload thread.
  virtual void made();

  /// The thread's workload has run and is gone. Thread: the workload thread.
  virtual void ended();
};

/// Never null. Written before the summary and any thread, then only read; not owned.
extern WorkloadPlacement* workload_placement;
