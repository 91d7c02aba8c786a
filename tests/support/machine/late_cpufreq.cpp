#include "support/machine/late_cpufreq.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "machines/linux/sysfs/attribute.h"
#include "machines/linux/sysfs/parse.h"
#include "support/machine/machine_file.h"

// A limit that is asked for is kept as "<before> <asked for> <from when on>": what holds now
// follows from that and the clock, so that nothing has to happen when the moment comes. As in the
// kernel, asking again while a change is pending does not put it off.

namespace {

constexpr std::string_view kProcessors = "devices/system/cpu/";
constexpr std::string_view kPolicies = "devices/system/cpu/cpufreq/policy";
const std::string kMoving = "moving/";

// Files keep the end of a longer text that a shorter one is written over.
std::string padded(std::string_view text) {
  constexpr std::size_t kWidth = 64;
  std::string whole(text);
  whole.resize(std::max(whole.size(), kWidth), ' ');
  return whole + '\n';
}

std::string folder_of(const std::string& path) {
  return path.substr(0, path.rfind('/'));
}

bool is_in_policy(const std::string& path) {
  return path.starts_with(kPolicies);
}

bool is_limit(const std::string& path) {
  return is_in_policy(path) &&
         (path.ends_with("/scaling_min_freq") || path.ends_with("/scaling_max_freq"));
}

bool is_preference(const std::string& path) {
  return is_in_policy(path) && path.ends_with("/energy_performance_preference");
}

}  // namespace

std::string LateCpufreq::with_moving(const std::string& machine) {
  std::string text = machine + "\n";
  for (const MachineEntry& entry : parse_machine(machine)) {
    if (!is_limit(entry.path)) {
      continue;
    }
    text += "0644 " + kMoving + entry.path + " = " + entry.text + " " + entry.text + " 0\n";
    if (entry.path.ends_with("_max_freq")) {
      text += "0644 " + kMoving + folder_of(entry.path) + "/thermal_limit = 0\n";
    }
  }
  return text;
}

std::map<std::string, std::string> LateCpufreq::snapshot() {
  std::map<std::string, std::string> all;
  collect(std::string(kProcessors.substr(0, kProcessors.size() - 1)), all);
  return all;
}

void LateCpufreq::collect(const std::string& folder, std::map<std::string, std::string>& all) {
  for (const std::string& name : sysfs::list(*this, folder)) {
    const std::string path = std::string(folder).append("/").append(name);
    if (!sysfs::list(*this, path).empty()) {
      collect(path, all);
      continue;
    }
    const sysfs::Result<std::string> text = sysfs::read_text(*this, path);
    all[path] = text ? *text : "!" + std::to_string(text.failure().error);
  }
}

int LateCpufreq::open(const char* path, sysfs::Mode mode) {
  const int below = below_.open(path, mode);
  if (below < 0) {
    return below;
  }
  for (std::size_t slot = 0; slot < opened_.size(); ++slot) {
    if (!opened_[slot].used.exchange(true)) {
      opened_[slot].below = below;
      opened_[slot].path = below_.real_path(path);
      return static_cast<int>(slot);
    }
  }
  below_.close(below);
  return -EMFILE;
}

void LateCpufreq::close(int handle) {
  Opened& opened = opened_[static_cast<std::size_t>(handle)];
  below_.close(opened.below);
  opened.used = false;
}

int LateCpufreq::list(const char* folder, std::vector<std::string>& names) {
  return below_.list(folder, names);
}

ssize_t LateCpufreq::read(int handle, std::span<char> text) {
  const Opened& opened = opened_[static_cast<std::size_t>(handle)];
  const ssize_t got = below_.read(opened.below, text);
  if (got < 0) {
    return got;
  }
  const std::optional<std::string> answer = worked_out(opened.path);
  if (!answer) {
    return got;
  }
  const std::size_t length = std::min(answer->size(), text.size());
  std::memcpy(text.data(), answer->data(), length);
  return static_cast<ssize_t>(length);
}

ssize_t LateCpufreq::write(int handle, std::string_view text) {
  const Opened& opened = opened_[static_cast<std::size_t>(handle)];
  if (!opened.path.starts_with(kProcessors)) {
    return below_.write(opened.below, text);
  }
  const std::string_view value = sysfs::trimmed(text);
  if (const int refused = take(opened.path, value); refused != 0) {
    return refused;
  }
  const ssize_t written = below_.write(opened.below, padded(value));
  return written < 0 ? written : static_cast<ssize_t>(text.size());
}

