#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/agreed_start.h"
#include "engine/asked_watch.h"
#include "engine/exit_status.h"
#include "engine/options.h"
#include "engine/phase_keeper.h"
#include "engine/placement.h"
#include "engine/readiness.h"
#include "engine/refusals.h"
#include "engine/waveform_begin.h"
#include "engine/waveform_choice.h"
#include "engine/workload_host.h"
#include "engine/wrong_results.h"
#include "vorn/sample_observer.h"

class Record;
class RecordFile;

namespace engine {

/// What the engine adds to one run of the core, from the command line that has been read to the
/// status that the program ends with. Never destroyed: a failed start ends main() while threads
/// that it serves may still run. Thread: the main one.
class Session : public SampleObserver {
 public:
  /// `host`: to whom the registered loads report. None of these is owned.
  Session(const Request& request, WorkloadHost& host);
  ~Session() override;

  /// Reads what the options name, and hands waveform and placement to the core. Returns why the
  /// run is not to be started, if it is not; nothing has been started or changed then.
  std::optional<Refusal> prepare();

  /// What is said of the run beside vorn's summary.
  void announce() const;

  /// Says how long the core's timer is to wait at first. The time of a run counts from the
  /// waveform's begin, or without a waveform from when all loads are made, and is set then.
  void set_length() const;

  /// Makes the record, and starts the threads of the engine's own. Returns 0, or -1 after saying
  /// what could not be done. `arguments`: the command line.
  int start_beside(const std::vector<std::string>& arguments);

  /// Waits for the engine's threads, says what came of the run, and ends the record. `result`:
  /// what run() returned.
  ExitStatus conclude(int result);

  /// The status of a process that is ended at once, behind the shutdown path: samples and a record
  /// that are not whole by then are not going to be. Thread: any.
  ExitStatus status_at_once() const;

  /// Thread: the monitor thread.
  void sample_taken(double elapsed_s) noexcept override;

 private:
  std::optional<Refusal> refuse() const;
  std::optional<Refusal> take_waveform();
  std::optional<Refusal> open_samples();
  std::optional<Refusal> open_record();
  void observe_edges();
  int start_threads_beside();
  bool began_late() const;
  unsigned loads_missed() const;
  void loads_took_too_long();
  void judge_start() const;
  void judge_samples() const;
  void judge_results() const;
  std::string reason() const;
  void end_record();
  void record_failed_start();

  const Request& request_;
  WorkloadHost& host_;
  std::optional<std::int64_t> length_ns_;  ///< of the run; taken before the timer is set
  std::int64_t longest_making_ns_ = 0;     ///< that loads may take to be made
  std::atomic<bool> loads_timed_{false};   ///< the run's time counts, from when they were made
  std::atomic<bool> loads_too_late_{false};
  std::atomic<bool> started_beside_{false};  ///< nothing below changes its place any more
  std::atomic<bool> record_ended_{false};
  WaveformChoice choice_;
  std::optional<WatchedSource> source_;
  std::optional<PhaseKeeper> phase_;
  std::optional<AgreedStart> start_;
  std::optional<StartWhenReady> start_when_ready_;
  std::optional<StartWatch> start_watch_;
  std::optional<WaveformBegin> begin_;
  std::optional<AskedWatch> asked_watch_;
  std::optional<Placement> placement_;
  std::unique_ptr<WrongResults> wrong_results_;
  std::unique_ptr<RecordFile> record_file_;  ///< opened, until the record takes it
  std::unique_ptr<Record> record_;
};

}  // namespace engine
