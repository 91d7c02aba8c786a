#include "machines/linux/guardian/ledger.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <utility>

#include "machines/linux/giving_back/left_behind.h"
#include "machines/linux/giving_back/put_back.h"
#include "machines/linux/guardian/guardian.h"
#include "machines/linux/sysfs/attribute.h"
#include "machines/linux/watch/fan_watch.h"

namespace linux_machine {
namespace {

using sysfs::Done;
using sysfs::Failure;
using sysfs::Result;
using sysfs::Trouble;

std::string as_text(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += line + "\n";
  }
  return text;
}

Result<Done> cannot_be_watched(const std::string& attribute) {
  return Failure{Trouble::refused, attribute + ": its watch is not to be had"};
}

/// Gives back what an earlier run left changed. Whether there was something.
Result<bool> had_left_behind(const Surroundings& surroundings, const StateFile& state) {
  const Result<std::string> left = state.read();
  if (!left) {
    return left.failure();
  }
  if (left->find('\n') == std::string::npos) {
    return false;  // nothing, or a line that was cut off before anything was changed
  }
  if (!give_back_left_behind(surroundings, state)) {
    return Failure{Trouble::silent,
                   "what an earlier run left changed cannot be given back: see " + state.path()};
  }
  return true;
}

}  // namespace

/// What is held while the part is this run's. The guardian hears of the end before the lock is
/// given up.
class Ledger::Holding {
 public:
  Holding(const Surroundings& surroundings, StateFile state, std::unique_ptr<Guardian> guardian)
      : now_ns_(surroundings.now_ns), state_(std::move(state)), guardian_(std::move(guardian)) {
    if (!guardian_) {
      watch_ = std::make_unique<FanWatch>(surroundings.sys);
    }
  }

  const StateFile& state() const { return state_; }

  bool watch(const WatchedTemperature& one) {
    return guardian_ ? guardian_->watch_temperature(one.attribute, one.critical_c)
                     : watch_->watch_temperature(one.attribute, one.critical_c);
  }
  bool watch(const WatchedFan& fan) {
    using Reads = FanWatch::Reads;
    return guardian_
               ? guardian_->watch_fan(fan.attribute, fan.slow, fan.turns_from_ns)
               : watch_->watch_fan(fan.attribute, fan.slow ? Reads::seldom : Reads::each_round,
                                   fan.turns_from_ns);
  }
  void forget_fan(const std::string& attribute) {
    if (guardian_) {
      guardian_->forget_fan(attribute);
    } else {
      watch_->forget_fan(attribute);
    }
  }

  std::optional<Alarm> alarm() {
    if (state_.is_removed()) {
      return Alarm{.reason = "they have been taken over", .given_back = true};
    }
    if (guardian_) {
      const std::optional<Guardian::End> past = end();
      return past ? std::optional<Alarm>({past->reason, past->gave_back}) : std::nullopt;
    }
    LineText why;
    return watch_->alarmed(now_ns_(), why) ? std::optional<Alarm>({std::string(why.view()), false})
                                           : std::nullopt;
  }

  /// What the guardian has come to, if it does not stand behind this process any more.
  std::optional<Guardian::End> end() { return guardian_ ? guardian_->end() : std::nullopt; }

  /// Whether the part has been given back in this process's place.
  bool is_given_back() {
    const std::optional<Guardian::End> past = end();
    return state_.is_removed() || (past && past->gave_back);
  }

 private:
  const std::function<std::int64_t()>& now_ns_;
  StateFile state_;
  std::unique_ptr<Guardian> guardian_;
  std::unique_ptr<FanWatch> watch_;  ///< without a guardian
};

Ledger::Ledger(const Surroundings& surroundings, std::string part)
    : surroundings_(surroundings), part_(std::move(part)) {}

Ledger::~Ledger() = default;

