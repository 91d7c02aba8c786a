#pragma once

#include <string>
#include <string_view>

#include "lab/live/look.h"

namespace lab {

/// A value with the decimals that its unit deserves; "-" if nothing was measured.
std::string number(double value, std::string_view unit);

/// How a unit of a column is written: that of temperatures with its sign where that can be shown.
std::string written_unit(std::string_view unit, Look look);

/// "99 %" of a fraction; "-" if nothing was measured.
std::string percent(double fraction);

/// "2:08", "1:02:08". Never negative.
std::string minutes_and_seconds(double seconds);

}  // namespace lab
