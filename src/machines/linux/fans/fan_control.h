#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "machines/linux/fans/fan_range.h"
#include "machines/linux/fans/forced_fans.h"
#include "machines/linux/fans/rounds.h"
#include "machines/linux/guardian/ledger.h"
#include "machines/linux/surroundings/surroundings.h"

namespace linux_machine {

/// The machine's fans as the controller's keys present them: a force bit and a target for each. It
/// brings forced fans to their targets and keeps them there; who stands behind the ledger watches,
/// and a thread of its own asks him and gives up what may be held no longer. Speeds are RPM; fans
/// are numbered as in channels().
///
/// The end of its life leaves the fans as they stand: see Ledger. Thread: any; a call may wait for
/// another that measures a maximum, up to 10 s a fan.
class FanControl {
 public:
  enum class Watching {
    by_thread,  ///< one of its own, while a fan is forced
    by_caller,  ///< who calls watch()
  };

  /// Finds the fans, and their measured curves. `surroundings` and `ledger` outlive it.
  FanControl(const Surroundings& surroundings, Ledger& ledger,
             std::vector<WatchedTemperature> temperatures, Watching watching = Watching::by_thread);
  FanControl(const FanControl&) = delete;
  FanControl& operator=(const FanControl&) = delete;

  std::span<const FanChannel> channels() const { return channels_; }

  /// Bit n is set while fan n is forced.
  std::uint16_t force_bits() const;

  /// Forces the fans whose bits are set and gives back the others. A fan newly forced heads for
  /// the target written last, or keeps the speed that it has. Failures: refused without the
  /// effective user 0, bad_value for a bit without a fan, unsupported for a fan that cannot be
  /// forced, held beside another program that controls fans, given_back once tripped(), and those
  /// of the attributes. A failure while forcing forces no fan that was not forced.
  sysfs::Result<sysfs::Done> set_force_bits(std::uint16_t bits);

  // Requires everywhere: fan < channels().size().

  /// The target written last; before there is one, the speed that the fan has.
  sysfs::Result<double> target_rpm(std::size_t fan);

  /// Kept, and applied at once to a forced fan. A target beyond what the fan can do is what it can
  /// do. Failure: bad_value below 0.
  sysfs::Result<sysfs::Done> set_target_rpm(std::size_t fan, double rpm);

  bool has_maximum(std::size_t fan) const;

  /// The chip's own, the curve's, or one that is measured now and remembered: that needs the
  /// effective user 0 unless the fan is forced, and has the same errors as forcing.
  sysfs::Result<double> maximum_rpm(std::size_t fan);

  /// Whether the next maximum_rpm() will move the fan.
  bool maximum_is_measured_on_demand(std::size_t fan) const;

  /// The chip's own or the curve's lowest steady speed.
  std::optional<double> minimum_rpm(std::size_t fan) const;

  /// Whether the watch has given the fans back for good: nothing is forced any more in this run.
  /// Thread: any, and it waits for nothing.
  bool tripped() const { return forced_.tripped(); }

  /// One round: gives the fans up if there is an alarm, else corrects their speeds. To be called
  /// each kWatchPeriodNs while a bit is set.
  void watch();

  static constexpr std::int64_t kWatchPeriodNs = Rounds::kPeriodNs;

 private:
  struct Fan {
    FanRange range;
    std::optional<double> target;           ///< written last
    std::optional<sysfs::Attribute> input;  ///< once its speed was asked for here
  };

  using Done = sysfs::Done;

  sysfs::Result<Done> change_force_bits(std::uint16_t bits);
  bool has_to_watch() const;
  void refuse_to_watch(int error);

  // All of these want the mutex held.
  sysfs::Result<Done> force_all(std::uint16_t bits);
  sysfs::Result<Done> force(std::size_t fan);
  sysfs::Result<Done> apply_target(std::size_t fan);
  sysfs::Result<Done> drive(std::size_t fan);
  sysfs::Result<double> measured_maximum(std::size_t fan);
  void correct_speeds();
  void correct(std::size_t fan, const std::optional<double>& rpm);

  const Surroundings& surroundings_;
  Ledger& ledger_;
  const std::vector<FanChannel> channels_;

  mutable std::mutex mutex_;  ///< guards the next two
  std::vector<Fan> fans_;
  ForcedFans forced_;

  std::optional<Rounds> rounds_;  ///< by_thread; ends before what it works on
};

}  // namespace linux_machine
