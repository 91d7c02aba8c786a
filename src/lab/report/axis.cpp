#include "lab/report/axis.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "lab/report/number_text.h"

namespace lab {

namespace {

constexpr double kMargin = 0.05;
constexpr int kTickDigits = 6;

/// Where the value lies on the axis' scale; NaN if it is on none.
double on_scale(double value, bool logarithmic) {
  if (!logarithmic) {
    return value;
  }
  return value > 0 ? std::log10(value) : std::numeric_limits<double>::quiet_NaN();
}

/// The least of 1, 2, 5 times a power of ten that is not less.
double round_step(double step) {
  const double power = std::pow(10.0, std::floor(std::log10(step)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * power >= step * (1 - 1e-9)) {
      return factor * power;
    }
  }
  return 10 * power;
}

}  // namespace

Axis::Axis(Chart::Scale scale, Margin margin, const std::vector<double>& values)
    : logarithmic_(scale == Chart::Scale::logarithmic) {
  bool any = false;
  for (const double value : values) {
    const double at = on_scale(value, logarithmic_);
    if (!std::isfinite(at)) {
      continue;
    }
    low_ = any ? std::min(low_, at) : at;
    high_ = any ? std::max(high_, at) : at;
    any = true;
  }
  if (high_ == low_) {
    const double around = logarithmic_ ? 0.5 : std::max(std::abs(low_) * kMargin, 0.5);
    low_ -= around;
    high_ += around;
  } else if (margin == Margin::some) {
    const double around = (high_ - low_) * kMargin;
    low_ -= around;
    high_ += around;
  }
}

double Axis::place(double value) const {
  return (on_scale(value, logarithmic_) - low_) / (high_ - low_);
}

std::vector<Axis::Tick> Axis::linear_ticks(double low, double high, int most) const {
  const double step = round_step((high - low) / most);
  const double first = std::ceil(low / step - 1e-9);
  const double further = std::floor(high / step + 1e-9) - first;
  std::vector<Tick> ticks;
  for (int at = 0; at <= further; ++at) {
    const double value = (first + at) * step;
    ticks.push_back({.value = value, .text = number_text(value, kTickDigits)});
  }
  return ticks;
}

std::vector<Axis::Tick> Axis::decade_ticks(int most) const {
  const double decades = high_ - low_;
  const int each = std::max(1, static_cast<int>(std::ceil(decades / most)));
  std::vector<Tick> ticks;
  for (int power = static_cast<int>(std::floor(low_)); power <= high_; ++power) {
    for (int digit = 1; digit < 10; ++digit) {
      const double value = digit * std::pow(10.0, power);
      const double at = std::log10(value);
      if (at < low_ - 1e-9 || at > high_ + 1e-9 || (each > 1 && digit > 1)) {
        continue;
      }
      const bool number = decades < 1.5 ? digit == 1 || digit == 2 || digit == 5 : digit == 1;
      ticks.push_back({.value = value,
                       .text = number && power % each == 0 ? number_text(value, kTickDigits) : ""});
    }
  }
  return ticks;
}

std::vector<Axis::Tick> Axis::ticks(int most) const {
  return logarithmic_ ? decade_ticks(most) : linear_ticks(low_, high_, most);
}

}  // namespace lab
