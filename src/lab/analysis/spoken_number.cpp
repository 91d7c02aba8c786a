#include "lab/analysis/spoken_number.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace lab {

namespace {

std::string with_decimals(double value, int decimals) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

int magnitude(double value) {
  return value == 0 ? 0 : static_cast<int>(std::floor(std::log10(std::abs(value))));
}

// So many that half the interval shows its first digit, but no more than five digits in all.
int decimals_of(const Estimate& estimate) {
  const double half = (estimate.high - estimate.low) / 2;
  const int most = std::clamp(4 - magnitude(estimate.value), 0, 9);
  if (!std::isfinite(half)) {
    return std::clamp(2 - magnitude(estimate.value), 0, 9);
  }
  return half > 0 ? std::clamp(-magnitude(half), 0, most) : most;
}

}  // namespace

std::string spoken_number(double value, int digits) {
  if (!std::isfinite(value)) {
    return "unknown";
  }
  return with_decimals(value, std::clamp(digits - 1 - magnitude(value), 0, 9));
}

std::string spoken_hertz(double frequency_hz) {
  std::string text = spoken_number(frequency_hz);
  if (text.find('.') != std::string::npos) {
    text.erase(text.find_last_not_of('0') + 1);
    text.erase(text.find_last_not_of('.') + 1);
  }
  return text + " Hz";
}

std::string spoken_value(const Estimate& estimate) {
  return std::isfinite(estimate.value) ? with_decimals(estimate.value, decimals_of(estimate))
                                       : "unknown";
}

std::string spoken_interval(const Estimate& estimate) {
  const int decimals = decimals_of(estimate);
  const bool low = std::isfinite(estimate.low);
  const bool high = std::isfinite(estimate.high);
  if (low && high) {
    return "95 %: " + with_decimals(estimate.low, decimals) + " to " +
           with_decimals(estimate.high, decimals);
  }
  if (low) {
    return "95 %: above " + with_decimals(estimate.low, decimals);
  }
  if (high) {
    return "95 %: below " + with_decimals(estimate.high, decimals);
  }
  return "95 %: unknown";
}

std::string spoken_unit(const std::string& unit) {
  return unit == "degC" ? "°C" : unit;
}

}  // namespace lab
