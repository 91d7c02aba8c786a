#include "support/machine/moving_fans.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <sstream>

#include "machines/linux/sysfs/attribute.h"
#include "machines/linux/sysfs/parse.h"

// State is a file a fan: its speed in thousandths of RPM and the time of that. The speed at another
// time follows from it in closed form, so that it does not matter who asks how often. Modes and pwm
// values stand in the attributes themselves, but for a mode that cannot be read: it has a file
// beside the speed.

namespace {

using FansLock = std::lock_guard<std::mutex>;

constexpr double kLagS = 1;
constexpr double kStandstillRpm = 60;  // below it friction stops a fan that is not driven
constexpr double kBend = 0.85;         // fans turn faster at half pwm than half as fast

// A plain file keeps the end of a longer text when a shorter one is written over it.
constexpr std::size_t kPaddedTo = 48;

std::string padded_rpm(std::string_view text) {
  std::string whole(sysfs::trimmed(text));
  whole.resize(std::max(whole.size(), kPaddedTo), ' ');
  return whole + "\n";
}

std::string state_path(std::size_t fan, const char* what) {
  return "moving/fan" + std::to_string(fan) + "_" + what;
}

}  // namespace

double MovingFan::steady_rpm(int pwm) const {
  return most_rpm * std::pow(std::clamp(pwm, 0, 255) / 255.0, kBend);
}

MovingFans::MovingFans(sysfs::Tree& below, std::vector<MovingFan> fans, Clock now_ns)
    : below_(below), fans_(std::move(fans)), now_ns_(std::move(now_ns)) {}

std::string MovingFans::state_files(const std::vector<MovingFan>& fans) {
  std::ostringstream text;
  for (std::size_t i = 0; i < fans.size(); ++i) {
    text << "0666 " << state_path(i, "speed") << " = -1 0\n"
         << "0666 " << state_path(i, "mode") << " = 2\n";
  }
  return text.str();
}

std::string MovingFans::attribute(std::size_t fan, const std::string& name) const {
  return fans_[fan].folder + "/" + name;
}

MovingFans::Open MovingFans::role_of(const std::string& path) const {
  for (std::size_t i = 0; i < fans_.size(); ++i) {
    const std::string number = std::to_string(fans_[i].channel);
    if (path == attribute(i, "fan" + number + "_input")) {
      return {i, Role::input};
    }
    if (path == attribute(i, "pwm" + number)) {
      return {i, Role::pwm};
    }
    if (path == attribute(i, "pwm" + number + "_enable")) {
      return {i, Role::enable};
    }
  }
  return {};
}

long long MovingFans::number(const std::string& path, long long otherwise) {
  const sysfs::Result<long long> value = sysfs::read_integer(below_, path);
  return value ? *value : otherwise;
}

ssize_t MovingFans::put(const std::string& path, const std::string& text) {
  const sysfs::Result<sysfs::Done> written = sysfs::write_text(below_, path, padded_rpm(text));
  return written ? 0 : -written.failure().error;
}

int MovingFans::mode(std::size_t fan) {
  const std::string name = "pwm" + std::to_string(fans_[fan].channel) + "_enable";
  const auto hidden = static_cast<int>(number(state_path(fan, "mode"), 2));
  return static_cast<int>(number(attribute(fan, name), hidden));
}

int MovingFans::pwm(std::size_t fan) {
  if (mode(fan) > 1) {
    return fans_[fan].automatic_pwm;
  }
  const std::string name = "pwm" + std::to_string(fans_[fan].channel);
  return static_cast<int>(number(attribute(fan, name), 0));
}

double MovingFans::wanted_rpm(std::size_t fan, double now_rpm) {
  const MovingFan& one = fans_[fan];
  if (blocked_.count(fan) != 0) {
    return 0;
  }
  if (mode(fan) == one.target_mode && one.target_mode >= 0) {
    const std::string name = "fan" + std::to_string(one.channel) + "_target";
    const auto target = static_cast<double>(number(attribute(fan, name), 0));
    return std::clamp(target * one.target_factor, 0.0, one.most_rpm);
  }
  const int given = std::max(pwm(fan) / one.pwm_step * one.pwm_step, one.floor_pwm);
  const int least = now_rpm > 0 ? one.stops_below : one.starts_from;
  return given < least ? 0 : one.steady_rpm(given);
}

