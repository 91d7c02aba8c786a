#include "machines/simulated/model.h"

#include <algorithm>
#include <cmath>

#include "machines/simulated/power.h"

// Time passes in steps of one millisecond, small against the shortest time constant (the die's
// half second). A call of advance() rarely holds a whole number of steps; what is left over begins
// a step that a later call ends, and the step then runs with the mean utilisation of its parts.
// Utilisation is counted in whole units of 2^-32, so that this mean is a sum of integers and does
// not depend on how the time was cut.
//
// Measured power is the difference of the energy counter over the last 0.1 s. A sum that is carried
// on would gather rounding errors; a difference of two readings of one counter does not. The
// window is a compromise: it holds whole periods of loads that switch at 10, 20, 30... Hz, so that
// the envelope of a pulse-width-modulated load comes out clean, and it delays what it shows by no
// more than 50 ms.

namespace simulated {
namespace {

constexpr double kStepS = static_cast<double>(Model::kStepNs) * 1e-9;
constexpr std::uint64_t kUtilisationSteps = std::uint64_t{1} << 32U;

}  // namespace

Model::Model() : temperatures_{kAmbientC, kAmbientC} {
  // Hotter means more leakage, and more power means hotter; the loop's gain is far below 1. The
  // idle machine stays cool enough for its fans to rest at their least speed.
  constexpr int kRounds = 100;
  double idle_w = 0;
  for (int round = 0; round < kRounds; ++round) {
    idle_w = package_power_w(0, 0, temperatures_.die_c);
    temperatures_ = settled(idle_w, sink_to_air_w_per_k(fans_.air_flow()));
  }
  for (std::size_t step = 0; step < kWindowSteps; ++step) {
    earlier_energy_j_[step] = -idle_w * kStepS * static_cast<double>(kWindowSteps - step);
  }
}

void Model::advance(std::int64_t elapsed_ns, double utilisation) {
  const auto units = static_cast<std::uint64_t>(
      std::llround(std::clamp(utilisation, 0.0, 1.0) * static_cast<double>(kUtilisationSteps)));
  while (elapsed_ns > 0) {
    const std::int64_t part_ns = std::min(elapsed_ns, kStepNs - begun_ns_);
    elapsed_ns -= part_ns;
    begun_ns_ += part_ns;
    begun_busy_ += units * static_cast<std::uint64_t>(part_ns);
    if (begun_ns_ == kStepNs) {
      step(static_cast<double>(begun_busy_) /
           static_cast<double>(kUtilisationSteps * static_cast<std::uint64_t>(kStepNs)));
      begun_ns_ = 0;
      begun_busy_ = 0;
    }
  }
}

void Model::sit_out(std::int64_t elapsed_ns) {
  constexpr std::int64_t kWindowNs = kStepNs * static_cast<std::int64_t>(kWindowSteps);
  steps_ += static_cast<std::uint64_t>(elapsed_ns / kWindowNs) * kWindowSteps;
}

void Model::step(double utilisation) {
  // Power balancing keeps to P-state 0: a waiting processor has no dynamic power to save.
  const std::size_t pstate = forced_pstate_.value_or(0);
  const double power = package_power_w(utilisation, pstate, temperatures_.die_c);
  earlier_energy_j_[steps_ % kWindowSteps] = energy_j_;
  energy_j_ += power * kStepS;
  temperatures_ = stepped(temperatures_, power, sink_to_air_w_per_k(fans_.air_flow()), kStepS);
  fans_.step(temperatures_.sink_c, kStepS);
  ++steps_;
}

double Model::power_w() const {
  const double window_s = kStepS * static_cast<double>(kWindowSteps);
  return (energy_j_ - earlier_energy_j_[steps_ % kWindowSteps]) / window_s;
}

double Model::age_s() const {
  return static_cast<double>(steps_) * kStepS;
}

}  // namespace simulated
