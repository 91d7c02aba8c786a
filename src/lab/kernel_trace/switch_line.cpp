#include "lab/kernel_trace/switch_line.h"

#include <charconv>
#include <cmath>
#include <optional>

namespace lab {

namespace {

constexpr std::string_view kEvent = ": sched_switch: ";
constexpr std::string_view kNext = " ==> next_comm=";
constexpr std::string_view kPreviousNumber = " prev_pid=";
constexpr std::string_view kNextNumber = " next_pid=";
constexpr std::string_view kEntries = "entries-in-buffer/entries-written: ";

template <class Number>
std::optional<Number> number_at_front(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() ? std::optional(number) : std::nullopt;
}

/// The number behind the last `name`: a task may have called itself anything before it.
std::optional<std::int64_t> number_behind(std::string_view text, std::string_view name) {
  const std::size_t at = text.rfind(name);
  return at == std::string_view::npos
             ? std::nullopt
             : number_at_front<std::int64_t>(text.substr(at + name.size()));
}

}  // namespace

void add_switches(std::string_view line, std::vector<SchedulerTrace::Switch>& switches) {
  constexpr double kSecond_us = 1e6;
  constexpr std::int64_t kMicrosecond_ns = 1000;
  const std::size_t event = line.find(kEvent);
  const std::size_t next = line.rfind(kNext);
  if (event == std::string_view::npos || next == std::string_view::npos || next < event) {
    return;
  }
  const std::string_view head = line.substr(0, event);
  const auto seconds = number_at_front<double>(head.substr(head.rfind(' ') + 1));
  const auto left = number_behind(line.substr(event, next - event), kPreviousNumber);
  const auto came = number_behind(line.substr(next), kNextNumber);
  if (!seconds || !left || !came) {
    return;
  }
  const std::int64_t instant_ns = std::llround(*seconds * kSecond_us) * kMicrosecond_ns;
  if (*left != 0) {
    switches.push_back({.instant_ns = instant_ns, .task = *left, .on = false});
  }
  if (*came != 0) {
    switches.push_back({.instant_ns = instant_ns, .task = *came, .on = true});
  }
}

std::int64_t overwritten(std::string_view line) {
  const std::size_t at = line.find(kEntries);
  if (at == std::string_view::npos) {
    return 0;
  }
  const std::string_view counts = line.substr(at + kEntries.size());
  const std::size_t slash = counts.find('/');
  const auto kept = number_at_front<std::int64_t>(counts);
  const auto written = slash == std::string_view::npos
                           ? std::nullopt
                           : number_at_front<std::int64_t>(counts.substr(slash + 1));
  return kept && written ? *written - *kept : 0;
}

}  // namespace lab
