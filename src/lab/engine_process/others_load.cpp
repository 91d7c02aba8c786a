#include "lab/engine_process/others_load.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <limits>
#include <string>
#include <thread>

namespace lab {

namespace {

/// The number of field `index` from 0, of fields with blanks between.
std::int64_t field(std::string_view text, int index) {
  for (; index >= 0; --index) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    if (index == 0) {
      std::int64_t value = 0;
      std::from_chars(text.data(), text.data() + text.size(), value);
      return value;
    }
    text.remove_prefix(std::min(text.find(' '), text.size()));
  }
  return 0;
}

/// The fields behind a process's name, which may hold anything.
std::string_view behind_name(std::string_view stat) {
  const std::size_t end = stat.rfind(')');
  return end == std::string_view::npos ? std::string_view() : stat.substr(end + 1);
}

std::string first_line(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

}  // namespace

std::int64_t busy_ticks(std::string_view stat) {
  // cpu user nice system idle iowait irq softirq: waiting is not work, nor is time that a host
  // took.
  return field(stat, 1) + field(stat, 2) + field(stat, 3) + field(stat, 6) + field(stat, 7);
}

std::int64_t process_ticks(std::string_view stat) {
  const std::string_view rest = behind_name(stat);
  return field(rest, 11) + field(rest, 12);
}

std::int64_t ended_ticks(std::string_view stat) {
  const std::string_view rest = behind_name(stat);
  return field(rest, 13) + field(rest, 14);
}

OthersLoad::Ticks machine_ticks(pid_t engine) {
  // An engine that has ended counts as itself until it is waited for, and then as one that has
  // ended: its time is never missing from the sum.
  return {.all = busy_ticks(first_line("/proc/stat")),
          .engines = process_ticks(first_line("/proc/" + std::to_string(engine) + "/stat")) +
                     ended_ticks(first_line("/proc/self/stat"))};
}

void OthersLoad::look(double now_s, pid_t engine) {
  constexpr double kLook_s = 1;
  if (last_ && now_s - last_->at_s < kLook_s) {
    return;
  }
  add(now_s, machine_ticks(engine));
}

void OthersLoad::add(double now_s, const Ticks& ticks) {
  constexpr std::size_t kKept = 60;
  if (last_) {
    const double processors = std::max(1U, std::thread::hardware_concurrency());
    const double most = (now_s - last_->at_s) * static_cast<double>(sysconf(_SC_CLK_TCK));
    const std::int64_t engines = std::max<std::int64_t>(0, ticks.engines - last_->ticks.engines);
    const auto others = static_cast<double>(ticks.all - last_->ticks.all - engines);
    seconds_.push_back({.begin_s = last_->at_s,
                        .end_s = now_s,
                        .load = std::clamp(others / (most * processors), 0.0, 1.0)});
  }
  if (seconds_.size() > kKept) {
    seconds_.pop_front();
  }
  last_ = {.at_s = now_s, .ticks = ticks};
}

double OthersLoad::at(double instant_s) const {
  const auto found = std::find_if(seconds_.begin(), seconds_.end(), [&](const Second& second) {
    return instant_s > second.begin_s && instant_s <= second.end_s;
  });
  return found == seconds_.end() ? std::numeric_limits<double>::quiet_NaN() : found->load;
}

}  // namespace lab