/// Lets the fan turn until now, at what it has been told. To be called before it is told anew.
double MovingFans::turn(std::size_t fan) {
  const sysfs::Result<std::string> state = sysfs::read_text(below_, state_path(fan, "speed"));
  const std::int64_t now = now_ns_();
  Speed speed{-1, now};
  if (state) {
    std::istringstream(*state) >> speed.rpm >> speed.at_ns;
    speed.rpm /= 1000;
  }
  if (speed.rpm < 0) {  // at the beginning it has long been turning
    speed.rpm = wanted_rpm(fan, 1);
  } else {
    const double wanted = wanted_rpm(fan, speed.rpm);
    const double passed_s = static_cast<double>(std::max<std::int64_t>(now - speed.at_ns, 0)) / 1e9;
    speed.rpm = wanted + (speed.rpm - wanted) * std::exp(-passed_s / kLagS);
    if (wanted <= 0 && speed.rpm < kStandstillRpm) {
      speed.rpm = 0;
    }
  }
  put(state_path(fan, "speed"),
      std::to_string(std::llround(speed.rpm * 1000)) + " " + std::to_string(now));
  return speed.rpm;
}

std::optional<std::string> MovingFans::answer(const Open& open) {
  switch (open.role) {
    case Role::input:
      return std::to_string(std::llround(turn(open.fan)));
    case Role::pwm:
      return std::to_string(pwm(open.fan));
    case Role::enable: {
      const int shown = mode(open.fan);
      const bool full = fans_[open.fan].full_reads_as_zero && shown == 1 && pwm(open.fan) == 255;
      return std::to_string(full ? 0 : shown);
    }
    case Role::other:
      break;
  }
  return std::nullopt;
}

ssize_t MovingFans::write_pwm(std::size_t fan, long long value) {
  if (value < 0 || value > 255) {
    return -EINVAL;
  }
  if (mode(fan) > 1) {
    return fans_[fan].in_automatic == MovingFan::InAutomatic::refuses_pwm ? -EBUSY : 0;
  }
  turn(fan);
  return put(attribute(fan, "pwm" + std::to_string(fans_[fan].channel)), std::to_string(value));
}

ssize_t MovingFans::write_mode(std::size_t fan, long long value) {
  const auto refused = refused_modes_.find({fan, value});
  if (refused != refused_modes_.end()) {
    return refused->second;
  }
  if (fans_[fan].modes.count(static_cast<int>(value)) == 0) {
    return -EINVAL;
  }
  turn(fan);
  const std::string pwm_name = "pwm" + std::to_string(fans_[fan].channel);
  if (mode(fan) > 1 && fans_[fan].goes_on_in_manual) {
    put(attribute(fan, pwm_name), std::to_string(fans_[fan].automatic_pwm));
  }
  if (value == 0) {
    put(attribute(fan, pwm_name), "255");
  }
  put(state_path(fan, "mode"), std::to_string(value));
  return put(attribute(fan, pwm_name + "_enable"), std::to_string(value));
}

int MovingFans::open(const char* path, sysfs::Mode mode) {
  const FansLock lock(mutex_);
  const int handle = below_.open(path, mode);
  if (handle >= 0) {
    open_[handle] = role_of(below_.real_path(path));
  }
  return handle;
}

ssize_t MovingFans::read(int handle, std::span<char> text) {
  const FansLock lock(mutex_);
  const ssize_t got = below_.read(handle, text);
  if (got < 0) {
    return got;  // what cannot be read below cannot be read here
  }
  const std::optional<std::string> moving = answer(open_[handle]);
  if (!moving) {
    return got;
  }
  const std::string line = *moving + "\n";
  const std::size_t length = std::min(line.size(), text.size());
  std::memcpy(text.data(), line.data(), length);
  return static_cast<ssize_t>(length);
}

ssize_t MovingFans::write(int handle, std::string_view text) {
  const FansLock lock(mutex_);
  const Open open = open_[handle];
  if (open.role != Role::pwm && open.role != Role::enable) {
    for (std::size_t i = 0; i < fans_.size(); ++i) {
      turn(i);  // it may be a target
    }
    const ssize_t written = below_.write(handle, padded_rpm(text));
    return written < 0 ? written : static_cast<ssize_t>(text.size());
  }
  const std::optional<long long> value = sysfs::parse_integer(text);
  if (!value) {
    return -EINVAL;
  }
  const ssize_t refused =
      open.role == Role::pwm ? write_pwm(open.fan, *value) : write_mode(open.fan, *value);
  return refused < 0 ? refused : static_cast<ssize_t>(text.size());
}

void MovingFans::close(int handle) {
  const FansLock lock(mutex_);
  open_.erase(handle);
  below_.close(handle);
}

int MovingFans::list(const char* folder, std::vector<std::string>& names) {
  return below_.list(folder, names);
}

std::string MovingFans::real_path(const char* path) {
  return below_.real_path(path);
}

void MovingFans::block(std::size_t fan, bool blocked) {
  const FansLock lock(mutex_);
  turn(fan);
  blocked_.erase(fan);
  if (blocked) {
    blocked_.insert(fan);
  }
}

void MovingFans::refuse_mode(std::size_t fan, int mode, int error) {
  const FansLock lock(mutex_);
  refused_modes_.erase({fan, mode});
  if (error != 0) {
    refused_modes_[{fan, mode}] = -error;
  }
}
