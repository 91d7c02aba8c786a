#include "machines/linux/fans/forced_fans.h"

#include <algorithm>
#include <utility>

#include "machines/linux/fans/permission.h"
#include "machines/linux/watch/fan_watch.h"

// An alarm may come while the program has given its privilege up, or gives it up in that moment. So
// a fan is always put back through the attributes that are open, whoever the user is. The ledger's
// line follows: giving it back opens the attributes anew and therefore needs the privilege; until
// that is there, it is owed.

namespace linux_machine {

using sysfs::Failure;
using sysfs::Result;
using sysfs::Trouble;

ForcedFans::ForcedFans(const Surroundings& surroundings, Ledger& ledger,
                       std::span<const FanChannel> channels,
                       std::vector<WatchedTemperature> temperatures)
    : surroundings_(surroundings),
      ledger_(ledger),
      channels_(channels),
      temperatures_(std::move(temperatures)),
      fans_(channels.size()) {}

std::uint16_t ForcedFans::bits() const {
  std::uint16_t bits = 0;
  for (std::size_t fan = 0; fan < fans_.size(); ++fan) {
    bits = static_cast<std::uint16_t>(bits | (fans_[fan].forced ? 1U << fan : 0));
  }
  return bits;
}

Failure ForcedFans::why_tripped() const {
  return {Trouble::given_back, "no fan is forced any more in this run: " + trip_reason_};
}

Result<sysfs::Done> ForcedFans::may_force(std::size_t fan) const {
  if (tripped_) {
    return why_tripped();
  }
  if (!channels_[fan].controllable()) {
    return Failure{Trouble::unsupported, channels_[fan].refusal};
  }
  return may_change(surroundings_, channels_[fan]);
}

Result<sysfs::Done> ForcedFans::begin() {
  Result<Done> begun = ledger_.begin();
  for (auto one = temperatures_.begin(); begun && one != temperatures_.end(); ++one) {
    begun = ledger_.watch(*one);
  }
  return begun;
}

Result<sysfs::Done> ForcedFans::take(std::size_t fan) {
  std::vector<std::string> noted;
  Result<TakenChannel> taken = TakenChannel::take(surroundings_, ledger_, channels_[fan], noted);
  if (!taken) {
    give_back_lines(noted, channels_[fan].enable());
    return taken.failure();
  }
  fans_[fan].forced = std::make_unique<ForcedFan>(std::move(*taken), surroundings_.now_ns());
  return tell_watch(fan);
}

Result<sysfs::Done> ForcedFans::tell_watch(std::size_t fan) {
  const ForcedFan& forced = *fans_[fan].forced;
  return ledger_.watch(WatchedFan{.attribute = forced.channel().input(),
                                  .slow = forced.channel().chip().slow,
                                  .turns_from_ns = forced.turns_from_ns()});
}

void ForcedFans::tell_unwatched() {
  if (temperatures_.empty() && !std::exchange(no_temperature_told_, true)) {
    surroundings_.report(
        "fans are forced, and no temperature of the processor is watched: none was found");
  }
}

void ForcedFans::tell_measurement(std::size_t fan) {
  if (!std::exchange(fans_[fan].measurement_told, true)) {
    surroundings_.report("measuring the maximum of " + channels_[fan].chip + " fan" +
                         std::to_string(channels_[fan].channel) +
                         ", up to 10 s; vorn-keys --calibrate avoids it");
  }
}

Result<double> ForcedFans::measure_maximum(std::size_t fan) {
  const auto measure_forced = [&] {
    tell_measurement(fan);
    return fans_[fan].forced->measure_maximum(surroundings_, [this] { return judge(); });
  };
  Result<double> maximum = fans_[fan].forced ? measure_forced() : measure_unforced(fan);
  if (!maximum) {
    trip_if_alarmed();
  }
  return maximum;
}

/// Whether a fan that is not forced may be measured; who watches knows of it.
Result<sysfs::Done> ForcedFans::take_hold_of_unforced(std::size_t fan) {
  Result<Done> may = may_force(fan);
  if (may) {
    may = ledger_.give_back_owed();
  }
  if (may) {
    may = begin();
  }
  if (may) {
    may = ledger_.watch(WatchedFan{.attribute = channels_[fan].input(),
                                   .slow = channels_[fan].kind().slow,
                                   .turns_from_ns = kMayStand});
  }
  return may;
}

Result<double> ForcedFans::measure_unforced(std::size_t fan) {
  if (const Result<Done> may = take_hold_of_unforced(fan); !may) {
    return may.failure();
  }
  tell_measurement(fan);
  std::vector<std::string> noted;
  Result<TakenChannel> taken = TakenChannel::take(surroundings_, ledger_, channels_[fan], noted);
  Result<double> maximum = taken ? speed_at_full(surroundings_, *taken, [this] { return judge(); })
                                 : Result<double>(taken.failure());
  if (taken) {
    give_back(*taken);
  } else {
    give_back_lines(noted, channels_[fan].enable());
  }
  if (maximum && ledger_.owes()) {
    const Result<Done> given_back = ledger_.give_back_owed();
    return given_back ? maximum : given_back.failure();
  }
  return maximum;
}

/// Whether a line is that of a forced fan too.
bool ForcedFans::is_shared(const std::string& line) const {
  return std::any_of(fans_.begin(), fans_.end(), [&](const One& fan) {
    if (!fan.forced) {
      return false;
    }
    const std::vector<std::string>& lines = fan.forced->channel().lines();
    return std::find(lines.begin(), lines.end(), line) != lines.end();
  });
}

/// Returns whether nothing of it is owed.
bool ForcedFans::give_back_lines(const std::vector<std::string>& lines,
                                 const std::string& attribute) {
  bool all = true;
  for (const std::string& line : lines) {
    all = (is_shared(line) || ledger_.give_back_or_owe(line, attribute)) && all;
  }
  return all;
}

bool ForcedFans::give_back(std::size_t fan) {
  const std::unique_ptr<ForcedFan> forced = std::move(fans_[fan].forced);
  return give_back(forced->channel());
}

bool ForcedFans::give_back(TakenChannel& channel) {
  ledger_.forget_fan(channel.input());
  if (alarm_ && alarm_->given_back) {
    return put_back_late_command(channel);
  }
  const std::vector<std::string>& lines = channel.lines();
  const bool needed = std::any_of(lines.begin(), lines.end(),
                                  [this](const std::string& line) { return is_shared(line); });
  const auto mode_switch = needed ? TakenChannel::Switch::leave : TakenChannel::Switch::put_back;
  channel.put_back(mode_switch);
  // A line that cannot be given back may have ended at full speed.
  return give_back_lines(lines, channel.enable()) || channel.put_back(mode_switch);
}

/// The guardian has given the fan back. A command that was under way when this process was stopped
/// comes after that; what stands as it was forced is ours still. Whatever else it is, is somebody
/// else's by now.
bool ForcedFans::put_back_late_command(TakenChannel& channel) {
  for (const std::string& line : channel.lines()) {
    ledger_.give_back(line);
  }
  return !channel.is_in_its_mode() || channel.put_back(TakenChannel::Switch::put_back);
}

/// Only finds out: it is asked in the middle of a measurement too, when the fans are not to be
/// touched by anyone else.
Result<sysfs::Done> ForcedFans::judge() {
  alarm_ = ledger_.alarm();
  return alarm_ ? Result<Done>(Failure{Trouble::given_back, alarm_->reason}) : Done{};
}

void ForcedFans::look_after() {
  judge();
  for (std::size_t fan = 0; fan < fans_.size() && !alarm_; ++fan) {
    const auto lost = fans_[fan].forced ? fans_[fan].forced->keep_mode(surroundings_.now_ns())
                                        : std::optional<std::string>();
    if (lost) {
      alarm_ = Ledger::Alarm{.reason = *lost, .given_back = false};
    }
  }
  trip_if_alarmed();
}

void ForcedFans::give_up(std::string reason) {
  alarm_ = Ledger::Alarm{.reason = std::move(reason), .given_back = false};
  trip_if_alarmed();
}

void ForcedFans::trip_if_alarmed() {
  if (!alarm_ || tripped_) {
    return;
  }
  trip_reason_ = alarm_->reason;
  tripped_ = true;
  std::string said = bits() != 0 ? "the fans are given back" : "no fan is forced";
  std::string lost;
  for (std::size_t fan = 0; fan < fans_.size(); ++fan) {
    if (fans_[fan].forced && !give_back(fan)) {
      lost += (lost.empty() ? "" : ", ") + channels_[fan].enable();
    }
  }
  if (!lost.empty()) {
    said = "no fan is forced any more, but this could not be put back: " + lost;
  }
  if (!alarm_->given_back || !lost.empty()) {  // else the guardian has said it
    surroundings_.report(said + ": " + trip_reason_);
  }
}

}  // namespace linux_machine
