#pragma once

#include <cstdint>

/// What one workload thread is told.
struct workload_thread {
  std::uint32_t core;      ///< thread_to_core()
  std::uint32_t workload;  ///< thread_to_workload()
};

/// Processors that this process may run on, or -1 if the kernel does not tell.
int ncpus();

/// At least 1.
int num_workload_threads();

/// 31 beside a timing or monitor thread, which must be able to interrupt the load; else 63.
int workload_thread_priority();

/// The smaller one.
unsigned min(unsigned a, unsigned b);

/// The processor named for workload thread `t`. A label: no thread is placed with it.
unsigned thread_to_core(unsigned t);

/// Index into `workloads` of what workload thread `t` runs. Requires: `workloads` is not empty.
unsigned thread_to_workload(unsigned t);

/// Fills `*wt` for workload thread `t`.
void init_workload_thread(struct workload_thread* wt, unsigned t);

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"  // the record and the thread share their name
/// A workload thread: makes its workload and runs it until the run ends. `arg` is its
/// `struct workload_thread`. Returns null. Throws WorkloadThreadException.
void* workload_thread(void* arg);
#pragma GCC diagnostic pop

/// Starts the workload threads and returns 0 when all of them have ended; -1 if one could not be
/// created, while those before it run on. A single workload runs in the calling thread.
/// Throws WorkloadPolicyException.
int spawn_workloads();
