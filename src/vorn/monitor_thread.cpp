#include "vorn/monitor_thread.h"

#include <cerrno>
#include <fstream>
#include <iostream>
#include <list>
#include <string>

#include "Assertion/assertion.h"
#include "SMC/SMC.h"
#include "vorn/clock.h"
#include "vorn/disk_commit.h"
#include "vorn/module.h"
#include "vorn/run_sleep.h"
#include "vorn/settings.h"

ServiceThread monitor_thread;

namespace {

constexpr std::uint32_t kHeadStart = 500000;  // microseconds before the load may start

void write_line(std::ostream& out, double elapsed, const std::list<float>& sample) {
  out << elapsed;
  for (const float value : sample) {
    out << "\t" << value;
  }
  out << std::endl;
}

/// Waits for the next point of the grid of whole periods since `start`. Counted from when the wait
/// begins, so that a write that blocks does not move the next reading off the grid.
void wait_for_the_grid(double start, double period) {
  if (run_sleep(until_next(now() - start, period)) < 0) {
    assertion(errno == EINTR, "errno == EINTR", kDriverModule, 0, "monitor_thread_function");
    assertion(params.terminate, "params.terminate", kDriverModule, 0, "monitor_thread_function");
  }
}

void sample_into(std::ostream& out, DiskCommit& commit) {
  SMC smc(keys);
  std::list<float> sample;
  const double start = now();
  const double period = 1.0 / monitor_rate;
  while (!params.terminate) {
    smc.sample(sample);
    write_line(out, now() - start, sample);
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
  // A file that cannot be opened is not noticed: what is written to it is lost.
  std::ofstream file;
  const bool to_file = output != "-";
  if (to_file) {
    file.open(output, std::ios::out | std::ios::trunc);
  }
  // A machine that goes down under its load keeps the lines up to then. Outlives the sampling: its
  // end waits for the disk, and a failure is said before that.
  DiskCommit commit;
  try {
    sample_into(to_file ? file : std::cout, commit);
  } catch (SMCException& failure) {
    std::cerr << failure << std::endl;
  }
  return nullptr;
}
