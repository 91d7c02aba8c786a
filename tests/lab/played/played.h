#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <string>

#include "lab/folder/run.h"
#include "lab/plan/plan.h"
#include "machines/simulated/model.h"

namespace lab {

/// Plays plans on the simulated machine's model with a clock that takes no time, as a conductor
/// would with an engine: what questions are tested with. Everything is delivered exactly as asked.
///
/// Fans and P-states go over from one phase to the next without a gap, which a start of another
/// engine does not manage.
class Player {
 public:
  /// Phases of the plan are played by play(); the keys are those of the plan, or else power,
  /// temperatures and fan speeds.
  explicit Player(const Plan& plan);

  /// Plays all phases of the plan, in their order.
  void play();

  /// Plays one phase, which becomes the plan's last if it is not one of its phases.
  void play(const Phase& phase);

  /// What was measured so far: as of a run folder whose run is complete.
  const Run& run() const { return run_; }

  const simulated::Model& model() const { return model_; }

 private:
  void play_phase(std::size_t index);
  void force(const Phase& phase);
  double duty(const Drive& drive, std::uint64_t period) const;
  void advance(const Drive& drive, double activity);
  void sample(std::size_t phase);

  simulated::Model model_;
  Run run_;
  std::int64_t now_ms_ = 0;
  std::int64_t phase_began_ms_ = 0;
  double on_ms_ = 0;  ///< time that the load was on since the last sample
  std::int64_t sampled_ms_ = 0;
  std::size_t samples_ = 0;
};

/// The run of a plan.
Run played(const Plan& plan);

/// Adds normal noise to the column of that name, then rounds it to multiples of `step` (0: no
/// rounding). Requires: there is such a column.
void disturb(Run& run, const std::string& name, double noise, double step, std::mt19937_64& random);

/// Lets the sensor of that name take a new value only every so many rows.
void slow_down(Run& run, const std::string& name, std::size_t rows);

}  // namespace lab
