#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "lab/data/scheduler_trace.h"

namespace lab {

/// Has the kernel write down when tasks of one name get processors and lose them: in an instance
/// of its trace that is this program's own, with its own buffer, so that nobody else's trace is
/// disturbed. It takes the rights to the trace that the program has by itself.
class SchedulerTracer {
 public:
  /// Begins. Null if there is no such trace, or no right to it: that is no error. `tasks`: a
  /// pattern of names in the kernel, such as "vorn-engine*". Instances that programs left which
  /// were killed are removed.
  static std::unique_ptr<SchedulerTracer> begin(
      const std::string& tasks, const std::filesystem::path& tracefs = "/sys/kernel/tracing");

  SchedulerTracer(const SchedulerTracer&) = delete;
  SchedulerTracer& operator=(const SchedulerTracer&) = delete;

  /// Removes the instance.
  ~SchedulerTracer();

  /// Stops, and gives what was written down.
  SchedulerTrace end();

 private:
  explicit SchedulerTracer(std::filesystem::path instance) : instance_(std::move(instance)) {}

  std::filesystem::path instance_;
};

}  // namespace lab
