#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lab {

/// The seconds that `text` names: a decimal number and a unit, "us", "ms", "s", "m" (minutes) or
/// "h"; a number alone is in seconds. Nothing if it names no length of time, or a negative one.
std::optional<double> parse_duration(std::string_view text);

/// A length of time as a person says it: "12 s", "2 min 30 s", "1 h 5 min". Requires: finite, not
/// negative.
std::string spoken(double seconds);

}  // namespace lab
