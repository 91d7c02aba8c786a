#pragma once

#include <cstdint>
#include <memory>

#include "vorn/service_thread.h"

class SampleFile;
class SampleObserver;

extern ServiceThread monitor_thread;

/// What came of the sampling.
struct SamplingReport {
  bool failed = false;         ///< it ended before the run, with a message
  int file_error = 0;          ///< latest errno value of the sample file; 0: it took all
  std::uint64_t written = 0;   ///< lines
  std::uint64_t lost = 0;      ///< lines that the sample file did not take
  std::uint64_t late = 0;      ///< samples; see SamplingGrid
  std::uint64_t left_out = 0;  ///< samples
};

/// Hands the monitor thread an opened file, with whatever stands at its head, to write to; without
/// one it opens `output` itself. Before spawn_monitor(), by the same thread.
void use_sample_file(std::unique_ptr<SampleFile> file);

/// Has `observer` told of the samples. Before spawn_monitor(), by the same thread; not owned.
void use_sample_observer(SampleObserver& observer);

/// Requires: the monitor thread was started, and has been joined or sampling_ended().
const SamplingReport& sampling_report();

/// Whether the monitor thread has written and said all that it will. Thread: any.
bool sampling_ended();

/// Starts the monitor thread, and gives it half a second for a first sample without load.
/// Returns 0, or -1. Requires: using_monitor_thread().
int spawn_monitor();

/// The monitor thread: writes a line of samples to `output` `monitor_rate` times a second until
/// the run ends. What is lost or late is said once, as notes. Returns null; the argument is not
/// used.
void* monitor_thread_function(void* arg);
