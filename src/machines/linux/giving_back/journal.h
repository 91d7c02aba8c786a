#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What a run has changed on a machine, as text: one line for each thing that is to be put back,
/// holding its state before and what it is forced to. The same text is the state file, what a
/// guardian holds, and what `vorn-keys --restore` reads.
///
///   set <attribute> <value> [forced=<value>]
///   fan <hwmon folder> <channel> <chip> target=<rpm|-> pwm=<n|-> enable=<n|-|?> zero=<full|off>
///       [forced=<mode>[,<mode>]]          (of one line)
///
/// In a fan's line "-" is an attribute that the channel lacks (or that was not touched), and "?" a
/// mode that can be written and not read. "zero" is what mode 0 means to the chip. A fan is forced
/// in one mode or another; its pwm changes all the time, and chips round it. What is forced is left
/// out where it is not known: what changes because something else does.
namespace linux_machine {

/// The state of a fan channel before it was first changed.
struct FanState {
  std::string folder;  ///< of the hwmon device, below the root
  int channel = 0;     ///< n of pwmn and fann_target
  std::string chip;    ///< the hwmon device's name
  std::optional<long long> target;
  std::optional<long long> pwm;
  std::optional<long long> enable;
  bool enable_unreadable = false;
  bool zero_is_full_speed = false;
  std::vector<int> forced_modes{};  ///< of pwmn_enable, while it is forced; none: not known
};

/// `forced`: what the attribute is set to; empty: not known.
std::string set_line(std::string_view attribute, std::string_view value,
                     std::string_view forced = {});
std::string fan_line(const FanState& state);

/// The lines of a journal one by one, without their newlines. A last line without one was cut off
/// when its writer was killed, before anything was changed: it is left out.
/// Returns false at the end.
bool next_line(std::string_view& journal, std::string_view& line);

/// What a "set" line says, in views of it.
struct SetLine {
  std::string_view attribute;
  std::string_view value;
  std::string_view forced;  ///< empty: not known
};

/// Takes a "set" line apart. False for a line that is none.
bool parse_set_line(std::string_view line, SetLine& set);

/// What a "fan" line says, in views of it.
struct FanLine {
  std::string_view folder;
  std::string_view channel;
  std::string_view chip;
  std::string_view target;
  std::string_view pwm;
  std::string_view enable;
  std::string_view zero;
  std::string_view forced;  ///< modes between commas; empty: not known
};

constexpr std::string_view kZeroIsFull = "full";
constexpr std::string_view kNotThere = "-";
constexpr std::string_view kUnreadable = "?";

/// Takes a "fan" line apart. False for a line that is none.
bool parse_fan_line(std::string_view line, FanLine& fan);

}  // namespace linux_machine
