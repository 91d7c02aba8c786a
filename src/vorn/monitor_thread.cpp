#include "vorn/monitor_thread.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <iostream>
#include <list>
#include <string>

#include "Assertion/assertion.h"
#include "SMC/SMC.h"
#include "vorn/clock.h"
#include "vorn/disk_commit.h"
#include "vorn/module.h"
#include "vorn/run_sleep.h"
#include "vorn/sample_file.h"
#include "vorn/settings.h"

ServiceThread monitor_thread;

namespace {

constexpr std::uint32_t kHeadStart = 500000;  // microseconds before the load may start

void append_number(std::string& line, double value) {
  constexpr std::size_t kLongest = 32;
  std::array<char, kLongest> digits{};
  const int length = std::snprintf(digits.data(), digits.size(), "%g", value);
  line.append(digits.data(), static_cast<std::size_t>(length));
}

/// Makes `line` the sample's line. Allocates nothing once a line as long has been made.
void format_line(std::string& line, double elapsed, const std::list<float>& sample) {
  line.clear();
  append_number(line, elapsed);
  for (const float value : sample) {
    line += '\t';
    append_number(line, double{value});
  }
  line += '\n';
}

/// Waits for the next point of the grid of whole periods since `start`. Counted from when the wait
/// begins, so that a write that blocks does not move the next reading off the grid.
void wait_for_the_grid(double start, double period) {
  if (run_sleep(until_next(now() - start, period)) < 0) {
    assertion(errno == EINTR, "errno == EINTR", kDriverModule, 0, "monitor_thread_function");
    assertion(params.terminate, "params.terminate", kDriverModule, 0, "monitor_thread_function");
  }
}

void sample_into(SampleFile& file, DiskCommit& commit) {
  SMC smc(keys);
  std::list<float> sample;
  std::string line;
  const double start = now();
  const double period = 1.0 / monitor_rate;
  while (!params.terminate) {
    smc.sample(sample);
    format_line(line, now() - start, sample);
    file.write_line(line);
    commit.line_written();
    wait_for_the_grid(start, period);
  }
}

}  // namespace

int spawn_monitor() {
  assertion(using_monitor_thread(), "using_monitor_thread()", kDriverModule);
  if (monitor_thread.start(monitor_thread_function, monitor_thread_priority()) != 0) {
    return -1;
  }
  run_sleep(kHeadStart);  // a run that ends meanwhile has not failed
  return 0;
}

void* monitor_thread_function(void* /*arg*/) {
  assertion(!keys.empty(), "!keys.empty()", kDriverModule);
  SampleFile file(output);
  // A machine that goes down under its load keeps the lines up to then. Outlives the sampling: its
  // end waits for the disk, and a failure is said before that.
  DiskCommit commit;
  try {
    sample_into(file, commit);
  } catch (SMCException& failure) {
    std::cerr << failure << std::endl;
  }
  return nullptr;
}
