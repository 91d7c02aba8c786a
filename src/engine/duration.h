#pragma once

#include <cstdint>
#include <string_view>

#include "engine/parsed.h"

namespace engine {

/// The run time that `text` names, in ns: a decimal number and a unit, "ms", "s", "m" (minutes) or
/// "h"; a number alone is in seconds. Rounded to 1 ns. Refuses what is shorter than 1 us, or longer
/// than the 2,147,483,647 s that a run's timer takes. Pure. Thread: any.
Parsed<std::int64_t> parse_duration(std::string_view text);

}  // namespace engine
