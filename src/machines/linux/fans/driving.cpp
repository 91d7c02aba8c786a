#include <utility>

#include "machines/linux/fans/fan_control.h"

// How FanControl brings fans to their targets, and keeps them there.

namespace linux_machine {

using sysfs::Result;

Result<sysfs::Done> FanControl::force_all(std::uint16_t bits) {
  std::vector<std::size_t> wanted;
  for (std::size_t i = 0; i < fans_.size(); ++i) {
    if (((unsigned{bits} >> i) & 1U) != 0) {
      wanted.push_back(i);
    }
  }
  for (const std::size_t fan : wanted) {
    if (Result<Done> may = forced_.may_force(fan); !may) {
      return may;
    }
  }
  if (Result<Done> begun = forced_.begin(); !begun) {
    return begun;
  }
  for (const std::size_t fan : wanted) {
    if (Result<Done> done = force(fan); !done) {
      for (const std::size_t other : wanted) {
        if (forced_.at(other) != nullptr) {
          forced_.give_back(other);
        }
      }
      return done;
    }
  }
  forced_.tell_unwatched();
  if (rounds_) {
    rounds_->begin();
  }
  return Done{};
}

Result<sysfs::Done> FanControl::force(std::size_t fan) {
  if (const std::string complaint = fans_[fan].range.complaint(); !complaint.empty()) {
    surroundings_.report(complaint);
  }
  Result<Done> taken = forced_.take(fan);
  return taken && fans_[fan].target ? apply_target(fan) : taken;
}

Result<sysfs::Done> FanControl::apply_target(std::size_t fan) {
  Result<Done> driven = drive(fan);
  if (forced_.at(fan) != nullptr) {  // a measurement on the way may have ended in giving it back
    forced_.tell_watch(fan);
  }
  return driven;
}

Result<sysfs::Done> FanControl::drive(std::size_t fan) {
  const double target = *fans_[fan].target;
  const FanRange& range = fans_[fan].range;
  ForcedFan& forced = *forced_.at(fan);
  if (forced.heads_for(target)) {
    return Done{};
  }
  if (!range.is_below_curve(target) && forced.drive_by_chip(target, surroundings_.now_ns())) {
    return Done{};
  }
  if (!range.greatest_rpm()) {
    if (const Result<double> maximum = measured_maximum(fan); !maximum) {
      return maximum.failure();
    }
  }
  return forced.drive_by_pwm(target, range.curve(), surroundings_.now_ns());
}

Result<double> FanControl::measured_maximum(std::size_t fan) {
  Result<double> maximum = forced_.measure_maximum(fan);
  if (maximum) {
    fans_[fan].range.set_measured(*maximum);
  }
  return maximum;
}

void FanControl::watch() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (ledger_.is_to_try_again()) {
    ledger_.try_again();
  }
  if (forced_.bits() != 0) {
    forced_.look_after();
    correct_speeds();
  }
}

/// All are read before any is changed.
void FanControl::correct_speeds() {
  std::vector<std::optional<double>> speeds(fans_.size());
  for (std::size_t fan = 0; fan < fans_.size(); ++fan) {
    ForcedFan* const forced = forced_.at(fan);
    if (forced != nullptr && forced->read_is_due(surroundings_.now_ns())) {
      const Result<double> rpm = forced->read(surroundings_.now_ns());
      speeds[fan] = rpm ? std::optional<double>(*rpm) : std::nullopt;
    }
  }
  for (std::size_t fan = 0; fan < fans_.size(); ++fan) {
    if (forced_.at(fan) != nullptr) {
      correct(fan, speeds[fan]);
    }
  }
}

/// A command that fails is given again in the next round; a fan that stands meanwhile is seen.
void FanControl::correct(std::size_t fan, const std::optional<double>& rpm) {
  ForcedFan& forced = *forced_.at(fan);
  const double greatest = fans_[fan].range.followed_to_rpm();
  if (rpm && forced.chip_misses_target(*rpm, greatest, surroundings_.now_ns())) {
    forced.give_up_chip();
    apply_target(fan);
    return;
  }
  forced.correct(rpm, surroundings_.now_ns());
}

}  // namespace linux_machine
