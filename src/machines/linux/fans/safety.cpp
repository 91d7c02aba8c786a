#include "machines/linux/fans/safety.h"

#include <cmath>

namespace linux_machine {
namespace {

// Sensors that are off, or not there, read -44, 0, 127 and 255.
constexpr double kLeastC = 1;
constexpr double kMostC = 125;

std::string in_degrees(double celsius) {
  return std::to_string(std::lround(celsius)) + " degrees";
}

}  // namespace

sysfs::Result<double> celsius_said(const std::string& path, long long millidegrees) {
  const double celsius = static_cast<double>(millidegrees) / 1000;
  if (celsius < kLeastC || celsius > kMostC) {
    return sysfs::nonsense(path, in_degrees(celsius) + " is no processor's temperature");
  }
  return celsius;
}

std::optional<std::string> Safety::judge_read(const std::string& attribute,
                                              const sysfs::Result<double>& read) {
  int& failed = failed_[attribute];
  failed = read ? 0 : failed + 1;
  if (failed < kFailedReads) {
    return std::nullopt;
  }
  return read.failure().message + ", " + std::to_string(failed) + " times in a row";
}

std::optional<std::string> Safety::judge(std::span<const TemperatureReading> temperatures,
                                         std::span<const FanReading> fans) {
  for (const auto& [watched, celsius] : temperatures) {
    if (celsius && *celsius >= watched.critical_c - kMarginC) {
      return watched.attribute + " reads " + in_degrees(*celsius) + ", and " +
             in_degrees(watched.critical_c) + " are critical";
    }
    if (auto reason = judge_read(watched.attribute, celsius)) {
      return reason;
    }
  }
  for (const FanReading& fan : fans) {
    if (auto reason = judge_read(fan.attribute, fan.rpm)) {
      return reason;
    }
    if (!fan.rpm) {
      continue;
    }
    int& at_rest = at_rest_[fan.attribute];
    at_rest = fan.should_turn && *fan.rpm <= 0 ? at_rest + 1 : 0;
    if (at_rest >= kReadsAtRest) {
      return fan.attribute + " reads 0 RPM, and the fan should turn";
    }
  }
  return std::nullopt;
}

void Safety::begin_anew() {
  failed_.clear();
  at_rest_.clear();
}

sysfs::Result<sysfs::Done> Thermometers::open(sysfs::Tree& tree) {
  std::vector<sysfs::Attribute> opened;
  if (!attributes_.empty()) {
    return sysfs::Done{};
  }
  for (const WatchedTemperature& one : watched_) {
    sysfs::Result<sysfs::Attribute> attribute =
        sysfs::Attribute::open(tree, one.attribute, sysfs::Mode::read);
    if (!attribute) {
      return attribute.failure();
    }
    opened.push_back(std::move(*attribute));
  }
  attributes_ = std::move(opened);
  return sysfs::Done{};
}

std::vector<TemperatureReading> Thermometers::read() {
  std::vector<TemperatureReading> readings;
  for (std::size_t i = 0; i < attributes_.size(); ++i) {
    const sysfs::Result<long long> value = attributes_[i].read_integer();
    readings.push_back({watched_[i], value ? celsius_said(watched_[i].attribute, *value)
                                           : sysfs::Result<double>(value.failure())});
  }
  return readings;
}

}  // namespace linux_machine
