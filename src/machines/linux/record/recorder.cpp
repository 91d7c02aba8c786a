#include "machines/linux/record/recorder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <regex>
#include <string_view>
#include <utility>

#include "machines/linux/sysfs/attribute.h"

// What is read is chosen by name. A folder of a device also holds what has nothing to do with its
// sensors, and may say whose machine it is.

namespace linux_machine {
namespace {

bool is_serial(const std::string& name) {
  return name.find("serial") != std::string::npos || name.find("uuid") != std::string::npos;
}

bool is_of_monitor(const std::string& name) {
  static const std::regex kMonitor(
      "name|label|fan_watchdog|(temp|fan|pwm|power|energy|in|curr|freq)[0-9]+(_[a-z0-9_]+)?");
  return std::regex_match(name, kMonitor) && !is_serial(name);
}

bool is_of_thermal_zone(const std::string& name) {
  static const std::regex kZone("type|temp|mode|policy|trip_point_[0-9]+_[a-z]+");
  return std::regex_match(name, kZone);
}

bool is_of_energy_zone(const std::string& name) {
  static const std::regex kZone(
      "name|enabled|energy_uj|max_energy_range_uj|power_uw|constraint_.*");
  return std::regex_match(name, kZone);
}

bool is_any(const std::string& name) {
  return !is_serial(name);
}

bool is_processors(const std::string& name) {
  return name == "possible" || name == "present" || name == "online" || name == "modalias";
}

/// Where `to` lies, from the folder of `path`: as the kernel has it, the name of `to` at its end.
std::string relative_target(const std::string& path, const std::string& to) {
  const std::filesystem::path target = to;
  const std::filesystem::path from = std::filesystem::path(path).parent_path();
  return target.parent_path().lexically_relative(from) / target.filename();
}

/// Puts numbers in place of addresses, the same for the same.
class Addresses {
 public:
  std::string hidden(const std::string& text) {
    static const std::regex kAddress("([0-9A-Fa-f]{2}[:_-]){5}[0-9A-Fa-f]{2}");
    std::string safe;
    auto from = text.cbegin();
    for (std::smatch match; std::regex_search(from, text.cend(), match, kAddress);
         from = match.suffix().first) {
      safe.append(match.prefix().str()).append("address");
      safe.append(std::to_string(number_of(match.str())));
    }
    return safe.append(from, text.cend());
  }

 private:
  /// An address may stand with colons in a path and with lines below in a name.
  std::size_t number_of(std::string address) {
    std::replace(address.begin(), address.end(), '_', ':');
    std::replace(address.begin(), address.end(), '-', ':');
    return numbers_.emplace(address, numbers_.size()).first->second;
  }

  std::map<std::string, std::size_t> numbers_;
};

}  // namespace

/// Where `path` really is; nothing if it is nowhere. Keeps the links on the way.
std::string Recorder::follow(const std::string& path) {
  std::string at;
  for (std::size_t from = 0; from <= path.size();) {
    const std::size_t end = std::min(path.find('/', from), path.size());
    std::string next = at;
    next.append(at.empty() ? "" : "/").append(path, from, end - from);
    from = end + 1;
    const auto known = real_.find(next);
    const std::string real =
        known != real_.end() ? known->second : (real_[next] = tree_.real_path(next.c_str()));
    if (real.empty()) {
      return {};
    }
    if (real != next) {
      links_[next] = relative_target(next, real);
    }
    at = real;
  }
  return at;
}

void Recorder::add(const std::string& path) {
  if (std::string real = follow(path); !real.empty()) {
    found_.try_emplace(std::move(real));
  }
}

template <class Wanted>
void Recorder::add_all(const std::string& folder, Wanted wanted) {
  for (const std::string& name : sysfs::list(tree_, folder)) {
    if (wanted(name)) {
      add(std::string(folder).append("/").append(name));
    }
  }
}

void Recorder::find_monitors() {
  for (const std::string& number : sysfs::list(tree_, "class/hwmon")) {
    const std::string link = "class/hwmon/" + number;
    add_all(link, is_of_monitor);
    add_all(link + "/device", is_of_monitor);  // where very old drivers have them
    follow(link + "/device");
  }
}

void Recorder::find_zones(const std::string& folder, bool (*wanted)(const std::string& name)) {
  for (const std::string& zone : sysfs::list(tree_, folder)) {
    add_all(std::string(folder).append("/").append(zone), wanted);
  }
}

void Recorder::find_clocks() {
  const std::string processors = "devices/system/cpu";
  const std::string policies = processors + "/cpufreq";
  add_all(processors, is_processors);
  for (const char* driver : {"intel_pstate", "amd_pstate"}) {
    add_all(std::string(processors).append("/").append(driver), is_any);
  }
  for (const std::string& name : sysfs::list(tree_, policies)) {
    add(std::string(policies).append("/").append(name));  // boost, beside the policies
    add_all(std::string(policies).append("/").append(name), is_any);
  }
}

void Recorder::find(const std::set<std::string>& also) {
  find_monitors();
  find_zones("class/thermal", is_of_thermal_zone);
  find_zones("class/powercap", is_of_energy_zone);
  find_clocks();
  for (const std::string& path : also) {
    if (!is_serial(path)) {
      add(path);
    }
  }
}

void Recorder::read() {
  for (auto& [path, found] : found_) {
    if (found.there) {
      take(found, path);
    }
  }
}

void Recorder::take(Found& found, const std::string& path) {
  constexpr int kSomebodyReads = 0444;
  if (!found.read) {
    const int mode = tree_.permissions(path.c_str());
    found.entry.path = path;
    found.entry.mode = mode < 0 ? kSomebodyReads : mode;
    found.first_ns = now_ns_();
  }
  if ((found.entry.mode & kSomebodyReads) == 0) {
    found.read = true;
    return;
  }
  Answer answer;
  answer.after_s = 1e-9 * static_cast<double>(now_ns_() - found.first_ns);
  if (const auto text = sysfs::read_text(tree_, path)) {
    answer.text = *text;
  } else {
    answer.error = text.failure().error;
  }
  if (answer.error == EISDIR || answer.error == ENOENT) {
    found.there = found.read;  // a folder, unless it was read before
    if (!found.there) {
      return;
    }
  }
  if (!std::exchange(found.read, true)) {
    found.entry.text = answer.text;
    found.entry.error = answer.error;
    return;
  }
  found.entry.later.push_back(std::move(answer));
}

std::vector<MachineEntry> Recorder::entries() const {
  std::vector<MachineEntry> all;
  Addresses addresses;
  for (const auto& [path, found] : found_) {
    if (!found.read) {
      continue;
    }
    MachineEntry entry = found.entry;
    entry.path = addresses.hidden(entry.path);
    entry.text = addresses.hidden(entry.text);
    // Of what never changed, the first answer says all.
    const Answer first{.text = found.entry.text, .error = found.entry.error};
    if (std::all_of(entry.later.begin(), entry.later.end(),
                    [&first](const Answer& one) { return one.says_the_same(first); })) {
      entry.later.clear();
    }
    for (Answer& answer : entry.later) {
      answer.text = addresses.hidden(answer.text);
    }
    all.push_back(std::move(entry));
  }
  for (const auto& [path, target] : links_) {
    all.push_back({.path = addresses.hidden(path),
                   .text = addresses.hidden(target),
                   .link = true,
                   .later = {}});
  }
  return all;
}

}  // namespace linux_machine