Result<Done> Ledger::begin() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (holding_) {
    if (is_ours()) {
      return Done{};
    }
    return Failure{Trouble::given_back, "the " + part_ + " have been given back"};
  }
  Result<StateFile> state = StateFile::lock(surroundings_, part_);
  if (!state) {
    return state.failure();
  }
  const Result<bool> given_back = had_left_behind(surroundings_, *state);
  if (!given_back) {
    return given_back.failure();
  }
  if (*given_back) {
    surroundings_.report("an earlier run had left the " + part_ + " changed: given back first");
  }
  std::unique_ptr<Guardian> guardian;
  if (surroundings_.guarded) {
    Result<std::unique_ptr<Guardian>> started = Guardian::start(surroundings_, part_, *state);
    if (!started) {
      return started.failure();
    }
    guardian = std::move(*started);
  }
  holding_ = std::make_unique<Holding>(surroundings_, std::move(*state), std::move(guardian));
  return Done{};
}

bool Ledger::is_ours() {
  return holding_ && !holding_->is_given_back();
}

bool Ledger::holds() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return holding_ && !holding_->end();
}

Result<Done> Ledger::watch(const WatchedTemperature& temperature) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (const auto opened =
          sysfs::Attribute::open(surroundings_.sys, temperature.attribute, sysfs::Mode::read);
      !opened) {
    return opened.failure();
  }
  return holding_->watch(temperature) ? Done{} : cannot_be_watched(temperature.attribute);
}

Result<Done> Ledger::watch(const WatchedFan& fan) {
  const std::lock_guard<std::mutex> lock(mutex_);
  return holding_->watch(fan) ? Done{} : cannot_be_watched(fan.attribute);
}

void Ledger::forget_fan(const std::string& attribute) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (holding_) {
    holding_->forget_fan(attribute);
  }
}

std::optional<Ledger::Alarm> Ledger::alarm() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return holding_ ? holding_->alarm() : std::nullopt;
}

Result<Done> Ledger::note(const std::string& line) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (std::find(lines_.begin(), lines_.end(), line) != lines_.end()) {
    return Done{};
  }
  Result<Done> written = holding_->state().append(line + "\n");
  if (written) {
    lines_.push_back(line);
  }
  return written;
}

bool Ledger::give_back(const std::string& line) {
  const std::lock_guard<std::mutex> lock(mutex_);
  return give_back_one(line);
}

bool Ledger::give_back_one(const std::string& line) {
  const auto at = std::find(lines_.begin(), lines_.end(), line);
  return at == lines_.end() || give_back_some({*at});
}

bool Ledger::give_back_or_owe(const std::string& line, const std::string& attribute) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (surroundings_.effective_user() == 0 && give_back_one(line)) {
    return true;
  }
  owed_.push_back({.line = line, .attribute = attribute});
  tries_ = 0;
  return false;
}

bool Ledger::owes() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return !owed_.empty();
}

Result<Done> Ledger::give_back_owed() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return give_back_all_owed();
}

Result<Done> Ledger::give_back_all_owed() {
  std::erase_if(owed_, [this](const Owed& owed) { return give_back_one(owed.line); });
  if (owed_.empty()) {
    return Done{};
  }
  return Failure{Trouble::silent, owed_.front().attribute + " could not be put back"};
}

bool Ledger::is_to_try_again() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return !owed_.empty() && tries_ < kTries && surroundings_.effective_user() == 0;
}

void Ledger::try_again() {
  const std::lock_guard<std::mutex> lock(mutex_);
  ++tries_;
  give_back_all_owed();
}

bool Ledger::give_back_all() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return lines_.empty() || give_back_some(lines_);
}

/// `lines` by value: those of them that are given back are forgotten.
bool Ledger::give_back_some(const std::vector<std::string> lines) {
  const bool ours = is_ours();
  const std::function<void(std::string_view)> report = [this](std::string_view text) {
    surroundings_.report(std::string(text));
  };
  if (!put_back(surroundings_.sys, as_text(lines), {surroundings_.sleep_for, report},
                ours ? Extent::everything : Extent::what_reads_as_forced)) {
    return false;
  }
  std::erase_if(lines_, [&](const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
  });
  return !ours || holding_->state().replace(as_text(lines_));
}

void Ledger::end() {
  const std::lock_guard<std::mutex> lock(mutex_);
  holding_.reset();
  lines_.clear();
  owed_.clear();
}

}  // namespace linux_machine
