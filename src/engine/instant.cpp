#include "engine/instant.h"

#include <chrono>
#include <optional>

#include "engine/decimal.h"
#include "engine/nanoseconds.h"

namespace engine {

namespace {

using Instant = Parsed<std::int64_t>;

constexpr int kFirstYear = 1970;
constexpr int kLastYear = 2261;                     // 64 bits of ns end in April 2262
constexpr std::int64_t kLastSecond = 9214646399LL;  // the last one of that year
constexpr const char* kBounds = "it is not between the years 1970 and 2261";

/// Takes exactly `digits` digits.
std::optional<int> take_number(std::string_view& text, std::size_t digits) {
  if (text.size() < digits ||
      text.substr(0, digits).find_first_not_of("0123456789") != std::string_view::npos) {
    return std::nullopt;
  }
  int value = 0;
  for (const char digit : text.substr(0, digits)) {
    value = value * 10 + (digit - '0');
  }
  text.remove_prefix(digits);
  return value;
}

bool take_one_of(std::string_view& text, std::string_view characters) {
  if (text.empty() || characters.find(text.front()) == std::string_view::npos) {
    return false;
  }
  text.remove_prefix(1);
  return true;
}

/// Takes two numbers of two digits with a colon between them.
std::optional<std::pair<int, int>> take_hours_and_minutes(std::string_view& text) {
  const auto hours = take_number(text, 2);
  if (!hours || !take_one_of(text, ":")) {
    return std::nullopt;
  }
  const auto minutes = take_number(text, 2);
  if (!minutes) {
    return std::nullopt;
  }
  return std::pair{*hours, *minutes};
}

/// Takes a date. Returns its days since 1970.
Parsed<std::int64_t> take_date(std::string_view& text) {
  const auto year = take_number(text, 4);
  const bool first_dash = take_one_of(text, "-");
  const auto month = take_number(text, 2);
  const bool second_dash = take_one_of(text, "-");
  const auto day = take_number(text, 2);
  if (!year || !first_dash || !month || !second_dash || !day) {
    return Instant::no("its date is not written YYYY-MM-DD");
  }
  using namespace std::chrono;
  const year_month_day date{std::chrono::year{*year},
                            std::chrono::month{static_cast<unsigned>(*month)},
                            std::chrono::day{static_cast<unsigned>(*day)}};
  if (!date.ok()) {
    return Instant::no("its date is in no calendar");
  }
  if (*year < kFirstYear || *year > kLastYear) {
    return Instant::no(kBounds);
  }
  return {.value = sys_days{date}.time_since_epoch().count(), .refused = {}};
}

/// Takes the time of a day. Returns it in ns.
Instant take_time(std::string_view& text) {
  const auto hours_and_minutes = take_hours_and_minutes(text);
  if (!hours_and_minutes || !take_one_of(text, ":") ||
      text.substr(0, text.find_first_not_of("0123456789")).size() != 2) {
    return Instant::no("its time is not written HH:MM:SS");
  }
  const auto [hours, minutes] = *hours_and_minutes;
  const Parsed<Decimal> seconds = take_decimal(text);
  if (!seconds.value) {
    return Instant::no(seconds.refused);
  }
  if (seconds.value->whole == 60) {
    return Instant::no("a leap second is no instant of the host's clock");
  }
  if (hours > 23 || minutes > 59 || seconds.value->whole > 59) {
    return Instant::no("its time is on no clock");
  }
  return {
      .value = ((std::int64_t{hours} * 60 + minutes) * 60 + seconds.value->whole) * kNsPerSecond +
               seconds.value->billionths,
      .refused = {}};
}

/// Takes the offset from UTC. Returns it in seconds, east positive.
Parsed<std::int64_t> take_offset(std::string_view& text) {
  if (take_one_of(text, "Zz")) {
    return {.value = 0, .refused = {}};
  }
  const bool west = text.starts_with('-');
  if (!take_one_of(text, "+-")) {
    return Instant::no("its offset from UTC is missing: Z, or as in +01:00");
  }
  const auto offset = take_hours_and_minutes(text);
  if (!offset || offset->first > 23 || offset->second > 59) {
    return Instant::no("its offset from UTC is not written +HH:MM");
  }
  const std::int64_t seconds = (std::int64_t{offset->first} * 60 + offset->second) * 60;
  return {.value = west ? -seconds : seconds, .refused = {}};
}

Instant nothing_behind(std::string_view rest, std::int64_t ns) {
  if (!rest.empty()) {
    return Instant::no("\"" + std::string(rest) + "\" stands behind it");
  }
  if (ns < 0 || ns / kNsPerSecond > kLastSecond) {
    return Instant::no(kBounds);
  }
  return {.value = ns, .refused = {}};
}

Instant parse_rfc3339(std::string_view text) {
  auto date = take_date(text);
  if (!date.value) {
    return date;
  }
  if (!take_one_of(text, "Tt ")) {
    return Instant::no("its time is missing");
  }
  auto time = take_time(text);
  if (!time.value) {
    return time;
  }
  auto offset = take_offset(text);
  if (!offset.value) {
    return offset;
  }
  constexpr std::int64_t kSecondsPerDay = 86400;
  return nothing_behind(
      text, (*date.value * kSecondsPerDay - *offset.value) * kNsPerSecond + *time.value);
}

Instant parse_seconds(std::string_view text) {
  const Parsed<Decimal> seconds = take_decimal(text);
  if (!seconds.value) {
    return Instant::no(seconds.refused);
  }
  if (seconds.value->whole > kLastSecond) {
    return Instant::no(kBounds);
  }
  return nothing_behind(text, seconds.value->whole * kNsPerSecond + seconds.value->billionths);
}

}  // namespace

Instant parse_instant(std::string_view text) {
  return text.find_first_of("-:") != std::string_view::npos ? parse_rfc3339(text)
                                                            : parse_seconds(text);
}

}  // namespace engine
