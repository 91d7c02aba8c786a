#pragma once

#include <memory>
#include <optional>
#include <string>

#include "engine/agreed_start.h"
#include "engine/exit_status.h"
#include "engine/options.h"
#include "engine/placement.h"
#include "engine/refusals.h"
#include "engine/waveform_choice.h"

namespace engine {

/// What the engine adds to one run of the core, from the command line that has been read to the
/// status that the program ends with. Never destroyed: a failed start ends main() while threads
/// that it serves may still run. Thread: the main one.
class Session {
 public:
  explicit Session(const Request& request) : request_(request) {}

  /// Reads what the options name, and hands waveform, placement and run time to the core. Returns
  /// why the run is not to be started, if it is not; nothing has been started or changed then.
  std::optional<Refusal> prepare();

  /// What is said of the run beside vorn's summary.
  void announce() const;

  /// Starts the threads of the engine's own. Returns 0, or -1 after saying what did not start.
  int start_beside();

  /// Sets the timer's length: as late as can be, since an agreed start is part of it.
  void set_length() const;

  /// Waits for the engine's threads and says what came of the run. `result`: what run() returned.
  ExitStatus conclude(int result);

 private:
  std::optional<Refusal> refuse() const;
  std::optional<Refusal> take_waveform();
  void judge_start() const;

  const Request& request_;
  WaveformChoice choice_;
  std::optional<WatchedSource> source_;
  std::optional<AgreedStart> start_;
  std::optional<StartWatch> start_watch_;
  std::optional<Placement> placement_;
};

}  // namespace engine
