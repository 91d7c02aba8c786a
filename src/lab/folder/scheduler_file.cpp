#include "lab/folder/scheduler_file.h"

#include <array>
#include <charconv>

namespace lab {

namespace {

constexpr std::string_view kLost = "# lost ";
constexpr std::string_view kHead = "instant_ns,task,on";

/// Whole numbers with commas between. Returns whether the line is as many of them as there are.
template <std::size_t kCount>
bool read_numbers(std::string_view line, std::array<std::int64_t, kCount>& numbers) {
  const char* at = line.data();
  const char* end = at + line.size();
  for (std::size_t index = 0; index < kCount; ++index) {
    if (index > 0 && (at == end || *at++ != ',')) {
      return false;
    }
    const auto [behind, error] = std::from_chars(at, end, numbers[index]);
    if (error != std::errc()) {
      return false;
    }
    at = behind;
  }
  return at == end;
}

}  // namespace

std::string scheduler_text(const SchedulerTrace& trace) {
  std::string text =
      std::string(kLost) + std::to_string(trace.lost) + "\n" + std::string(kHead) + "\n";
  for (const SchedulerTrace::Switch& one : trace.switches) {
    text += std::to_string(one.instant_ns) + "," + std::to_string(one.task) +
            (one.on ? ",1\n" : ",0\n");
  }
  return text;
}

SchedulerTrace parse_scheduler(std::string_view text) {
  SchedulerTrace trace;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) {
      break;
    }
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end + 1);
    std::array<std::int64_t, 3> numbers{};
    if (line.starts_with(kLost)) {
      std::array<std::int64_t, 1> lost{};
      read_numbers(line.substr(kLost.size()), lost);
      trace.lost = lost[0];
    } else if (line == kHead) {
      trace.taken = true;
    } else if (read_numbers(line, numbers)) {
      trace.switches.push_back(
          {.instant_ns = numbers[0], .task = numbers[1], .on = numbers[2] != 0});
    }
  }
  return trace;
}

}  // namespace lab
