#include "engine/limit.h"

#include <cmath>
#include <cstddef>
#include <sstream>

#include "vorn/numbers.h"

namespace engine {

namespace {

constexpr int kOutsideInARow = 2;  // that many are forgiven
constexpr std::size_t kKeyLength = 4;

std::string reached(const Limit& limit, bool readable, float value) {
  std::ostringstream text;
  text << "limit " << limit.key << '=' << limit.most << ": ";
  if (readable) {
    text << "the key shows " << value;
  } else {
    text << "the key cannot be read any more";
  }
  return text.str();
}

}  // namespace

Parsed<Limit> parse_limit(std::string_view text) {
  const std::size_t sign = text.find('=');
  if (sign == std::string_view::npos) {
    return Parsed<Limit>::no("it is not written KEY=VALUE");
  }
  if (sign != kKeyLength) {
    return Parsed<Limit>::no("a key has four characters");
  }
  const std::string number(text.substr(sign + 1));
  const auto most = parse_double(number.c_str());
  if (!most || number.find('\0') != std::string::npos) {
    return Parsed<Limit>::no("\"" + number + "\" is no number");
  }
  if (!std::isfinite(static_cast<float>(*most))) {
    return Parsed<Limit>::no("no key can show more than that");
  }
  return {.value = Limit{std::string(text.substr(0, sign)), static_cast<float>(*most)},
          .refused = {}};
}

LimitWatch::LimitWatch(std::vector<Limit> limits) {
  watched_.reserve(limits.size());
  for (Limit& limit : limits) {
    watched_.push_back({.limit = std::move(limit), .outside = 0});
  }
}

std::optional<std::string> LimitWatch::look(const std::vector<std::optional<float>>& values) {
  std::optional<std::string> first;
  for (std::size_t i = 0; i < watched_.size(); ++i) {
    Watched& watched = watched_[i];
    const bool readable = i < values.size() && values[i].has_value();
    const float value = readable ? *values[i] : 0.0F;
    const bool within = readable && value <= watched.limit.most;  // not a number is not within
    watched.outside = within ? 0 : watched.outside + 1;
    if (watched.outside > kOutsideInARow && !first) {
      first = reached(watched.limit, readable, value);
    }
  }
  return first;
}

}  // namespace engine
