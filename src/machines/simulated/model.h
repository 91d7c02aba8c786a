#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "machines/simulated/fans.h"
#include "machines/simulated/thermal.h"

/// The simulated desktop as a thing of physics: one processor package, its heat sink, three fans.
/// It knows no clock, no program and no lock: whoever owns it says how much time has passed and
/// how busy the processors were. A copy is an independent machine in the same state.
namespace simulated {

class Model {
 public:
  /// The time step of the model.
  static constexpr std::int64_t kStepNs = 1'000'000;

  /// What power_w() averages over, in steps: 0.1 s.
  static constexpr std::size_t kWindowSteps = 100;

  /// An idle machine under automatic control that has settled long ago.
  Model();

  /// Lets `elapsed_ns` nanoseconds pass with the processors busy for `utilisation` (0 to 1, the
  /// mean over the processors) of it. How a stretch of time is cut into calls makes no difference
  /// to the last bit.
  void advance(std::int64_t elapsed_ns, double utilisation);

  /// Power of the package in W: the mean of the last 0.1 s.
  double power_w() const;

  /// Energy that the package has used since the model began, in J; none for what was sat out.
  double energy_j() const { return energy_j_; }

  double die_c() const { return temperatures_.die_c; }
  double sink_c() const { return temperatures_.sink_c; }

  /// Time that the model has lived through, in s.
  double age_s() const;

  const Fans& fans() const { return fans_; }
  Fans& fans() { return fans_; }

  /// The P-state that the processors are held in; none under power balancing.
  std::optional<std::size_t> forced_pstate() const { return forced_pstate_; }

  /// Lets time pass in which nothing changes but the age: for stretches so long that the machine
  /// settles after them anyway. Rounded down to whole windows of 0.1 s.
  void sit_out(std::int64_t elapsed_ns);

  /// Requires: `pstate` is none or < kPStates.size().
  void force_pstate(std::optional<std::size_t> pstate) { forced_pstate_ = pstate; }

 private:
  void step(double utilisation);

  Temperatures temperatures_;
  Fans fans_;
  std::optional<std::size_t> forced_pstate_;
  double energy_j_ = 0;
  std::array<double, kWindowSteps> earlier_energy_j_;  ///< a ring, by step number
  std::uint64_t steps_ = 0;
  std::int64_t begun_ns_ = 0;     ///< time of the step that has begun
  std::uint64_t begun_busy_ = 0;  ///< busy time of it, in kUtilisationSteps of a nanosecond
};

}  // namespace simulated
