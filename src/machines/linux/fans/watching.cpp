#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>

#include "Process/thread_user.h"
#include "machines/linux/fans/fan_control.h"

// The half of FanControl that keeps forced fans at their speed, and gives them up when whoever
// watches over them says so.

namespace linux_machine {
namespace {

using Lock = std::lock_guard<std::mutex>;

// What could not be given back is tried again for so many rounds: a chip may be busy for a while.
// Longer would only repeat the report. Without the privilege there is nothing to try.
constexpr int kRoundsOwing = 4;

}  // namespace

using sysfs::Result;
using sysfs::Trouble;

void FanControl::watch() {
  const Lock lock(mutex_);
  if (owes_now()) {
    ++rounds_owing_;
    pay_owed();
  }
  if (bits_now() == 0) {
    return;
  }
  judge();
  for (std::size_t i = 0; i < fans_.size() && !alarm_; ++i) {
    const auto lost = fans_[i].forced ? fans_[i].forced->keep_mode(surroundings_.now_ns())
                                      : std::optional<std::string>();
    if (lost) {
      alarm_ = Ledger::Alarm{.reason = *lost, .given_back = false};
    }
  }
  trip_if_alarmed();
  read_speeds();
  for (std::size_t i = 0; i < fans_.size(); ++i) {
    if (fans_[i].forced) {
      correct(fans_[i], speeds_[i]);
    }
  }
}

/// A command that fails is given again in the next round; a fan that stands meanwhile is seen.
void FanControl::correct(Fan& fan, const std::optional<double>& rpm) {
  const double greatest = fan.curve ? fan.curve->greatest_rpm() : fan.most.value_or(kMostRpm);
  if (rpm && fan.forced->chip_misses_target(*rpm, greatest, surroundings_.now_ns())) {
    fan.forced->channel().give_up_target();
    fan.applied.reset();
    apply_target(fan);
    return;
  }
  fan.forced->correct(rpm, surroundings_.now_ns());
}

/// Only finds out: it is asked in the middle of a measurement too, when the fans are not to be
/// touched by anyone else.
Result<sysfs::Done> FanControl::judge() {
  alarm_ = ledger_.alarm();
  return alarm_ ? Result<Done>(Failure{Trouble::given_back, alarm_->reason}) : Done{};
}

void FanControl::read_speeds() {
  speeds_.assign(fans_.size(), std::nullopt);
  for (std::size_t i = 0; i < fans_.size(); ++i) {
    const std::int64_t now_ns = surroundings_.now_ns();
    if (fans_[i].forced && fans_[i].forced->read_is_due(now_ns)) {
      const Result<double> rpm = fans_[i].forced->read(now_ns);
      speeds_[i] = rpm ? std::optional<double>(*rpm) : std::nullopt;
    }
  }
}

void FanControl::trip_if_alarmed() {
  if (!alarm_ || tripped_) {
    return;
  }
  trip_reason_ = alarm_->reason;
  tripped_ = true;
  std::string said = bits_now() != 0 ? "the fans are given back" : "no fan is forced";
  std::string lost;
  for (Fan& fan : fans_) {
    if (fan.forced && !give_back(fan)) {
      lost += (lost.empty() ? "" : ", ") + fan.channel->enable();
    }
  }
  if (!lost.empty()) {
    said = "no fan is forced any more, but this could not be put back: " + lost;
  }
  if (!alarm_->given_back || !lost.empty()) {  // else the guardian has said it
    surroundings_.report(said + ": " + trip_reason_);
  }
}

bool FanControl::owes_now() const {
  return !owed_.empty() && rounds_owing_ < kRoundsOwing && surroundings_.effective_user() == 0;
}

void FanControl::begin_watching() {
  if (watching_ == Watching::by_caller || thread_runs_) {
    return;
  }
  if (thread_.joinable()) {
    thread_.join();  // it has ended, or is about to: it does nothing after it said so
  }
  thread_runs_ = true;
  thread_ = std::thread([this] {
    // Its creator runs with the raised user id of a set-user-id program, and is alone with that. To
    // watch and to put a fan back, attributes that are open are enough. Only what is owed to the
    // ledger needs the privilege: there, who comes next with it pays.
    if (process::set_thread_effective_user(getuid()) == 0) {
      watch_while_forced();
    } else {
      refuse_to_watch(errno);
    }
  });
}

bool FanControl::has_to_watch() const {
  return bits_now() != 0 || owes_now();
}

void FanControl::watch_while_forced() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!ends_ && has_to_watch()) {
    changed_.wait_for(lock, std::chrono::nanoseconds(kWatchPeriodNs),
                      [&] { return ends_ || !has_to_watch(); });
    if (!ends_ && has_to_watch()) {
      lock.unlock();
      watch();
      lock.lock();
    }
  }
  thread_runs_ = false;
  changed_.notify_all();
}

/// Nobody must watch with a privilege that nobody gave him, nor may fans be forced unwatched.
void FanControl::refuse_to_watch(int error) {
  const Lock lock(mutex_);
  alarm_ = Ledger::Alarm{.reason = "their watch cannot give up its privilege: " +
                                   std::generic_category().message(error),
                         .given_back = false};
  trip_if_alarmed();
  thread_runs_ = false;
  changed_.notify_all();
}

/// No thread is left behind when the last fan is given back, unless one is forced meanwhile.
void FanControl::join_ended_watch() {
  std::thread ended;
  {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return !thread_runs_ || has_to_watch(); });
    if (!thread_runs_) {
      ended = std::move(thread_);
    }
  }
  if (ended.joinable()) {
    ended.join();
  }
}

}  // namespace linux_machine
