#include "machines/linux/fans/taken_channel.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <utility>

#include "machines/linux/fans/curve.h"
#include "machines/linux/giving_back/journal.h"

namespace linux_machine {
namespace {

using sysfs::Attribute;
using sysfs::Done;
using sysfs::Mode;
using sysfs::Result;

constexpr double kTargetTolerance = 0.10;  // chips count in tachometer periods, and round

constexpr int kUnreadableAutomatic = 2;  // where the mode cannot be read, firmware calls itself so

}  // namespace

TakenChannel::TakenChannel(const Chip& chip, Before before, std::vector<std::string> lines,
                           Attribute input, Attribute enable)
    : chip_(&chip),
      before_(before),
      lines_(std::move(lines)),
      input_(std::move(input)),
      enable_(std::move(enable)) {}

Result<TakenChannel::Before> TakenChannel::read_before(sysfs::Tree& tree, const FanChannel& fan) {
  Before before;
  if (!fan.shares_switch) {
    const Result<long long> enable = sysfs::read_integer(tree, fan.enable());
    if (!enable) {
      return enable.failure();
    }
    before.enable = *enable;
  }
  const Result<long long> pwm = sysfs::read_integer(tree, fan.pwm());
  const bool manual = before.enable == fan.kind().manual_mode;
  if (pwm && (*pwm < 0 || *pwm > kFullPwm)) {
    return sysfs::nonsense(fan.pwm(), std::to_string(*pwm) + " is no pwm");
  }
  if (pwm) {
    before.pwm = *pwm;
  } else if (pwm.failure().error != ENODATA || !before.enable || manual) {
    return pwm.failure();  // some have none to show while they are automatic
  }
  if (fan.kind().target_mode && sysfs::exists(tree, fan.target())) {
    const Result<long long> target = sysfs::read_integer(tree, fan.target());
    if (target) {
      before.target = *target;  // one that cannot be read could not be put back: it is not used
    }
  }
  return before;
}

Result<TakenChannel> TakenChannel::open(sysfs::Tree& tree, const FanChannel& fan, Before before,
                                        std::vector<std::string> lines) {
  Result<Attribute> input = Attribute::open(tree, fan.input(), Mode::read);
  if (!input) {
    return input.failure();
  }
  Result<Attribute> enable = Attribute::open(tree, fan.enable(), Mode::write);
  if (!enable) {
    return enable.failure();
  }
  TakenChannel taken(fan.kind(), before, std::move(lines), std::move(*input), std::move(*enable));
  if (before.enable) {
    Result<Attribute> mode = Attribute::open(tree, fan.enable(), Mode::read);
    if (!mode) {
      return mode.failure();
    }
    taken.mode_ = std::move(*mode);
  }
  if (before.target) {
    Result<Attribute> target = Attribute::open(tree, fan.target(), Mode::write);
    Result<Attribute> target_read = Attribute::open(tree, fan.target(), Mode::read);
    if (target && target_read) {
      taken.target_ = std::move(*target);
      taken.target_read_ = std::move(*target_read);
    }
  }
  return taken;
}

Result<TakenChannel> TakenChannel::take(const Surroundings& surroundings, Ledger& ledger,
                                        const FanChannel& fan, std::vector<std::string>& noted) {
  const Result<Done> begun = ledger.begin();
  if (!begun) {
    return begun.failure();
  }
  const Result<Before> before = read_before(surroundings.sys, fan);
  if (!before) {
    return before.failure();
  }
  std::vector<std::string> lines;
  const bool full = fan.kind().zero_is_full_speed;
  FanState state{.folder = fan.folder,
                 .channel = fan.channel,
                 .chip = fan.chip,
                 .target = before->target,
                 .pwm = before->pwm,
                 .enable = before->enable,
                 .zero_is_full_speed = full,
                 .forced_modes = {fan.kind().manual_mode}};
  if (before->target) {
    state.forced_modes.push_back(*fan.kind().target_mode);
  }
  lines.push_back(fan_line(state));
  if (fan.shares_switch) {
    const FanState all{.folder = fan.folder,
                       .channel = 1,
                       .chip = fan.chip,
                       .target = {},
                       .pwm = {},
                       .enable = {},
                       .enable_unreadable = true,
                       .zero_is_full_speed = full};
    lines.push_back(fan_line(all));
  }
  Result<TakenChannel> taken = open(surroundings.sys, fan, *before, lines);
  if (!taken) {
    return taken;
  }
  for (const std::string& line : lines) {
    const Result<Done> kept = ledger.note(line);
    if (!kept) {
      return kept.failure();
    }
    noted.push_back(line);
  }
  const Result<Done> held = taken->hold_as_it_is(surroundings.sys, fan.pwm());
  return held ? std::move(taken) : Result<TakenChannel>(held.failure());
}

Result<Done> TakenChannel::hold_as_it_is(sysfs::Tree& tree, const std::string& pwm_path) {
  if (before_.enable != chip_->manual_mode) {
    Result<Done> entered = enter(chip_->manual_mode);
    if (!entered) {
      return entered;
    }
  }
  // The mode first: in an automatic one a pwm is refused, or taken and ignored; and some drivers
  // let nobody open it for writing.
  Result<Attribute> pwm = Attribute::open(tree, pwm_path, Mode::write);
  if (!pwm) {
    return pwm.failure();
  }
  pwm_attribute_ = std::move(*pwm);
  const bool stood_by_mode = before_.enable == 0 && chip_->manual_mode != 0;
  if (stood_by_mode) {
    pwm_ = chip_->zero_is_full_speed ? kFullPwm : 0;
  } else if (before_.pwm) {
    pwm_ = static_cast<int>(*before_.pwm);
  } else {
    const Result<long long> shown = sysfs::read_integer(tree, pwm_path);
    const bool usable = shown && *shown > 0 && *shown <= kFullPwm;
    pwm_ = usable ? static_cast<int>(*shown) : kFullPwm;
  }
  return pwm_attribute_->write(pwm_);
}

Result<Done> TakenChannel::enter(int mode) {
  Result<Done> written = enable_.write(mode);
  if (!written || !mode_) {
    return written;
  }
  const Result<long long> shown = mode_->read_integer();
  if (!shown) {
    return shown.failure();
  }
  if (!is_mode(*chip_, *shown, mode)) {
    return sysfs::nonsense(mode_->path(), "it was set to " + std::to_string(mode) + " and is " +
                                              std::to_string(*shown));
  }
  return Done{};
}

Result<double> TakenChannel::speed_rpm() {
  const Result<long long> value = input_.read_integer();
  return value ? speed_said(input_.path(), *value) : value.failure();
}

Result<Done> TakenChannel::set_pwm(int pwm) {
  if (holds_target_ && chip_->target_mode != chip_->manual_mode) {
    Result<Done> entered = enter(chip_->manual_mode);
    if (!entered) {
      return entered;
    }
  }
  holds_target_ = false;
  Result<Done> written = pwm_attribute_->write(pwm);
  if (!written && !is_in_its_mode() && enter(chip_->manual_mode)) {
    written = pwm_attribute_->write(pwm);  // the firmware had taken the fan meanwhile
  }
  if (written) {
    pwm_ = pwm;
  }
  return written;
}

bool TakenChannel::hold_target(double rpm) {
  if (!has_target()) {
    return false;
  }
  const bool taken = [&] {
    if (!target_->write(std::llround(rpm))) {
      return false;
    }
    const Result<long long> shown = target_read_->read_integer();
    return shown && std::abs(static_cast<double>(*shown) - rpm) <= kTargetTolerance * rpm;
  }();
  if (taken && (holds_target_ || enter(*chip_->target_mode))) {
    holds_target_ = true;
    return true;
  }
  if (!holds_target_) {
    enter(chip_->manual_mode);  // if it fails, so does the pwm that comes instead of the target
  }
  give_up_target();
  return false;
}

bool TakenChannel::is_in_its_mode() {
  if (!mode_) {
    return true;
  }
  const Result<long long> shown = mode_->read_integer();
  const int wanted = holds_target_ ? *chip_->target_mode : chip_->manual_mode;
  return !shown || is_mode(*chip_, *shown, wanted);  // one that is not said is not known to differ
}

Result<Done> TakenChannel::enter_again(double target_rpm) {
  Result<Done> entered = enter(holds_target_ ? *chip_->target_mode : chip_->manual_mode);
  if (!entered) {
    return entered;
  }
  return holds_target_ ? target_->write(std::llround(target_rpm)) : pwm_attribute_->write(pwm_);
}

bool TakenChannel::put_back(Switch mode_switch) {
  if (before_.target && target_) {
    target_->write(*before_.target);
  }
  const Result<Done> pwm = before_.pwm ? set_pwm(static_cast<int>(*before_.pwm)) : Done{};
  if (mode_switch == Switch::leave) {
    return static_cast<bool>(pwm);
  }
  const long long mode = before_.enable.value_or(kUnreadableAutomatic);
  Result<Done> entered = mode == chip_->manual_mode ? pwm : enter(static_cast<int>(mode));
  if (!entered) {
    set_pwm(kFullPwm);
  }
  return static_cast<bool>(entered);
}

}  // namespace linux_machine
