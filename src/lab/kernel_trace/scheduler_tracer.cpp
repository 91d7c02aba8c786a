#include "lab/kernel_trace/scheduler_tracer.h"

#include <signal.h>  // NOLINT(modernize-deprecated-headers): kill is POSIX's
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fstream>
#include <string_view>
#include <system_error>

#include "lab/kernel_trace/switch_line.h"

namespace lab {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kInstanceName = "vorn-lab-";
constexpr const char* kSwitches = "events/sched/sched_switch/enable";

/// Files of the trace are there already: one that would have to be made is none of them.
bool tell(const fs::path& file, const std::string& text) {
  std::fstream stream(file, std::ios::in | std::ios::out);
  stream << text << '\n' << std::flush;
  return stream.good();
}

/// For each processor: enough for the minute of a proof, and not too much for many processors.
long buffer_kb() {
  constexpr long kUsual_kb = 16L * 1024;
  constexpr long kLeast_kb = 1024;
  constexpr long kAll_kb = 512L * 1024;
  return std::clamp(kAll_kb / std::max(1L, sysconf(_SC_NPROCESSORS_ONLN)), kLeast_kb, kUsual_kb);
}

void remove_instance(const fs::path& instance) {
  tell(instance / kSwitches, "0");
  rmdir(instance.c_str());
}

/// Those of programs that are no more.
void remove_left_ones(const fs::path& instances) {
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(instances, error)) {
    const std::string name = entry.path().filename().string();
    pid_t maker = 0;
    if (!name.starts_with(kInstanceName)) {
      continue;
    }
    const char* end = name.data() + name.size();
    const auto [behind, failure] = std::from_chars(name.data() + kInstanceName.size(), end, maker);
    if (failure == std::errc() && behind == end && kill(maker, 0) != 0 && errno == ESRCH) {
      remove_instance(entry.path());
    }
  }
}

}  // namespace

std::unique_ptr<SchedulerTracer> SchedulerTracer::begin(const std::string& tasks,
                                                        const fs::path& tracefs) {
  constexpr mode_t kOwner = 0700;
  const fs::path instances = tracefs / "instances";
  remove_left_ones(instances);
  const fs::path instance = instances / (std::string(kInstanceName) + std::to_string(getpid()));
  if (mkdir(instance.c_str(), kOwner) != 0) {
    return nullptr;
  }
  std::unique_ptr<SchedulerTracer> tracer(new SchedulerTracer(instance));
  const std::string ours = "prev_comm ~ \"" + tasks + "\" || next_comm ~ \"" + tasks + "\"";
  const bool begun = tell(instance / "trace_clock", "mono") &&
                     tell(instance / "buffer_size_kb", std::to_string(buffer_kb())) &&
                     tell(instance / "events/sched/sched_switch/filter", ours) &&
                     tell(instance / kSwitches, "1");
  return begun ? std::move(tracer) : nullptr;
}

SchedulerTracer::~SchedulerTracer() {
  remove_instance(instance_);
}

SchedulerTrace SchedulerTracer::end() {
  SchedulerTrace trace;
  trace.taken = tell(instance_ / kSwitches, "0");
  std::ifstream stream(instance_ / "trace");
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with('#')) {
      trace.lost += overwritten(line);
    } else {
      add_switches(line, trace.switches);
    }
  }
  trace.taken = trace.taken && stream.eof();
  return trace;
}

}  // namespace lab
