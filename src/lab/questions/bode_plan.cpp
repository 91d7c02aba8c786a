#include "lab/questions/bode_plan.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

#include "lab/analysis/aliases.h"
#include "lab/analysis/bode_points.h"
#include "lab/analysis/spoken_number.h"
#include "lab/plan/plan_error.h"

namespace lab {

namespace {

// A swing has as many samples, and is made of as many pulses, as this at least.
constexpr double kSamplesAPeriod = 10;
constexpr double kPulsesAPeriod = 50;
constexpr Rates kLeastRates{.carrier_hz = 50, .rate_hz = 10};

// So far a frequency may be moved for the sake of a common period: little on a logarithmic scale,
// less if somebody named it.
constexpr double kNearEnough = 0.08;
constexpr double kNearNamed = 0.02;

// The frequencies from `from_hz` to `to_hz` at even distances of their logarithms.
std::vector<double> logarithmic(double from_hz, double to_hz, int points) {
  std::vector<double> frequencies_hz;
  for (int at = 0; at < points; ++at) {
    const double part = points > 1 ? static_cast<double>(at) / (points - 1) : 0;
    // Four digits: what is printed is what is played.
    const double exact = from_hz * std::pow(to_hz / from_hz, part);
    const double times = std::pow(10, 3 - std::floor(std::log10(exact)));
    frequencies_hz.push_back(std::round(exact * times) / times);
  }
  return frequencies_hz;
}

std::vector<double> wished_frequencies(const BodeWishes& wishes) {
  std::vector<double> frequencies_hz = wishes.frequencies_hz;
  if (frequencies_hz.empty()) {
    if (wishes.points > 1 && !(wishes.from_hz < wishes.to_hz)) {
      throw PlanError("--from is to be below --to");
    }
    frequencies_hz = logarithmic(wishes.from_hz, wishes.to_hz, wishes.points);
  }
  std::sort(frequencies_hz.begin(), frequencies_hz.end());
  if (std::adjacent_find(frequencies_hz.begin(), frequencies_hz.end()) != frequencies_hz.end()) {
    throw PlanError("--frequency names a frequency twice");
  }
  return frequencies_hz;
}

// A stretch in which frequencies of a common period are played.
double stretch_s(double period_s, const BodeWishes& wishes) {
  const double periods =
      std::max<double>(wishes.periods, std::ceil(wishes.least_s / period_s - 1e-9));
  // A hundredth of a period more, so that the last one is whole although phases end a little early.
  return std::max(period_s / 2, kFastParts_s) + (periods + 0.01) * period_s + 0.2;
}

Phase phase_of(const std::string& name, double duration_s) {
  Phase phase;
  phase.name = name;
  phase.duration_s = duration_s;
  return phase;
}

double peak_of(const std::vector<Sine>& sines) {
  double least_hz = sines.front().frequency_hz;
  double most_hz = least_hz;
  for (const Sine& sine : sines) {
    least_hz = std::min(least_hz, sine.frequency_hz);
    most_hz = std::max(most_hz, sine.frequency_hz);
  }
  // Twelve looks at the fastest find its peaks to 4 %; two periods of the slowest hold all that
  // differs, or as much of it as counts.
  constexpr double kMostLooks = 6000;
  const double looks = std::min(kMostLooks, 24 * most_hz / least_hz);
  double peak = 0;
  for (int look = 0; look < looks; ++look) {
    const double time_s = look / (12 * most_hz);
    double sum = 0;
    for (const Sine& sine : sines) {
      sum += std::cos(2 * std::numbers::pi * (sine.frequency_hz * time_s + sine.degrees / 360));
    }
    peak = std::max(peak, std::abs(sum));
  }
  return 1.04 * peak;
}

// Sinusoids of one amplitude, of phases at which their sum goes no farther than `depth` / 2 to
// either side. The same every time.
std::vector<Sine> flat_sum(const std::vector<double>& frequencies_hz, double depth) {
  // A few hundred throws of all phases: the lowest peak is within some percent of the best there
  // is.
  constexpr int kThrows = 300;
  std::mt19937_64 random(1);
  std::vector<Sine> best;
  double best_peak = 0;
  for (int at = 0; at < kThrows; ++at) {
    std::vector<Sine> sines;
    sines.reserve(frequencies_hz.size());
    for (const double frequency_hz : frequencies_hz) {
      // Whole degrees; the standard's distributions differ from library to library.
      sines.push_back({.frequency_hz = frequency_hz,
                       .amplitude = 0,
                       .degrees = static_cast<double>(random() % 360)});
    }
    const double peak = peak_of(sines);
    if (best.empty() || peak < best_peak) {
      best = sines;
      best_peak = peak;
    }
  }
  for (Sine& sine : best) {
    sine.amplitude = std::floor(depth / 2 / best_peak * 1e4) / 1e4;
  }
  return best;
}

/// What a sinusoid goes down to. Rounded: differences such as 0.45 - 0.4 have digits that nobody
/// chose.
double lowest_duty(const BodeWishes& wishes) {
  constexpr double kDigits = 1e12;
  return std::round(std::max(0.0, wishes.duty - wishes.depth / 2) * kDigits) / kDigits;
}

}  // namespace

Harmonic harmonic(const std::vector<double>& frequencies_hz, double near) {
  constexpr int kMostParts = 8;
  Harmonic best;
  double best_off = 1;
  for (int parts = 1; parts <= kMostParts && best_off > near; ++parts) {
    Harmonic moved{.base_hz = frequencies_hz.front() / parts, .frequencies_hz = {}};
    double off = 0;
    for (const double frequency_hz : frequencies_hz) {
      const double times = std::round(frequency_hz / moved.base_hz);
      const double before = moved.frequencies_hz.empty()
                                ? 0
                                : std::round(moved.frequencies_hz.back() / moved.base_hz);
      off = times > before ? std::max(off, std::abs(times * moved.base_hz / frequency_hz - 1)) : 1;
      if (off >= 1) {
        break;  // two on one place
      }
      moved.frequencies_hz.push_back(times * moved.base_hz);
    }
    if (off < best_off) {
      best = moved;
      best_off = off;
    }
  }
  if (best.frequencies_hz.empty()) {
    throw PlanError("--fast needs frequencies that are farther apart: leave out some, or --fast");
  }
  return best;
}

Plan bode_plan(const BodeWishes& wishes) {
  if (wishes.duty - wishes.depth / 2 < -1e-9 || wishes.duty + wishes.depth / 2 > 1 + 1e-9) {
    throw PlanError(
        "--duty is the mean and --depth the whole way from the lowest to the highest: half of "
        "--depth to either side of --duty leaves 0 to 1");
  }
  const std::vector<double> frequencies_hz = wished_frequencies(wishes);
  Plan plan;
  plan.question = "bode";
  plan.fans.hold = Fans::Hold::maximum;
  plan.phases.push_back(phase_of("idle", wishes.idle_s));
  Phase settling = phase_of("settling", wishes.settle_s);
  settling.drive.duty = wishes.duty;
  settling.until_settled = wishes.until_settled;
  plan.phases.push_back(settling);

  double one_by_one_s = 0;
  for (const double frequency_hz : frequencies_hz) {
    one_by_one_s += stretch_s(1 / frequency_hz, wishes);
  }
  std::vector<Together> stretches;
  bool at_once = false;
  if (wishes.fast && frequencies_hz.size() > 1) {
    if (frequencies_hz.size() > kMostSines) {
      throw PlanError("--fast takes at most " + std::to_string(kMostSines) + " frequencies");
    }
    const Harmonic moved =
        harmonic(frequencies_hz, wishes.frequencies_hz.empty() ? kNearEnough : kNearNamed);
    const double length_s = stretch_s(1 / moved.base_hz, wishes);
    if (length_s < one_by_one_s) {
      at_once = true;
      Phase phase = phase_of("all frequencies", length_s);
      phase.drive = {.shape = Drive::Shape::sines, .duty = wishes.duty};
      phase.drive.sines = flat_sum(moved.frequencies_hz, wishes.depth);
      plan.phases.push_back(phase);
      stretches.push_back(
          {.frequencies_hz = moved.frequencies_hz, .base_hz = moved.base_hz, .length_s = length_s});
    }
  }
  for (const double frequency_hz : frequencies_hz) {
    if (at_once) {
      break;
    }
    Phase phase = phase_of(spoken_hertz(frequency_hz), stretch_s(1 / frequency_hz, wishes));
    phase.drive = {.shape = Drive::Shape::sinusoid,
                   .duty = lowest_duty(wishes),
                   .depth = wishes.depth,
                   .frequency_hz = frequency_hz};
    plan.phases.push_back(phase);
    stretches.push_back(
        {.frequencies_hz = {frequency_hz}, .base_hz = frequency_hz, .length_s = phase.duration_s});
  }
  const double fastest_hz = frequencies_hz.back();
  const Rates rates = without_aliases(
      stretches, {.carrier_hz = std::max(kLeastRates.carrier_hz, kPulsesAPeriod * fastest_hz),
                  .rate_hz = std::max(kLeastRates.rate_hz, kSamplesAPeriod * fastest_hz)});
  plan.carrier_hz = rates.carrier_hz;
  plan.rate_hz = rates.rate_hz;
  return plan;
}

}  // namespace lab
