#include "machines/linux/giving_back/journal.h"

#include <cstddef>

namespace linux_machine {
namespace {

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

}  // namespace

std::string set_line(std::string_view attribute, std::string_view value) {
  return "set " + std::string(attribute) + " " + std::string(value);
}

std::string fan_line(const FanState& state) {
  const std::string enable =
      state.enable_unreadable ? std::string(kUnreadable) : number_or_none(state.enable);
  return "fan " + state.folder + " " + std::to_string(state.channel) + " " + state.chip +
         " target=" + number_or_none(state.target) + " pwm=" + number_or_none(state.pwm) +
         " enable=" + enable + (state.zero_is_full_speed ? " zero=full" : " zero=off");
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

bool parse_set_line(std::string_view line, std::string_view& attribute, std::string_view& value) {
  if (take_word(line) != "set") {
    return false;
  }
  attribute = take_word(line);
  value = line;
  return !attribute.empty() && !value.empty();
}

bool parse_fan_line(std::string_view line, FanLine& fan) {
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
