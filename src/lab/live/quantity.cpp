#include "lab/live/quantity.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "lab/data/characters.h"

namespace lab {

namespace {

/// Beyond any run, and within what an integer holds.
constexpr double kLongest = 1e9;

/// Decimals of the units that sensors have; negative: another unit.
int decimals_of(std::string_view unit) {
  if (unit == "degC") {
    return 1;
  }
  if (unit == "W" || unit == "A") {
    return 2;
  }
  if (unit == "V") {
    return 3;
  }
  return unit == "RPM" ? 0 : -1;
}

}  // namespace

std::string number(double value, std::string_view unit) {
  if (std::isnan(value)) {
    return "-";
  }
  constexpr double kMostInFull = 1e6;
  const int decimals = decimals_of(unit);
  char text[32];
  if (decimals < 0 || std::abs(value) >= kMostInFull) {
    (void)std::snprintf(text, sizeof text, "%.4g", value);
  } else {
    (void)std::snprintf(text, sizeof text, "%.*f", decimals, value);
  }
  return text;
}

std::string written_unit(std::string_view unit, Look look) {
  return unit == "degC" && look.utf8 ? "°C" : printable(unit, look.utf8);
}

std::string percent(double fraction) {
  if (std::isnan(fraction)) {
    return "-";
  }
  char text[32];
  (void)std::snprintf(text, sizeof text, "%.0f %%", fraction * 100);
  return text;
}

std::string minutes_and_seconds(double seconds) {
  const int whole = static_cast<int>(std::clamp(seconds, 0.0, kLongest));
  char text[32];
  if (whole < 3600) {
    (void)std::snprintf(text, sizeof text, "%d:%02d", whole / 60, whole % 60);
  } else {
    (void)std::snprintf(text, sizeof text, "%d:%02d:%02d", whole / 3600, whole / 60 % 60,
                        whole % 60);
  }
  return text;
}

}  // namespace lab
