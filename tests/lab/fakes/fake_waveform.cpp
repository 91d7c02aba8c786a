#include "lab/fakes/fake_waveform.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace lab {

Stretch FakeWaveform::add_to(Stimulus& stimulus) const {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> noise(0, 1);
  std::array<std::int64_t, 2> used_ns{};
  const double period_ns = 1e9 / carrier_hz;
  stimulus.asked_ns.push_back(begin_ns);
  const auto at = [&](double periods_on) {
    return begin_ns + std::llround(periods_on * period_ns);
  };
  for (int period = 0; period < periods; ++period) {
    stimulus.edges.push_back({.planned_ns = at(period), .on = true});
    stimulus.edges.push_back({.planned_ns = at(period + duty), .on = false});
    const double drift_us = 1e-3 * period * period_ns * slow;
    for (int thread = 0; thread < 2; ++thread) {
      const bool begins = thread == 0 || missed_every == 0 || period % missed_every != 0;
      const double behind_us = late_us + drift_us + thread * skew_us + noise_us * noise(random);
      if (begins) {
        const std::int64_t from = at(period) + std::llround(1e3 * behind_us);
        const std::int64_t to = at(period + duty) + std::llround(1e3 * (late_us + drift_us));
        stimulus.follows.push_back({.instant_ns = from, .thread = thread, .on = true});
        stimulus.follows.push_back({.instant_ns = to, .thread = thread, .on = false});
        used_ns[static_cast<std::size_t>(thread)] +=
            std::llround(static_cast<double>(to - from) * (1 - kept_away));
      }
      stimulus.times.push_back({.instant_ns = at(period + 0.99),
                                .thread = thread,
                                .time_ns = used_ns[static_cast<std::size_t>(thread)]});
    }
  }
  std::stable_sort(
      stimulus.follows.begin(), stimulus.follows.end(),
      [](const auto& one, const auto& other) { return one.instant_ns < other.instant_ns; });
  const std::int64_t end_ns = at(periods);
  stimulus.edges.push_back({.planned_ns = end_ns, .on = true});
  return {.from_ns = begin_ns, .to_ns = end_ns};
}

}  // namespace lab
