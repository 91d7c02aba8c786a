#include <cerrno>
#include <chrono>

#include "machines/linux/fans/fan_control.h"

// The half of FanControl that watches forced fans.

namespace linux_machine {
namespace {

using Lock = std::lock_guard<std::mutex>;

// What could not be given back is tried again for so many rounds: a chip may be busy for a while.
// Longer would only repeat the report.
constexpr int kRoundsOwing = 4;

}  // namespace

using sysfs::Failure;
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
  if (!judge()) {
    trip_if_alarmed();
    return;
  }
  for (std::size_t i = 0; i < fans_.size(); ++i) {
    if (fans_[i].forced) {
      // One that fails is done again in the next round; a fan that stands meanwhile is seen.
      fans_[i].forced->correct(speeds_[i], surroundings_.now_ns());
    }
  }
}

/// Reads everything that is watched. Only finds out: it is asked in the middle of a measurement
/// too, when the fans are not to be touched by anyone else.
Result<sysfs::Done> FanControl::judge() {
  const std::vector<TemperatureReading> temperatures = thermometers_.read();
  std::vector<FanReading> readings;
  speeds_.clear();
  for (Fan& fan : fans_) {
    if (fan.forced) {
      readings.push_back(fan.forced->read(surroundings_.now_ns()));
      speeds_.push_back(readings.back().rpm);
    } else {
      speeds_.emplace_back(0.0);
    }
  }
  alarm_ = safety_.judge(temperatures, readings);
  return alarm_ ? Result<Done>(Failure{Trouble::refused, ECANCELED, *alarm_}) : Done{};
}

void FanControl::trip_if_alarmed() {
  if (!alarm_ || !tripped_.empty()) {
    return;
  }
  tripped_ = *alarm_;
  const bool forced = bits_now() != 0;
  for (Fan& fan : fans_) {
    if (fan.forced) {
      give_back(fan);
    }
  }
  surroundings_.report((forced ? "the fans are given back: " : "no fan is forced: ") + tripped_);
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
  thread_ = std::thread([this] { watch_while_forced(); });
}

void FanControl::watch_while_forced() {
  std::unique_lock<std::mutex> lock(mutex_);
  const auto has_work = [this] { return bits_now() != 0 || owes_now(); };
  while (!ends_ && has_work()) {
    changed_.wait_for(lock, std::chrono::nanoseconds(kWatchPeriodNs),
                      [&] { return ends_ || !has_work(); });
    if (!ends_ && has_work()) {
      lock.unlock();
      watch();
      lock.lock();
    }
  }
  thread_runs_ = false;
}

}  // namespace linux_machine
