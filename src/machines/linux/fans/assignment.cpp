#include "machines/linux/fans/assignment.h"

#include <algorithm>
#include <sstream>

#include "machines/linux/fans/kept_file.h"
#include "machines/linux/sysfs/parse.h"

namespace linux_machine {
namespace {

constexpr std::string_view kAssignmentBegin = "vorn fan numbers 1";

/// "F0" is 0.
std::optional<std::size_t> parse_number(std::string_view text) {
  const bool is_one = text.size() == 2 && text[0] == 'F' && text[1] >= '0' && text[1] <= '9';
  return is_one ? std::optional<std::size_t>(text[1] - '0') : std::nullopt;
}

/// "fan2" is 2.
std::optional<int> parse_channel(std::string_view text) {
  constexpr std::string_view kFan = "fan";
  constexpr long long kMost = 99;
  if (!text.starts_with(kFan)) {
    return std::nullopt;
  }
  const std::optional<long long> channel = sysfs::parse_integer(text.substr(kFan.size()));
  return channel && *channel >= 0 && *channel <= kMost
             ? std::optional<int>(static_cast<int>(*channel))
             : std::nullopt;
}

std::optional<Assignment> parse_line(std::string_view line) {
  const std::size_t first = line.find(' ');
  const std::size_t last = line.rfind(' ');
  if (first == last) {
    return std::nullopt;
  }
  const auto number = parse_number(line.substr(0, first));
  const auto channel = parse_channel(line.substr(last + 1));
  if (!number || !channel) {
    return std::nullopt;
  }
  return Assignment{.number = *number,
                    .device = std::string(line.substr(first + 1, last - first - 1)),
                    .channel = *channel};
}

}  // namespace

std::optional<AssignmentWish> parse_wish(std::string_view text) {
  const std::size_t equals = text.find('=');
  const auto number = parse_number(text.substr(0, equals));
  if (equals == std::string_view::npos || !number) {
    return std::nullopt;
  }
  const std::string_view fan = text.substr(equals + 1);
  if (fan.empty()) {
    return AssignmentWish{.number = *number, .device = "", .channel = 0};
  }
  const std::size_t slash = fan.rfind('/');
  const auto channel =
      slash == std::string_view::npos ? std::nullopt : parse_channel(fan.substr(slash + 1));
  if (!channel || slash == 0) {
    return std::nullopt;
  }
  return AssignmentWish{
      .number = *number, .device = std::string(fan.substr(0, slash)), .channel = *channel};
}

std::string assignment_path(const std::string& folder) {
  return folder + "/assigned";
}

std::vector<Assignment> load_assigned(const std::string& folder, std::string& wrong) {
  const std::string path = assignment_path(folder);
  std::istringstream lines(kept_text(path));
  std::vector<Assignment> all;
  std::string line;
  if (!std::getline(lines, line)) {
    return all;
  }
  bool right = line == kAssignmentBegin;
  while (right && std::getline(lines, line)) {
    const std::optional<Assignment> one = parse_line(line);
    right = one.has_value();
    if (one) {
      all.push_back(*one);
    }
  }
  if (!right) {
    all.clear();
    wrong = path + ": \"" + line +
            "\" is no number of a fan; the file is not used: remove it, or " +
            "write it anew with vorn-keys --assign";
  }
  return all;
}

sysfs::Result<sysfs::Done> save_assigned(const std::string& folder,
                                         const std::vector<Assignment>& assigned) {
  std::string text = std::string(kAssignmentBegin) + "\n";
  for (const Assignment& one : assigned) {
    text += "F" + std::to_string(one.number) + " " + one.device + " fan" +
            std::to_string(one.channel) + "\n";
  }
  return keep_text(folder, assignment_path(folder), text);
}

}  // namespace linux_machine
