#include "engine/record/kernel_counters.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "engine/record/small_file.h"

namespace {

/// The number behind `prefix`: 12 of "cpu12" behind "cpu"; nothing for its neighbours ("cpuidle").
std::optional<int> number_behind(std::string_view prefix, std::string_view name) {
  int number = 0;
  if (!name.starts_with(prefix)) {
    return std::nullopt;
  }
  name.remove_prefix(prefix.size());
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
  if (error != std::errc() || end != name.data() + name.size()) {
    return std::nullopt;
  }
  return number;
}

/// A file that holds a number from 0 up, and nothing else.
std::optional<std::int64_t> read_number(const std::string& path) {
  const SmallFile file(path.c_str());
  std::string_view text = file.text();
  while (text.ends_with('\n') || text.ends_with(' ')) {
    text.remove_suffix(1);
  }
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < 0) {
    return std::nullopt;
  }
  return number;
}

}  // namespace

KernelCounters::KernelCounters(const std::string& sys)
    : policies_(folders(sys + "/devices/system/cpu/cpufreq", "policy")),
      processors_(folders(sys + "/devices/system/cpu", "cpu")) {}

std::vector<KernelCounters::Folder> KernelCounters::folders(const std::string& in,
                                                            std::string_view prefix) {
  std::vector<Folder> found;
  std::error_code none;  // a machine that does not show them has no counters
  for (std::filesystem::directory_iterator entry(in, none), end; entry != end;
       entry.increment(none)) {
    if (const auto number = number_behind(prefix, entry->path().filename().native())) {
      found.push_back({.processor = *number, .path = entry->path().native()});
    }
  }
  std::sort(found.begin(), found.end(),
            [](const Folder& a, const Folder& b) { return a.processor < b.processor; });
  return found;
}

std::vector<ProcessorClock> KernelCounters::clocks() const {
  std::vector<ProcessorClock> clocks;
  for (const Folder& policy : policies_) {
    if (const auto khz = read_number(policy.path + "/scaling_cur_freq")) {
      clocks.push_back({.processor = policy.processor, .khz = *khz});
    }
  }
  return clocks;
}

std::vector<Throttles> KernelCounters::throttles() const {
  std::vector<Throttles> throttles;
  for (const Folder& processor : processors_) {
    const std::string folder = processor.path + "/thermal_throttle/";
    const Throttles counts{.processor = processor.processor,
                           .core = read_number(folder + "core_throttle_count"),
                           .package = read_number(folder + "package_throttle_count")};
    if (counts.core || counts.package) {
      throttles.push_back(counts);
    }
  }
  return throttles;
}
