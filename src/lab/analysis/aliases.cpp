#include "lab/analysis/aliases.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace lab {

namespace {

// Beyond these, carrier and side bands are too weak to be seen through a mean over some 50 ms: side
// bands fall as Bessel functions of their number do.
constexpr int kCarriers = 3;
constexpr int kSideBands = 4;
constexpr int kMultiples = 7;

}  // namespace

double folded_hz(double frequency_hz, double rate_hz) {
  const double within_hz = std::fmod(std::abs(frequency_hz), rate_hz);
  return std::min(within_hz, rate_hz - within_hz);
}

namespace {

double alias_of_one(double frequency_hz, const Rates& rates) {
  double nearest_hz = std::numeric_limits<double>::infinity();
  const auto look_at = [&](double alias_hz) {
    nearest_hz = std::min(nearest_hz, std::abs(alias_hz - frequency_hz));
  };
  for (int carrier = 1; carrier <= kCarriers; ++carrier) {
    for (int band = -kSideBands; band <= kSideBands; ++band) {
      look_at(folded_hz(carrier * rates.carrier_hz + band * frequency_hz, rates.rate_hz));
    }
  }
  for (int times = 2; times <= kMultiples; ++times) {
    if (times * frequency_hz > rates.rate_hz / 2) {
      look_at(folded_hz(times * frequency_hz, rates.rate_hz));
    }
  }
  return nearest_hz;
}

// From the nearest multiple of the base.
double alias_of_several(double base_hz, const Rates& rates) {
  double nearest_hz = folded_hz(rates.rate_hz, base_hz);
  for (int carrier = 1; carrier <= kCarriers; ++carrier) {
    const double alias_hz = folded_hz(carrier * rates.carrier_hz, rates.rate_hz);
    nearest_hz = std::min(nearest_hz, folded_hz(alias_hz, base_hz));
  }
  return nearest_hz;
}

}  // namespace

double common_hz(const std::vector<double>& frequencies_hz) {
  const double least_hz = *std::min_element(frequencies_hz.begin(), frequencies_hz.end());
  constexpr int kMost = 12;
  for (int parts = 1; parts <= kMost; ++parts) {
    const double base_hz = least_hz / parts;
    if (std::all_of(frequencies_hz.begin(), frequencies_hz.end(), [&](double frequency_hz) {
          const double times = frequency_hz / base_hz;
          return std::abs(times - std::round(times)) < 0.02;
        })) {
      return base_hz;
    }
  }
  return least_hz;
}

double nearest_alias(const Together& stretch, const Rates& rates) {
  const double fastest_hz =
      *std::max_element(stretch.frequencies_hz.begin(), stretch.frequencies_hz.end());
  if (fastest_hz >= rates.rate_hz / 2) {
    return 0;
  }
  return stretch.length_s * (stretch.frequencies_hz.size() == 1
                                 ? alias_of_one(fastest_hz, rates)
                                 : alias_of_several(stretch.base_hz, rates));
}

Rates without_aliases(const std::vector<Together>& stretches, const Rates& least) {
  // Steps that no plain number is a multiple of, so that plain frequencies are not met again.
  constexpr double kRateStep = 0.00617;
  constexpr double kCarrierStep = 0.00829;
  constexpr int kSteps = 30;
  const auto raised = [](double from, double by) {
    return std::round(from * (1 + by) * 1e4) / 1e4;  // a number that a person can read
  };
  Rates best = least;
  double farthest = -1;
  for (int rate = 0; rate <= kSteps; ++rate) {
    for (int carrier = 0; carrier <= kSteps; ++carrier) {
      const Rates rates{.carrier_hz = raised(least.carrier_hz, kCarrierStep * carrier),
                        .rate_hz = raised(least.rate_hz, kRateStep * rate)};
      double nearest = std::numeric_limits<double>::infinity();
      for (const Together& stretch : stretches) {
        nearest = std::min(nearest, nearest_alias(stretch, rates));
      }
      if (nearest > farthest) {
        farthest = nearest;
        best = rates;
      }
    }
  }
  return best;
}

}  // namespace lab
