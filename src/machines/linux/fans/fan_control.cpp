#include "machines/linux/fans/fan_control.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <utility>

#include "machines/linux/fans/curve_file.h"
#include "machines/linux/fans/daemons.h"

namespace linux_machine {
namespace {

using sysfs::Result;
using sysfs::Trouble;

using Lock = std::lock_guard<std::mutex>;

std::uint16_t bit_of(std::size_t fan) {
  return static_cast<std::uint16_t>(1U << fan);
}

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

std::vector<FanChannel> find_channels(const Surroundings& surroundings) {
  const KnownOfFans known = known_of_fans(surroundings.curves_folder);
  if (!known.wrong.empty()) {
    surroundings.report(known.wrong);
  }
  return find_fans(surroundings.sys, known);
}

}  // namespace

FanControl::FanControl(const Surroundings& surroundings, Ledger& ledger,
                       std::vector<WatchedTemperature> temperatures, Watching watching)
    : surroundings_(surroundings),
      ledger_(ledger),
      watching_(watching),
      channels_(find_channels(surroundings)),
      temperatures_(std::move(temperatures)) {
  for (const FanChannel& channel : channels_) {
    Fan fan{};
    fan.channel = &channel;
    fan.least = real_limit(surroundings.sys, channel, channel.lowest());
    fan.most = real_limit(surroundings.sys, channel, channel.greatest());
    auto curve = load_curve(surroundings.curves_folder, channel);
    if (curve) {
      fan.curve = *curve;
    } else {
      fan.no_curve = curve.failure().message;
    }
    fans_.push_back(std::move(fan));
  }
}

FanControl::~FanControl() {
  {
    const Lock lock(mutex_);
    ends_ = true;
    changed_.notify_all();
  }
  if (thread_.joinable()) {
    thread_.join();
  }
}

std::uint16_t FanControl::bits_now() const {
  std::uint16_t bits = 0;
  for (std::size_t i = 0; i < fans_.size(); ++i) {
    bits = static_cast<std::uint16_t>(bits | (fans_[i].forced ? bit_of(i) : 0));
  }
  return bits;
}

std::uint16_t FanControl::force_bits() const {
  const Lock lock(mutex_);
  return bits_now();
}

Result<sysfs::Done> FanControl::set_force_bits(std::uint16_t bits) {
  Result<Done> changed = change_force_bits(bits);
  join_ended_watch();
  return changed;
}

Result<sysfs::Done> FanControl::change_force_bits(std::uint16_t bits) {
  const Lock lock(mutex_);
  const bool privileged = surroundings_.effective_user() == 0;
  if (bits == bits_now() && (owed_.empty() || !privileged)) {
    return Done{};
  }
  const auto forced_anew = static_cast<std::uint16_t>(bits & ~bits_now());
  if (forced_anew != 0 && tripped_) {
    return canceled();
  }
  if (!privileged) {
    return Failure{Trouble::refused, "forcing fans needs the superuser"};
  }
  if (unsigned{bits} >> fans_.size() != 0) {
    return Failure{Trouble::bad_value,
                   "this machine has " + std::to_string(fans_.size()) + " fans to force"};
  }
  Result<Done> paid = pay_owed();
  if (forced_anew != 0 && !paid) {
    return paid;  // what is not as it was must not be taken for the original
  }
  if (forced_anew != 0) {
    Result<Done> forced = force_all(forced_anew);
    if (!forced) {
      return forced;
    }
  }
  for (std::size_t i = 0; i < fans_.size(); ++i) {
    if (fans_[i].forced && (bits & bit_of(i)) == 0) {
      give_back(fans_[i]);
      paid = Done{};
    }
  }
  changed_.notify_all();
  return owed_.empty() || !paid ? paid : pay_owed();
}

Result<double> FanControl::target_rpm(std::size_t fan) {
  const Lock lock(mutex_);
  Fan& one = fans_[fan];
  if (one.target) {
    return *one.target;
  }
  if (!one.input) {
    Result<sysfs::Attribute> opened =
        sysfs::Attribute::open(surroundings_.sys, one.channel->input(), sysfs::Mode::read);
    if (!opened) {
      return opened.failure();
    }
    one.input = std::move(*opened);
  }
  const Result<long long> value = one.input->read_integer();
  return value ? speed_said(one.input->path(), *value) : value.failure();
}

Result<sysfs::Done> FanControl::set_target_rpm(std::size_t fan, double rpm) {
  const Lock lock(mutex_);
  if (!std::isfinite(rpm) || rpm < 0) {
    return Failure{Trouble::bad_value, channels_[fan].input() + ": no fan has this speed"};
  }
  fans_[fan].target = rpm;
  return fans_[fan].forced ? apply_target(fans_[fan]) : Done{};
}

bool FanControl::has_maximum(std::size_t fan) const {
  const Lock lock(mutex_);
  return fans_[fan].most || fans_[fan].curve || channels_[fan].controllable();
}

bool FanControl::maximum_is_measured_on_demand(std::size_t fan) const {
  const Lock lock(mutex_);
  return !fans_[fan].most && !fans_[fan].curve && channels_[fan].controllable();
}

Result<double> FanControl::maximum_rpm(std::size_t fan) {
  const Lock lock(mutex_);
  if (fans_[fan].most) {
    return *fans_[fan].most;
  }
  return fans_[fan].curve ? fans_[fan].curve->greatest_rpm() : measured_maximum(fans_[fan]);
}

std::optional<double> FanControl::minimum_rpm(std::size_t fan) const {
  const Lock lock(mutex_);
  if (fans_[fan].least || !fans_[fan].curve) {
    return fans_[fan].least;
  }
  return fans_[fan].curve->lowest_rpm();
}

}  // namespace linux_machine
