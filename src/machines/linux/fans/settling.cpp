#include "machines/linux/fans/settling.h"

#include <algorithm>
#include <deque>

// Steady is a speed whose last samples are alike. They are taken each half second, and three would
// do but for the chips that show a cached value for up to 1.5 s (nct6775, it87, w83627ehf): three
// could be one and the same measurement. So the samples that are compared span 2 s.

namespace linux_machine {
namespace {

constexpr std::int64_t kSampleNs = 500 * kNsPerMs;
constexpr std::size_t kSamples = 5;   // 2 s from first to last
constexpr double kToleranceRpm = 20;  // a tachometer's resolution
constexpr double kTolerance = 0.02;
constexpr int kFailedReads = 3;

bool alike(const std::deque<double>& samples) {
  const auto [least, most] = std::minmax_element(samples.begin(), samples.end());
  return *most - *least <= std::max(kToleranceRpm, kTolerance * *most);
}

double mean(const std::deque<double>& samples) {
  double sum = 0;
  for (const double sample : samples) {
    sum += sample;
  }
  return samples.empty() ? 0 : sum / static_cast<double>(samples.size());
}

}  // namespace

sysfs::Result<Settled> settle(const Surroundings& surroundings, const ReadSpeed& read,
                              const MayGoOn& may_go_on, std::int64_t patience_ns) {
  const std::int64_t end = surroundings.now_ns() + patience_ns;
  std::deque<double> samples;
  int failed = 0;
  while (surroundings.now_ns() < end) {
    surroundings.sleep_for(kSampleNs);
    if (const sysfs::Result<sysfs::Done> go_on = may_go_on(); !go_on) {
      return go_on.failure();
    }
    const sysfs::Result<double> rpm = read();
    if (!rpm) {
      if (++failed == kFailedReads) {
        return rpm.failure();
      }
      continue;
    }
    failed = 0;
    samples.push_back(*rpm);
    if (samples.size() > kSamples) {
      samples.pop_front();
    }
    if (samples.size() == kSamples && alike(samples)) {
      return Settled{mean(samples), true};
    }
  }
  return Settled{mean(samples), false};
}

}  // namespace linux_machine
