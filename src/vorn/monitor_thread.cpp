#include "vorn/monitor_thread.h"

#include <atomic>
#include <cerrno>
#include <iostream>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "Assertion/assertion.h"
#include "Kx/Kx.h"
#include "Process/capabilities.h"
#include "SMC/SMC.h"
#include "vorn/clock.h"
#include "vorn/disk_commit.h"
#include "vorn/machine_notes.h"
#include "vorn/module.h"
#include "vorn/notes.h"
#include "vorn/run_sleep.h"
#include "vorn/sample_file.h"
#include "vorn/sample_observer.h"
#include "vorn/sample_text.h"
#include "vorn/sampling_grid.h"
#include "vorn/sampling_notes.h"
#include "vorn/settings.h"

ServiceThread monitor_thread;

namespace {

constexpr std::uint32_t kHeadStart = 500000;  // microseconds before the load may start

// Never destroyed: a failed start ends main() while the thread runs.
std::unique_ptr<SampleFile>& given_file = *new std::unique_ptr<SampleFile>;

SampleObserver* sample_observer = nullptr;

std::int64_t spawned_ns = 0;  // written by spawn_monitor() before the thread exists; 0 without it

SamplingReport report;           // the monitor thread's; whoever sees its end may read
std::atomic<bool> ended{false};  // behind the report

ClockPair since(const ClockPair& start) {
  const ClockPair present = both_clocks();
  return {present.wall - start.wall, present.monotonic - start.monotonic};
}

/// Waits for the next point of the grid of whole periods since `start`. Counted from when the wait
/// begins, so that a write that blocks does not move the next reading off the grid.
void wait_for_the_grid(double start, double period) {
  if (run_sleep(until_next(now() - start, period)) < 0) {
    assertion(errno == EINTR, "errno == EINTR", kDriverModule, 0, "monitor_thread_function");
    assertion(params.terminate, "params.terminate", kDriverModule, 0, "monitor_thread_function");
  }
}

/// Writes a line, and notes the first one that is not taken.
void write_line(SampleFile& file, std::string_view line) {
  if (!file.write_line(line) && file.lost() == 1 && file.open_error() == 0) {
    say({note_on_first_loss(file)});
  }
}

/// Seconds from the spawning of the thread to `start`; 0 if it was not spawned.
double behind_the_spawning(const ClockPair& start) {
  const std::int64_t due_ns = std::exchange(spawned_ns, 0);
  return due_ns != 0 ? start.monotonic - 1e-9 * static_cast<double>(due_ns) : 0.0;
}

/// Samples until the run ends. Returns how well that kept to the grid.
SamplingGrid sample_into(SampleFile& file, DiskCommit& commit) {
  SMC smc(keys);
  process::keep_capabilities(process::kNoCapabilities);  // all sensors are open
  std::list<float> sample;
  std::string line;
  const ClockPair start = both_clocks();
  const double period = 1.0 / monitor_rate;
  SamplingGrid grid(period, behind_the_spawning(start));
  while (!params.terminate) {
    smc.sample(sample);
    const ClockPair time = since(start);
    const double elapsed = time.wall;
    format_sample(line, elapsed, sample);
    write_line(file, line);
    grid.taken(time);
    if (sample_observer != nullptr) {
      sample_observer->sample_taken(elapsed);
    }
    commit.line_written();
    wait_for_the_grid(start.wall, period);
  }
  grid.ended(since(start));
  return grid;
}

/// Samples until the run ends or that fails, which it then says.
void sample_and_say(SampleFile& file) {
  // A machine that goes down under its load keeps the lines up to then. Outlives the sampling: its
  // end waits for the disk, and a failure is said before that.
  DiskCommit commit;
  try {
    const SamplingGrid grid = sample_into(file, commit);
    report.late = grid.late();
    report.left_out = grid.left_out();
    say(notes_on_grid(grid));
  } catch (SMCException& failure) {
    report.failed = true;
    std::cerr << failure.description() + '\n';  // in one write, among what others print
    say(failure.code() == kKxReturnNotPermitted
            ? Notes{note_on_refused_reading()}
            : notes_on_sampling(ask_machine(keys, KeyUse::sampling)));
  }
}

}  // namespace

void use_sample_file(std::unique_ptr<SampleFile> file) {
  given_file = std::move(file);
}

void use_sample_observer(SampleObserver& observer) {
  sample_observer = &observer;
}

const SamplingReport& sampling_report() {
  return report;
}

bool sampling_ended() {
  return ended;
}

int spawn_monitor() {
  assertion(using_monitor_thread(), "using_monitor_thread()", kDriverModule);
  spawned_ns = monotonic_ns();
  if (monitor_thread.start(monitor_thread_function, monitor_thread_priority()) != 0) {
    return -1;
  }
  run_sleep(kHeadStart);  // a run that ends meanwhile has not failed
  return 0;
}

void* monitor_thread_function(void* /*arg*/) {
  assertion(!keys.empty(), "!keys.empty()", kDriverModule);
  report = {};
  ended = false;
  const std::unique_ptr<SampleFile> file =
      given_file ? std::move(given_file) : std::make_unique<SampleFile>(output);
  say(notes_on_opening(*file));
  sample_and_say(*file);
  const bool kept = file->close();
  say(notes_on_lost_lines(*file, kept));
  report.file_error = file->error();
  report.written = file->written();
  report.lost = file->lost();
  ended = true;
  return nullptr;
}
