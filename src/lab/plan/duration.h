#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lab {

/// The seconds that `text` names: a decimal number and a unit, "us", "ms", "s", "m" (minutes) or
/// "h"; a number alone is in seconds. Nothing if it names no length of time, or a negative one.
std::optional<double> parse_duration(std::string_view text);

/// The seconds, above 0, that an option was given as `text`. `such_as`: examples for who is
/// refused. Throws PlanError.
double option_seconds(const std::string& option, const std::string& text,
                      const std::string& such_as = "90, 90s or 2m");

/// A length of time as a person says it: "12 s", "2 min 30 s", "1 h 5 min". Requires: finite, not
/// negative.
std::string spoken(double seconds);

}  // namespace lab
