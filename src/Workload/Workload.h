#pragma once

struct workload_params;

/// The scheduling change of a workload thread was refused. Nothing in the program catches it.
class WorkloadThreadException {};

/// The foreground role was refused. Nothing in the program catches it.
class WorkloadPolicyException {};

/// The load that one workload thread runs. Built, run and deleted by that thread.
class Workload {
 public:
  /// Moves the calling thread to the fixed-priority policy at `priority`. `core` is a label that
  /// the summary shows: no thread is placed with it. Throws WorkloadThreadException if refused.
  Workload(unsigned core, unsigned priority);
  Workload(const Workload&) = delete;
  Workload& operator=(const Workload&) = delete;
  virtual ~Workload() = default;

  /// Loads the processor until `params->terminate` is set.
  virtual void run(workload_params* params) = 0;

  /// Gives the program the foreground role; once per run, before any workload thread starts.
  /// Throws WorkloadPolicyException if refused.
  static void init();
};
