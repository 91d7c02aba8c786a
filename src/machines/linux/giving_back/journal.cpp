#include "machines/linux/giving_back/journal.h"

#include <cstddef>

namespace linux_machine {
namespace {

constexpr std::string_view kForced = " forced=";

std::string number_or_none(const std::optional<long long>& number) {
  return number ? std::to_string(*number) : std::string(kNotThere);
}

/// Cuts the first word off `text`; empty at its end.
std::string_view take_word(std::string_view& text) {
  const std::size_t end = text.find(' ');
  const std::string_view word = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return word;
}

bool take_field(std::string_view& text, std::string_view name, std::string_view& value) {
  const std::string_view word = take_word(text);
  if (!word.starts_with(name) || word.size() == name.size()) {
    return false;
  }
  value = word.substr(name.size());
  return true;
}

std::string forced_field(std::string_view forced) {
  return forced.empty() ? std::string() : std::string(kForced).append(forced);
}

std::string between_commas(const std::vector<int>& modes) {
  std::string text;
  for (const int mode : modes) {
    text += (text.empty() ? "" : ",") + std::to_string(mode);
  }
  return text;
}

/// Cuts the field off the end of a line. Empty if there is none.
std::string_view take_forced(std::string_view& line) {
  const std::size_t at = line.rfind(kForced);
  if (at == std::string_view::npos) {
    return {};
  }
  const std::string_view forced = line.substr(at + kForced.size());
  line = line.substr(0, at);
  return forced;
}

}  // namespace

std::string set_line(std::string_view attribute, std::string_view value, std::string_view forced) {
  std::string line("set ");
  return line.append(attribute).append(" ").append(value).append(forced_field(forced));
}

std::string fan_line(const FanState& state) {
  const std::string enable =
      state.enable_unreadable ? std::string(kUnreadable) : number_or_none(state.enable);
  return "fan " + state.folder + " " + std::to_string(state.channel) + " " + state.chip +
         " target=" + number_or_none(state.target) + " pwm=" + number_or_none(state.pwm) +
         " enable=" + enable + (state.zero_is_full_speed ? " zero=full" : " zero=off") +
         forced_field(between_commas(state.forced_modes));
}

bool next_line(std::string_view& journal, std::string_view& line) {
  const std::size_t end = journal.find('\n');
  if (end == std::string_view::npos) {
    return false;
  }
  line = journal.substr(0, end);
  journal.remove_prefix(end + 1);
  return true;
}

bool parse_set_line(std::string_view line, SetLine& set) {
  set.forced = take_forced(line);
  if (take_word(line) != "set") {
    return false;
  }
  set.attribute = take_word(line);
  set.value = line;
  return !set.attribute.empty() && !set.value.empty();
}

bool parse_fan_line(std::string_view line, FanLine& fan) {
  fan.forced = take_forced(line);
  if (take_word(line) != "fan") {
    return false;
  }
  fan.folder = take_word(line);
  fan.channel = take_word(line);
  fan.chip = take_word(line);
  return !fan.folder.empty() && !fan.channel.empty() && !fan.chip.empty() &&
         take_field(line, "target=", fan.target) && take_field(line, "pwm=", fan.pwm) &&
         take_field(line, "enable=", fan.enable) && take_field(line, "zero=", fan.zero);
}

}  // namespace linux_machine
