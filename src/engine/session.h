#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/agreed_start.h"
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

  /// Sets the timer. The time of a run with a waveform counts from its first edge.
  void set_length() const;

  /// Makes the record, and starts the threads of the engine's own. Returns 0, or -1 after saying
  /// what could not be done. `arguments`: the command line.
  int start_beside(const std::vector<std::string>& arguments);

  /// Waits for the engine's threads, says what came of the run, and ends the record. `result`:
  /// what run() returned.
  ExitStatus conclude(int result);

  /// Thread: the monitor thread.
  void sample_taken(double elapsed_s) noexcept override;

 private:
  std::optional<Refusal> refuse() const;
  std::optional<Refusal> take_waveform();
  std::optional<Refusal> open_samples();
  std::optional<Refusal> open_record();
  void observe_edges();
  void judge_start() const;
  void judge_samples() const;
  void judge_results() const;
  std::string reason() const;
  void end_record();
  void record_failed_start();

  const Request& request_;
  WorkloadHost& host_;
  std::optional<std::int64_t> length_ns_;  ///< of the run; taken before the timer is set
  WaveformChoice choice_;
  std::optional<WatchedSource> source_;
  std::optional<PhaseKeeper> phase_;
  std::optional<AgreedStart> start_;
  std::optional<StartWhenReady> start_when_ready_;
  std::optional<StartWatch> start_watch_;
  std::optional<WaveformBegin> begin_;
  std::optional<Placement> placement_;
  std::unique_ptr<WrongResults> wrong_results_;
  std::unique_ptr<RecordFile> record_file_;  ///< opened, until the record takes it
  std::unique_ptr<Record> record_;
};

}  // namespace engine
