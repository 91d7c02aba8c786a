#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "machines/linux/fans/forced_fan.h"
#include "machines/linux/guardian/ledger.h"
#include "machines/linux/surroundings/surroundings.h"

namespace linux_machine {

/// The fans that this program forces: takes them, gives them back, and gives all of them up when
/// there is an alarm. What cannot be given back is the ledger's to remember. Fans are numbered as
/// the channels are, and every `fan` is below their count.
/// Thread: one at a time, but for tripped().
class ForcedFans {
 public:
  /// All outlive it. The temperatures are watched while a fan is forced.
  ForcedFans(const Surroundings& surroundings, Ledger& ledger, std::span<const FanChannel> channels,
             std::vector<WatchedTemperature> temperatures);

  /// Bit n is set while fan n is forced.
  std::uint16_t bits() const;

  /// Null: it is not forced.
  ForcedFan* at(std::size_t fan) const { return fans_[fan].forced.get(); }

  /// Failures: given_back once tripped(), unsupported for a fan that cannot be forced, refused
  /// without the effective user 0, held beside another program that controls fans.
  sysfs::Result<sysfs::Done> may_force(std::size_t fan) const;

  /// Makes this process the one that holds the fans, with all temperatures watched.
  sysfs::Result<sysfs::Done> begin();

  /// Forces a fan that is not, at the speed that it has. Requires: may_force(), begin(). A failure
  /// may leave it forced.
  sysfs::Result<sysfs::Done> take(std::size_t fan);

  /// Tells who watches over a forced fan from when on it has to turn.
  sysfs::Result<sysfs::Done> tell_watch(std::size_t fan);

  /// Says once that no temperature is watched, if that is so.
  void tell_unwatched();

  /// Requires: it is forced. Returns whether it is as it was, as far as its chip tells.
  bool give_back(std::size_t fan);

  /// The speed at full pwm, RPM, after which the fan is as before, forced or not. Takes up to 10 s.
  /// Failures: those of may_force() for a fan that is not forced, and those of the attributes.
  sysfs::Result<double> measure_maximum(std::size_t fan);

  /// One round: has every forced fan in its mode, and gives all up if there is an alarm.
  void look_after();

  /// Gives all up for `reason`.
  void give_up(std::string reason);

  /// Whether all have been given up for good: nothing is forced any more in this run.
  /// Thread: any, and it waits for nothing.
  bool tripped() const { return tripped_; }

  /// What who wants to force a fan gets, once tripped().
  sysfs::Failure why_tripped() const;

 private:
  struct One {
    std::unique_ptr<ForcedFan> forced;
    bool measurement_told = false;
  };
  using Done = sysfs::Done;

  sysfs::Result<Done> judge();
  void trip_if_alarmed();
  sysfs::Result<Done> take_hold_of_unforced(std::size_t fan);
  sysfs::Result<double> measure_unforced(std::size_t fan);
  void tell_measurement(std::size_t fan);
  bool give_back(TakenChannel& channel);
  bool give_back_lines(const std::vector<std::string>& lines, const std::string& attribute);
  bool put_back_late_command(TakenChannel& channel);
  bool is_shared(const std::string& line) const;

  const Surroundings& surroundings_;
  Ledger& ledger_;
  const std::span<const FanChannel> channels_;
  const std::vector<WatchedTemperature> temperatures_;
  std::vector<One> fans_;
  std::optional<Ledger::Alarm> alarm_;  ///< what the last round found amiss
  std::string trip_reason_;             ///< once tripped
  std::atomic<bool> tripped_{false};
  bool no_temperature_told_ = false;
};

}  // namespace linux_machine
