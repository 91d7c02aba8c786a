#include "lab/report/number_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "lab/analysis/spoken_number.h"

namespace lab {

namespace {

constexpr int kDigitsWithoutInterval = 4;
/// Beyond these powers of ten a number is written with an exponent.
constexpr int kSmallest = -4;
constexpr int kLargest = 7;
/// Of data without noise an interval may be as narrow as rounding. No sensor is worth more digits.
constexpr int kMostDigitsOfEstimate = 5;
/// A double has 15 to 17 digits; more than these say nothing about a machine.
constexpr int kMostDigits = 9;

int power_of_ten(double value) {
  return value == 0 ? 0 : static_cast<int>(std::floor(std::log10(std::abs(value))));
}

std::string written(double value, std::chars_format format, int precision) {
  std::array<char, 400> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, format, precision);
  return {text.data(), end.ptr};
}

/// "1.20e-05" as "1.20e-5".
std::string short_exponent(const std::string& text) {
  const std::size_t e = text.find('e');
  std::string power = text.substr(e + 2);
  power.erase(0, std::min(power.find_first_not_of('0'), power.size() - 1));
  return text.substr(0, e + 2) + power;
}

/// "1.20e-5" as "1.2e-5".
std::string without_trailing_zeros(const std::string& text) {
  const std::size_t e = std::min(text.find('e'), text.size());
  std::string digits = text.substr(0, e);
  if (digits.find('.') != std::string::npos) {
    digits.erase(digits.find_last_not_of('0') + 1);
    digits.erase(digits.find_last_not_of('.') + 1);
  }
  return digits + text.substr(e);
}

/// `value` rounded to a multiple of 10^`place`.
std::string to_place(double value, int place) {
  if (place < -kMostDigits || power_of_ten(value) >= kLargest) {
    const int digits = std::clamp(power_of_ten(value) - place, 0, kMostDigits);
    return short_exponent(written(value, std::chars_format::scientific, digits));
  }
  const double unit = std::pow(10.0, place);
  const double rounded = place > 0 ? std::round(value / unit) * unit : value;
  const std::string text = written(rounded, std::chars_format::fixed, std::max(-place, 0));
  const bool nothing = text.find_first_of("123456789") == std::string::npos;
  return nothing && text.front() == '-' ? text.substr(1) : text;
}

}  // namespace

std::string number_text(double value, int digits) {
  if (std::isnan(value)) {
    return "not known";
  }
  if (std::isinf(value)) {
    return value > 0 ? "infinite" : "-infinite";
  }
  const int power = power_of_ten(value);
  return without_trailing_zeros(
      power < kSmallest || power >= kLargest
          ? short_exponent(written(value, std::chars_format::scientific, digits - 1))
          : to_place(value, power - digits + 1));
}

std::string count_text(std::int64_t count) {
  std::string text = std::to_string(count);
  const std::size_t first = count < 0 ? 1 : 0;
  for (std::size_t at = text.size(); at > first + 3;) {
    at -= 3;
    text.insert(at, ",");
  }
  return text;
}

std::string percent_text(double share) {
  return with_unit(number_text(share * 100), "%");
}

std::string unit_text(const std::string& unit) {
  return spoken_unit(unit);
}

std::string with_unit(const std::string& number, const std::string& unit) {
  return unit.empty() ? number : number + " " + unit_text(unit);
}

EstimateText estimate_text(const Estimate& estimate) {
  EstimateText text{.value = {}, .interval = {}, .unit = unit_text(estimate.unit)};
  const bool low = std::isfinite(estimate.low);
  const bool high = std::isfinite(estimate.high);
  const double below = low ? std::abs(estimate.value - estimate.low) : 0;
  const double above = high ? std::abs(estimate.high - estimate.value) : 0;
  const double half = std::max(below, above);
  if (!std::isfinite(estimate.value) || half == 0) {
    text.value = number_text(estimate.value, kDigitsWithoutInterval);
    text.interval = low && high ? "" : "no bounds";
    return text;
  }
  const int finest =
      power_of_ten(std::max(std::abs(estimate.value), half)) - kMostDigitsOfEstimate + 1;
  const int place = std::max(power_of_ten(half) - 1, finest);
  text.value = to_place(estimate.value, place);
  if (low && high) {
    text.interval = to_place(estimate.low, place) + " to " + to_place(estimate.high, place);
  } else if (low) {
    text.interval = "at least " + to_place(estimate.low, place);
  } else {
    text.interval = "at most " + to_place(estimate.high, place);
  }
  return text;
}

std::string in_one_line(const EstimateText& estimate) {
  return with_unit(estimate.value, estimate.unit) +
         (estimate.interval.empty() ? "" : " (" + estimate.interval + ")");
}

}  // namespace lab
