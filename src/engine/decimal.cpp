#include "engine/decimal.h"

namespace engine {

namespace {

constexpr std::size_t kWholeDigits = 10;
constexpr std::size_t kFractionDigits = 9;

std::string_view take_digits(std::string_view& text) {
  const std::string_view digits = text.substr(0, text.find_first_not_of("0123456789"));
  text.remove_prefix(digits.size());
  return digits;
}

std::int64_t value_of(std::string_view digits) {
  std::int64_t value = 0;
  for (const char digit : digits) {
    value = value * 10 + (digit - '0');
  }
  return value;
}

}  // namespace

Parsed<Decimal> take_decimal(std::string_view& text) {
  const std::string_view whole = take_digits(text);
  if (whole.empty()) {
    return Parsed<Decimal>::no("a number is missing");
  }
  if (whole.size() > kWholeDigits) {
    return Parsed<Decimal>::no("the number is too large");
  }
  Decimal decimal{.whole = value_of(whole), .billionths = 0};
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    const std::string_view fraction = take_digits(text);
    if (fraction.empty()) {
      return Parsed<Decimal>::no("no digit stands behind the point");
    }
    if (fraction.size() > kFractionDigits) {
      return Parsed<Decimal>::no("more than nine digits stand behind the point");
    }
    std::string billionths(fraction);
    billionths.resize(kFractionDigits, '0');
    decimal.billionths = value_of(billionths);
  }
  return {.value = decimal, .refused = {}};
}

}  // namespace engine