std::optional<std::string> LateCpufreq::worked_out(const std::string& path) {
  const std::string folder = folder_of(path);
  if (is_limit(path)) {
    const Limits limits = effective(folder);
    return std::to_string(path.ends_with("_min_freq") ? limits.min : limits.max) + "\n";
  }
  if (is_in_policy(path) && path.ends_with("/cpuinfo_max_freq")) {
    return std::to_string(hardware_max(folder)) + "\n";
  }
  if (is_preference(path) && text(folder + "/scaling_governor") == "performance") {
    return "performance\n";
  }
  return std::nullopt;
}

/// What the kernel says to a write: 0 or a negative errno value.
int LateCpufreq::take(const std::string& path, std::string_view value) {
  if (is_limit(path)) {
    return take_limit(path, value);
  }
  const std::string folder = folder_of(path);
  if (is_in_policy(path) && path.ends_with("/scaling_governor")) {
    return has_governor(folder, value) ? 0 : -EINVAL;
  }
  if (is_preference(path)) {
    return text(folder + "/scaling_governor") == "performance" ? -EBUSY : 0;
  }
  return 0;
}

int LateCpufreq::take_limit(const std::string& path, std::string_view value) {
  const std::optional<long long> khz = sysfs::parse_integer(value);
  if (!khz || *khz < 0) {
    return -EINVAL;
  }
  if (kernel_ == Kernel::applies) {
    const Limits now = effective(folder_of(path));
    if (path.ends_with("_min_freq") ? *khz > now.max : *khz < now.min) {
      return -EINVAL;
    }
  }
  return put_request(path, *khz);
}

bool LateCpufreq::has_governor(const std::string& folder, std::string_view governor) {
  const std::string governors = text(folder + "/scaling_available_governors");
  const std::vector<std::string_view> words = sysfs::parse_words(governors);
  return std::find(words.begin(), words.end(), governor) != words.end();
}

std::string LateCpufreq::text(const std::string& path) {
  const sysfs::Result<std::string> text = sysfs::read_text(below_, path);
  return text ? *text : std::string();
}

long long LateCpufreq::number(const std::string& path, long long otherwise) {
  return sysfs::parse_integer(text(path)).value_or(otherwise);
}

long long LateCpufreq::hardware_max(const std::string& folder) {
  const long long max = number(folder + "/cpuinfo_max_freq", 0);
  const bool turbo = number("devices/system/cpu/intel_pstate/no_turbo", 0) == 0;
  return turbo ? max : std::min(max, number(folder + "/base_frequency", max));
}

LateCpufreq::Limits LateCpufreq::effective(const std::string& folder) {
  const long long lowest = number(folder + "/cpuinfo_min_freq", 0);
  const long long thermal = number(kMoving + folder + "/thermal_limit", 0);
  Limits limits;
  const long long highest = std::max(lowest, hardware_max(folder));
  limits.max = std::clamp(request(folder + "/scaling_max_freq"), lowest, highest);
  if (thermal > 0) {
    limits.max = std::min(limits.max, thermal);
  }
  limits.min =
      std::clamp(request(folder + "/scaling_min_freq"), std::min(lowest, limits.max), limits.max);
  return limits;
}

long long LateCpufreq::request(const std::string& limit) {
  const std::string kept = text(kMoving + limit);
  const std::vector<std::string_view> words = sysfs::parse_words(kept);
  if (words.size() != 3) {
    return 0;
  }
  const bool pending = now_ns_() < sysfs::parse_integer(words[2]).value_or(0);
  return sysfs::parse_integer(words[pending ? 0 : 1]).value_or(0);
}

int LateCpufreq::put_request(const std::string& limit, long long khz) {
  const std::string kept = text(kMoving + limit);
  const std::vector<std::string_view> words = sysfs::parse_words(kept);
  if (words.size() != 3) {
    return -EIO;
  }
  const std::int64_t now = now_ns_();
  std::int64_t due = sysfs::parse_integer(words[2]).value_or(0);
  const bool pending = now < due;
  const std::string before(words[pending ? 0 : 1]);
  if (!pending) {
    due = kernel_ == Kernel::queues ? now + delay_ns_ : now;
  }
  const sysfs::Result<sysfs::Done> written =
      sysfs::write_text(below_, kMoving + limit,
                        padded(before + " " + std::to_string(khz) + " " + std::to_string(due)));
  return written ? 0 : -written.failure().error;
}
