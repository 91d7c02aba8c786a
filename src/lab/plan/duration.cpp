#include "lab/plan/duration.h"

#include <array>
#include <charconv>
#include <cmath>
#include <utility>

#include "lab/plan/plan_error.h"

namespace lab {

std::optional<double> parse_duration(std::string_view text) {
  constexpr std::array<std::pair<std::string_view, double>, 6> kUnits{
      {{"", 1}, {"us", 1e-6}, {"ms", 1e-3}, {"s", 1}, {"m", 60}, {"h", 3600}}};
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || !std::isfinite(number) || number < 0) {
    return std::nullopt;
  }
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  if (text.starts_with(' ')) {
    text.remove_prefix(1);
  }
  for (const auto& [unit, seconds] : kUnits) {
    if (text == unit) {
      return number * seconds;
    }
  }
  return std::nullopt;
}

double option_seconds(const std::string& option, const std::string& text,
                      const std::string& such_as) {
  const std::optional<double> seconds = parse_duration(text);
  if (!seconds || !(*seconds > 0)) {
    throw PlanError(option + " takes a time, such as " + such_as + ", and not \"" + text + "\"");
  }
  return *seconds;
}

std::string spoken(double seconds) {
  const long whole = std::lround(seconds);
  const long hours = whole / 3600;
  const long minutes = whole / 60 % 60;
  const long rest = whole % 60;
  if (hours > 0) {
    return std::to_string(hours) + " h" +
           (minutes > 0 ? " " + std::to_string(minutes) + " min" : "");
  }
  if (minutes > 0) {
    return std::to_string(minutes) + " min" + (rest > 0 ? " " + std::to_string(rest) + " s" : "");
  }
  return std::to_string(rest) + " s";
}

}  // namespace lab
