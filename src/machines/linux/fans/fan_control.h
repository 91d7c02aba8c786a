#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "machines/linux/fans/forced_fan.h"
#include "machines/linux/guardian/ledger.h"
#include "machines/linux/surroundings/surroundings.h"

namespace linux_machine {

/// The machine's fans as the controller's keys present them: a force bit and a target for each. It
/// forces them and keeps them at their speed; who stands behind the ledger watches, and a thread of
/// its own asks him and gives up what may be held no longer. Speeds are RPM; fans are numbered as
/// in channels().
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
  ~FanControl();
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
  bool tripped() const { return tripped_; }

  /// One round: gives the fans up if there is an alarm, else corrects their speeds. To be called
  /// each kWatchPeriodNs while a bit is set.
  void watch();

  static constexpr std::int64_t kWatchPeriodNs = 500 * kNsPerMs;

 private:
  struct Fan {
    const FanChannel* channel;
    std::optional<double> least;            ///< the chip's own
    std::optional<double> most;             ///< the chip's own, or measured in this run
    std::optional<Curve> curve;             ///< measured before
    std::string no_curve;                   ///< what is wrong with its file, until it has been told
    std::optional<double> target;           ///< written last
    std::optional<double> applied;          ///< the target that the forced fan heads for
    std::optional<sysfs::Attribute> input;  ///< once its speed was asked for here
    bool measurement_told = false;          ///< that its maximum is measured
    std::unique_ptr<ForcedFan> forced;
  };
  /// A line of the ledger that could not be given back yet.
  struct Owed {
    std::string line;
    std::string attribute;
  };

  using Done = sysfs::Done;
  using Failure = sysfs::Failure;

  sysfs::Result<Done> change_force_bits(std::uint16_t bits);
  void join_ended_watch();

  // All of these want the mutex held.
  std::uint16_t bits_now() const;
  sysfs::Result<Done> may_force(const Fan& fan);
  sysfs::Result<Done> force(Fan& fan);
  sysfs::Result<Done> force_all(std::uint16_t bits);
  sysfs::Result<Done> apply_target(Fan& fan);
  sysfs::Result<Done> drive(Fan& fan);
  sysfs::Result<double> measured_maximum(Fan& fan);
  sysfs::Result<double> measure_unforced(Fan& fan);
  bool give_back(Fan& fan);
  bool give_back(TakenChannel& channel);
  bool give_back_lines(const std::vector<std::string>& lines, const std::string& attribute);
  bool shared(const std::string& line) const;
  void tell_measurement(Fan& fan);
  Failure canceled() const;
  sysfs::Result<Done> pay_owed();
  bool owes_now() const;
  sysfs::Result<Done> begin_watch();
  sysfs::Result<Done> tell_watch(const Fan& fan);
  bool undo_late_command(TakenChannel& channel);
  sysfs::Result<Done> judge();
  void read_speeds();
  void correct(Fan& fan, const std::optional<double>& rpm);
  void trip_if_alarmed();
  void begin_watching();
  bool has_to_watch() const;
  void watch_while_forced();
  void refuse_to_watch(int error);

  const Surroundings& surroundings_;
  Ledger& ledger_;
  const Watching watching_;
  std::vector<FanChannel> channels_;

  mutable std::mutex mutex_;  ///< guards all below
  std::vector<Fan> fans_;
  std::vector<Owed> owed_;
  int rounds_owing_ = 0;  ///< of the watch with the privilege, since something is owed
  const std::vector<WatchedTemperature> temperatures_;
  std::vector<std::optional<double>> speeds_;  ///< by fan, if read in the last round
  std::optional<Ledger::Alarm> alarm_;         ///< what the last round found amiss
  std::string trip_reason_;                    ///< once tripped
  std::atomic<bool> tripped_{false};           ///< written with the mutex held
  bool no_temperature_told_ = false;
  bool thread_runs_ = false;
  bool ends_ = false;
  std::condition_variable changed_;
  std::thread thread_;
};

}  // namespace linux_machine
