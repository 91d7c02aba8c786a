#include "machines/linux/watch/fan_watch.h"

#include <algorithm>
#include <cerrno>
#include <optional>

#include "machines/linux/sysfs/parse.h"

namespace linux_machine {
namespace {

constexpr int kTries = 3;  // where the kernel asks for it

// Speeds waver, and a fan held at its pwm is not slowed down.
constexpr double kAsFast = 0.9;

template <class Slots>
auto find(Slots& slots, std::string_view attribute) {
  return std::find_if(slots.begin(), slots.end(),
                      [&](const auto& one) { return one.input.is(attribute); });
}

template <class Slots>
auto find_free(Slots& slots) {
  return std::find_if(slots.begin(), slots.end(),
                      [](const auto& one) { return !one.input.used(); });
}

}  // namespace

void FanWatch::Input::open(sysfs::Tree& tree, std::string_view attribute) {
  path_.clear().add(attribute);
  handle_ = tree.open(path_.c_str(), sysfs::Mode::read);
}

void FanWatch::Input::close(sysfs::Tree& tree) {
  if (handle_ >= 0) {
    tree.close(handle_);
  }
  path_.clear();
}

bool FanWatch::Input::read(sysfs::Tree& tree, long long& value, LineText& failure) {
  if (handle_ < 0) {
    failure.add("opening ").add(path_.view()).add(": ").add_error(-handle_);
    return false;
  }
  std::array<char, 64> text;
  ssize_t got = -EINTR;
  for (int tries = 0; tries < kTries && (got == -EINTR || got == -EAGAIN); ++tries) {
    got = tree.read(handle_, text);
  }
  failure.add("reading ").add(path_.view()).add(": ");
  if (got < 0) {
    failure.add_error(static_cast<int>(-got));
    return false;
  }
  const std::string_view whole(text.data(), static_cast<std::size_t>(got));
  const std::optional<long long> number = sysfs::parse_integer(whole);
  if (!number) {
    failure.add(sysfs::trimmed(whole).empty() ? "it is empty" : "it is not a number");
    return false;
  }
  value = *number;
  return true;
}

bool FanWatch::watch_temperature(std::string_view attribute, double critical_c) {
  if (find(temperatures_, attribute) != temperatures_.end()) {
    return true;
  }
  const auto slot = find_free(temperatures_);
  if (slot == temperatures_.end() || attribute.size() > kLongestPath) {
    return false;
  }
  slot->critical_c = critical_c;
  slot->safety = {};
  slot->input.open(tree_, attribute);
  return true;
}

bool FanWatch::watch_fan(std::string_view attribute, Reads reads, std::int64_t turns_from_ns) {
  auto slot = find(fans_, attribute);
  if (slot == fans_.end()) {
    slot = find_free(fans_);
    if (slot == fans_.end() || attribute.size() > kLongestPath) {
      return false;
    }
    slot->safety = {};
    slot->read_ns = INT64_MIN / 2;
    slot->input.open(tree_, attribute);
    LineText failure;
    slot->rpm = read_rpm(*slot, failure);
    slot->found_rpm = slot->rpm;
  }
  slot->reads = reads;
  slot->turns_from_ns = turns_from_ns;
  return true;
}

void FanWatch::forget_fan(std::string_view attribute) {
  if (const auto slot = find(fans_, attribute); slot != fans_.end()) {
    slot->input.close(tree_);
  }
}

bool FanWatch::alarmed(Temperature& one, std::string_view cooling, LineText& why) {
  constexpr double kPerDegree = 1000;
  LineText failure;
  Reading celsius{.attribute = one.input.path(), .value = {}, .failure = {}};
  long long value = 0;
  if (one.input.read(tree_, value, failure)) {
    celsius.value = static_cast<double>(value) / kPerDegree;
    if (!is_processors_temperature(*celsius.value)) {
      add_no_temperature(failure, *celsius.value);
      celsius.value.reset();
    }
  }
  celsius.failure = failure.view();
  return one.safety.alarmed(celsius, one.critical_c, cooling, why);
}

std::optional<double> FanWatch::read_rpm(Fan& one, LineText& failure) {
  long long value = 0;
  if (!one.input.read(tree_, value, failure)) {
    return std::nullopt;
  }
  if (!is_fan_speed(value)) {
    failure.add("it is no speed of a fan");
    return std::nullopt;
  }
  return static_cast<double>(std::max(value, 0LL));
}

bool FanWatch::alarmed(Fan& one, std::int64_t now_ns, LineText& why) {
  if (one.reads == Reads::seldom && now_ns - one.read_ns < kSlowReadNs) {
    return false;
  }
  one.read_ns = now_ns;
  LineText failure;
  const std::optional<double> value = read_rpm(one, failure);
  const Reading rpm{.attribute = one.input.path(), .value = value, .failure = failure.view()};
  one.rpm = value ? value : one.rpm;
  one.found_rpm = one.found_rpm ? one.found_rpm : value;
  return one.safety.alarmed(rpm, now_ns >= one.turns_from_ns, why);
}

bool FanWatch::alarmed(std::int64_t now_ns, LineText& why) {
  const auto used = [](const auto& one) { return one.input.used(); };
  if (std::none_of(fans_.begin(), fans_.end(), used)) {
    return false;
  }
  if (std::any_of(fans_.begin(), fans_.end(),
                  [&](Fan& one) { return used(one) && alarmed(one, now_ns, why); })) {
    return true;
  }
  LineText cooling;
  judge_cooling(cooling);  // with the speeds of this round
  return std::any_of(temperatures_.begin(), temperatures_.end(), [&](Temperature& one) {
    return used(one) && alarmed(one, cooling.view(), why);
  });
}

void FanWatch::judge_cooling(LineText& text) const {
  for (const Fan& one : fans_) {
    if (!one.input.used() || !one.rpm || !one.found_rpm || !text.view().empty()) {
      continue;
    }
    if (*one.rpm <= 0) {
      text.add(one.input.path()).add(" stands still");
    } else if (*one.rpm < kAsFast * *one.found_rpm) {
      text.add(one.input.path()).add(" turns slower than it was found");
    }
  }
}

}  // namespace linux_machine
