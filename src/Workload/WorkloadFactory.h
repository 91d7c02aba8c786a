#pragma once

#include <string>

class Workload;

/// Makes the workloads of one name. Thread: any, once registered.
class WorkloadFactory {
 public:
  WorkloadFactory() = default;
  WorkloadFactory(const WorkloadFactory&) = delete;
  WorkloadFactory& operator=(const WorkloadFactory&) = delete;
  virtual ~WorkloadFactory() = default;

  /// A new workload for the calling thread, owned by the caller. Throws as Workload() does.
  virtual Workload* make(unsigned core, unsigned priority) = 0;
  /// The name that `--workload` takes.
  virtual std::string name() = 0;
  /// One line for the help text.
  virtual std::string description() = 0;
  /// Whether the workload pauses while the waveform is off. One that does not is under load all
  /// the time, whatever the waveform.
  virtual bool follows_waveform() const { return false; }
};
