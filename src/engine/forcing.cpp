#include "engine/forcing.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <vector>

#include "engine/waveforms/text_lines.h"
#include "vorn/settings.h"

namespace engine {

namespace {

constexpr std::uint32_t kMostRpm = 65535;  // of a target key
constexpr std::uint32_t kMostPState = 255;

std::optional<std::uint32_t> whole_number(std::string_view text, std::uint32_t most) {
  std::uint32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value > most) {
    return std::nullopt;
  }
  return value;
}

Parsed<Forcing> parse_speed(std::string fan, std::string_view word) {
  const std::optional<std::uint32_t> rpm =
      word == "maximum" ? std::optional(kMaximumSpeed) : whole_number(word, kMostRpm);
  if (!rpm) {
    return Parsed<Forcing>::no(shown_text(word) +
                               " is not a speed from 0 to 65535 RPM, or \"maximum\"");
  }
  return {.value = Forcing{.what = Forcing::What::fans, .fan = std::move(fan), .value = *rpm},
          .refused = {}};
}

}  // namespace

bool is_forcing(std::string_view line) {
  const std::vector<std::string_view> words = words_of(line);
  return !words.empty() && (words[0] == "fans" || words[0] == "fan" || words[0] == "pstate");
}

Parsed<Forcing> parse_forcing(std::string_view line, const Forced& forced) {
  const std::vector<std::string_view> words = words_of(line);
  const bool one_fan = words.size() == 3 && words[0] == "fan";
  const bool all_fans = words.size() == 2 && words[0] == "fans";
  if ((one_fan || all_fans) && forced.fans.empty()) {
    return Parsed<Forcing>::no("the run holds no fan: it takes root, and a speed other than 0");
  }
  if (all_fans) {
    return parse_speed("", words[1]);
  }
  if (one_fan) {
    const std::string fan(words[1]);
    if (std::find(forced.fans.begin(), forced.fans.end(), fan) == forced.fans.end()) {
      return Parsed<Forcing>::no(shown_text(words[1]) + " is no fan of --fan");
    }
    return parse_speed(fan, words[2]);
  }
  if (words.size() == 2 && words[0] == "pstate") {
    if (!forced.pstate) {
      return Parsed<Forcing>::no("the run forces no P-state: it takes root and --pstate");
    }
    const std::optional<std::uint32_t> number = whole_number(words[1], kMostPState);
    if (!number) {
      return Parsed<Forcing>::no(shown_text(words[1]) + " is not a P-state from 0 to 255");
    }
    return {Forcing{.what = Forcing::What::pstate, .fan = {}, .value = *number}, {}};
  }
  return Parsed<Forcing>::no("it is none of the lines that are known");
}

}  // namespace engine
