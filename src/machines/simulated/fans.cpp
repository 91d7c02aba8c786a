#include "machines/simulated/fans.h"

#include <algorithm>
#include <cmath>

namespace simulated {

double automatic_rpm(std::size_t fan, double sink_c) {
  const double demand =
      std::clamp((sink_c - kAutomaticFromC) / (kAutomaticToC - kAutomaticFromC), 0.0, 1.0);
  return std::lerp(kFans[fan].least_rpm, kFans[fan].most_rpm, demand);
}

Fans::Fans() {
  for (std::size_t fan = 0; fan < kFans.size(); ++fan) {
    speed_[fan] = target_[fan] = kFans[fan].least_rpm;
  }
}

double Fans::air_flow() const {
  double speed = 0;
  double most = 0;
  for (std::size_t fan = 0; fan < kFans.size(); ++fan) {
    speed += speed_[fan];
    most += kFans[fan].most_rpm;
  }
  return speed / most;
}

double Fans::wanted_rpm(std::size_t fan, double sink_c) const {
  const bool forced = ((force_bits_ >> fan) & 1U) != 0;
  return forced ? std::clamp(target_[fan], 0.0, kFans[fan].most_rpm) : automatic_rpm(fan, sink_c);
}

void Fans::step(double sink_c, double dt_s) {
  const double part = -std::expm1(-dt_s / kFanTimeConstantS);
  for (std::size_t fan = 0; fan < kFans.size(); ++fan) {
    const double wanted = wanted_rpm(fan, sink_c);
    speed_[fan] += (wanted - speed_[fan]) * part;
    if (wanted == 0 && speed_[fan] < kStandstillRpm) {
      speed_[fan] = 0;
    }
  }
}

}  // namespace simulated
