#include "support/machine/moving_energy.h"

#include <algorithm>
#include <cstring>

#include "machines/linux/sysfs/attribute.h"
#include "machines/linux/sysfs/parse.h"

int MovingEnergy::open(const char* path, sysfs::Mode mode) {
  constexpr std::string_view kCounter = "/energy_uj";
  const int handle = below_.open(path, mode);
  const std::string_view name = path;
  if (handle >= 0 && name.ends_with(kCounter)) {
    const std::string zone(name.substr(0, name.size() - kCounter.size()));
    const auto range = sysfs::read_integer(below_, zone + "/max_energy_range_uj");
    const std::lock_guard<std::mutex> lock(mutex_);
    range_uj_[handle] = range ? *range : 0;
  }
  return handle;
}

ssize_t MovingEnergy::read(int handle, std::span<char> text) {
  const ssize_t got = below_.read(handle, text);
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto counter = range_uj_.find(handle);
  if (got < 0 || counter == range_uj_.end()) {
    return got;
  }
  const auto begun = sysfs::parse_integer({text.data(), static_cast<std::size_t>(got)});
  const double passed_us = static_cast<double>(now_ns_() - began_ns_) / 1000.0;
  long long energy_uj = begun.value_or(0) + static_cast<long long>(power_w_ * passed_us);
  if (counter->second > 0) {
    energy_uj %= counter->second + 1;
  }
  const std::string line = std::to_string(energy_uj) + "\n";
  const std::size_t length = std::min(line.size(), text.size());
  std::memcpy(text.data(), line.data(), length);
  return static_cast<ssize_t>(length);
}

void MovingEnergy::close(int handle) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    range_uj_.erase(handle);
  }
  below_.close(handle);
}
