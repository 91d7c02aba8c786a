#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "lab/commands/live_table.h"
#include "lab/engine_process/engine_options.h"
#include "lab/engine_process/others_load.h"
#include "lab/engine_process/segments.h"
#include "lab/folder/run_folder.h"
#include "lab/folder/run_info.h"
#include "lab/folder/samples_file.h"
#include "lab/live/live_state.h"
#include "lab/plan/plan.h"

namespace lab {

class EngineRun;

/// Has engines play a plan, shows it, and fills its folder. Thread: one.
class Conductor {
 public:
  /// `info` is what is known before the start; what is learned is added to it.
  Conductor(const Plan& plan, const RunFolder& folder, RunInfo& info, Means means, View& view);
  Conductor(const Conductor&) = delete;
  Conductor& operator=(const Conductor&) = delete;
  ~Conductor();

  /// Plays the plan from phase `first` on to its end, or until somebody asks to stop. How it ended
  /// stands in `info` afterwards. Throws EngineError if an engine cannot be started.
  void play(std::size_t first = 0);

  /// Lines of samples that the disk did not take.
  std::size_t lost() const { return samples_.lost(); }

  /// Why, in words.
  const std::string& refusal() const { return samples_.refusal(); }

  /// Whether an engine has been started.
  bool started() const { return starts_ > 0; }

 private:
  void play_options();
  void play_segment(const Segment& segment);
  void note_phase();
  void play_profile(const Segment& segment);
  /// Whether the engine follows what it is told, or has all it needs from its start on.
  enum class Steered { yes, no };
  void start_engine(const std::vector<std::string>& arguments, const std::vector<NamedFile>& files,
                    Steered steered);
  /// Waits for the end of a phase. Returns whether the run goes on.
  bool play_phase(const Phase& phase, std::size_t steering);
  std::optional<double> begin_of(std::size_t steering, double asked_s) const;
  /// Follows the engine for a tenth of a second. Returns whether it still runs, and is to.
  bool follow();
  /// Whether all phases that an engine was started for have been played.
  enum class Played { whole, part };
  void wait_for_end(Played played);
  void take_in();
  void show();
  void note_end(Played played);

  const Plan& plan_;
  const RunFolder& folder_;
  RunInfo& info_;
  Means means_;
  View& view_;
  SamplesWriter samples_;
  std::unique_ptr<EngineRun> engine_;
  std::size_t starts_ = 0;
  std::optional<std::int64_t> zero_ns_;  // of the run's first sample
  std::size_t phase_ = 0;
  std::optional<double> phase_end_s_;  // of the monotonic clock, at the latest
  double begun_s_ = 0;                 // likewise
  double shown_s_ = 0;
  LiveTable live_;
  OthersLoad others_;
};

}  // namespace lab
