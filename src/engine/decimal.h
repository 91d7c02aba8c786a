#pragma once

#include <cstdint>
#include <string_view>

#include "engine/parsed.h"

namespace engine {

/// A decimal number as people write it, kept exactly.
struct Decimal {
  std::int64_t whole = 0;
  std::int64_t billionths = 0;  ///< 0 to 999,999,999
};

/// Takes a decimal number, digits with or without a point and more digits, from the front of
/// `text`, and leaves what follows it. Refuses more than nine digits behind the point, or a whole
/// part above 9,999,999,999. Pure. Thread: any.
Parsed<Decimal> take_decimal(std::string_view& text);

}  // namespace engine
