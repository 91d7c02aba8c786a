#include "machines/linux/fans/fan_control.h"

#include <cmath>
#include <system_error>
#include <utility>

#include "machines/linux/fans/curve_file.h"

namespace linux_machine {
namespace {

using sysfs::Failure;
using sysfs::Result;
using sysfs::Trouble;

std::uint16_t bit_of(std::size_t fan) {
  return static_cast<std::uint16_t>(1U << fan);
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
      channels_(find_channels(surroundings)),
      forced_(surroundings, ledger, channels_, std::move(temperatures)) {
  for (const FanChannel& channel : channels_) {
    fans_.push_back({.range = FanRange(surroundings, channel), .target = {}, .input = {}});
  }
  if (watching == Watching::by_thread) {
    rounds_.emplace(Rounds::Work{.needed = [this] { return has_to_watch(); },
                                 .round = [this] { watch(); },
                                 .refused = [this](int error) { refuse_to_watch(error); }});
  }
}

std::uint16_t FanControl::force_bits() const {
  const std::lock_guard lock(mutex_);
  return forced_.bits();
}

Result<sysfs::Done> FanControl::set_force_bits(std::uint16_t bits) {
  Result<Done> changed = change_force_bits(bits);
  if (rounds_) {
    rounds_->join_ended();
  }
  return changed;
}

Result<sysfs::Done> FanControl::change_force_bits(std::uint16_t bits) {
  const std::lock_guard lock(mutex_);
  const bool privileged = surroundings_.effective_user() == 0;
  if (bits == forced_.bits() && (!ledger_.owes() || !privileged)) {
    return Done{};
  }
  const auto forced_anew = static_cast<std::uint16_t>(bits & ~forced_.bits());
  if (forced_anew != 0 && tripped()) {
    return forced_.why_tripped();
  }
  if (!privileged) {
    return Failure{Trouble::refused, "forcing fans needs the superuser"};
  }
  if (unsigned{bits} >> fans_.size() != 0) {
    return Failure{Trouble::bad_value,
                   "this machine has " + std::to_string(fans_.size()) + " fans to force"};
  }
  Result<Done> nothing_owed = ledger_.give_back_owed();
  if (forced_anew != 0 && !nothing_owed) {
    return nothing_owed;  // what is not as it was must not be taken for the original
  }
  if (forced_anew != 0) {
    Result<Done> forced = force_all(forced_anew);
    if (!forced) {
      return forced;
    }
  }
  for (std::size_t i = 0; i < fans_.size(); ++i) {
    if (forced_.at(i) != nullptr && (bits & bit_of(i)) == 0) {
      forced_.give_back(i);
      nothing_owed = Done{};
    }
  }
  return !ledger_.owes() || !nothing_owed ? nothing_owed : ledger_.give_back_owed();
}

Result<double> FanControl::target_rpm(std::size_t fan) {
  const std::lock_guard lock(mutex_);
  Fan& one = fans_[fan];
  if (one.target) {
    return *one.target;
  }
  if (!one.input) {
    Result<sysfs::Attribute> opened =
        sysfs::Attribute::open(surroundings_.sys, channels_[fan].input(), sysfs::Mode::read);
    if (!opened) {
      return opened.failure();
    }
    one.input = std::move(*opened);
  }
  const Result<long long> value = one.input->read_integer();
  return value ? speed_said(one.input->path(), *value) : value.failure();
}

Result<sysfs::Done> FanControl::set_target_rpm(std::size_t fan, double rpm) {
  const std::lock_guard lock(mutex_);
  if (!std::isfinite(rpm) || rpm < 0) {
    return Failure{Trouble::bad_value, channels_[fan].input() + ": no fan has this speed"};
  }
  fans_[fan].target = rpm;
  return forced_.at(fan) != nullptr ? apply_target(fan) : Done{};
}

bool FanControl::has_maximum(std::size_t fan) const {
  const std::lock_guard lock(mutex_);
  return fans_[fan].range.greatest_rpm() || channels_[fan].controllable();
}

bool FanControl::maximum_is_measured_on_demand(std::size_t fan) const {
  const std::lock_guard lock(mutex_);
  return !fans_[fan].range.greatest_rpm() && channels_[fan].controllable();
}

Result<double> FanControl::maximum_rpm(std::size_t fan) {
  const std::lock_guard lock(mutex_);
  const std::optional<double> known = fans_[fan].range.greatest_rpm();
  return known ? Result<double>(*known) : measured_maximum(fan);
}

std::optional<double> FanControl::minimum_rpm(std::size_t fan) const {
  const std::lock_guard lock(mutex_);
  return fans_[fan].range.lowest_rpm();
}

bool FanControl::has_to_watch() const {
  const std::lock_guard lock(mutex_);
  return forced_.bits() != 0 || ledger_.is_to_try_again();
}

/// Nobody must watch with a privilege that nobody gave him, nor may fans be forced unwatched.
void FanControl::refuse_to_watch(int error) {
  const std::lock_guard lock(mutex_);
  forced_.give_up("their watch cannot give up its privilege: " +
                  std::generic_category().message(error));
}

}  // namespace linux_machine
