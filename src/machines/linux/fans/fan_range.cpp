#include "machines/linux/fans/fan_range.h"

#include <utility>

#include "machines/linux/fans/curve_file.h"
#include "machines/linux/sysfs/attribute.h"

namespace linux_machine {
namespace {

using sysfs::Result;

/// A limit that the chip shows as the fan's own.
std::optional<double> real_limit(sysfs::Tree& tree, const FanChannel& fan,
                                 const std::string& attribute) {
  if (!fan.kind().real_range) {
    return std::nullopt;
  }
  const Result<long long> value = sysfs::read_integer(tree, attribute);
  return value && *value > 0 && *value <= kMostRpm
             ? std::optional<double>(static_cast<double>(*value))
             : std::nullopt;
}

}  // namespace

FanRange::FanRange(const Surroundings& surroundings, const FanChannel& channel)
    : lowest_(real_limit(surroundings.sys, channel, channel.lowest())),
      greatest_(real_limit(surroundings.sys, channel, channel.greatest())) {
  auto curve = load_curve(surroundings.curves_folder, channel);
  if (curve) {
    curve_ = *curve;
  } else {
    complaint_ = curve.failure().message;
  }
}

std::optional<double> FanRange::lowest_rpm() const {
  return lowest_ || !curve_ ? lowest_ : std::optional<double>(curve_->lowest_rpm());
}

std::optional<double> FanRange::greatest_rpm() const {
  return greatest_ || !curve_ ? greatest_ : std::optional<double>(curve_->greatest_rpm());
}

double FanRange::followed_to_rpm() const {
  return curve_ ? curve_->greatest_rpm() : greatest_.value_or(kMostRpm);
}

Curve FanRange::curve() const {
  return curve_ ? *curve_ : Curve::proportional(*greatest_);
}

std::string FanRange::complaint() {
  return std::exchange(complaint_, {});
}

}  // namespace linux_machine
