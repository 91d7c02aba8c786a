#pragma once

#include <optional>

#include "machines/linux/fans/curve.h"
#include "machines/linux/fans/regulator.h"
#include "machines/linux/fans/settling.h"
#include "machines/linux/fans/taken_channel.h"

namespace linux_machine {

/// A fan while it is forced: held as it was found until it is given a target, then brought to that
/// and kept there. Times are the surroundings' clock. Thread: one at a time.
class ForcedFan {
 public:
  ForcedFan(TakenChannel channel, std::int64_t now_ns);

  /// Whether it heads for this target, as far as is known: no command for it has failed.
  bool heads_for(double target_rpm) const { return is_sure_ && target_rpm_ == target_rpm; }

  /// Heads for a target through the chip, where the chip can; false if this has to be done by pwm.
  bool drive_by_chip(double target_rpm, std::int64_t now_ns);

  /// Heads for a target by pwm, through `curve`.
  sysfs::Result<sysfs::Done> drive_by_pwm(double target_rpm, const Curve& curve,
                                          std::int64_t now_ns);

  /// Whether read() is due in this round: a chip that stalls the machine when it is read is asked
  /// seldom.
  bool read_is_due(std::int64_t now_ns) const;

  /// One round: reads the speed, for correct().
  sysfs::Result<double> read(std::int64_t now_ns);

  /// From when on the fan has to turn; kMayStand: it may stand.
  std::int64_t turns_from_ns() const;

  /// One round: puts the fan back into its mode if something (the firmware, a resume) took it out
  /// of it. Returns why it cannot be kept there, naming the attribute; none if all is well.
  std::optional<std::string> keep_mode(std::int64_t now_ns);

  /// Does what the time since the last command asks for: ends a kick, or corrects the pwm if a
  /// speed was read in this round. A failed one is done again in the next round.
  sysfs::Result<sysfs::Done> correct(const std::optional<double>& rpm, std::int64_t now_ns);

  /// Whether the chip has had its time, and is far from the target that it holds, as far as the
  /// fan can follow: up to `greatest_rpm`.
  bool chip_misses_target(double rpm, double greatest_rpm, std::int64_t now_ns) const;

  /// The chip is told no target any more: the fan heads for none until it is driven by pwm.
  void give_up_chip();

  /// The speed at full pwm, RPM, after which the fan goes on as before.
  sysfs::Result<double> measure_maximum(const Surroundings& surroundings, const MayGoOn& may_go_on);

  TakenChannel& channel() { return channel_; }
  const TakenChannel& channel() const { return channel_; }

 private:
  enum class Drive {
    held,     ///< at the pwm that it was found with
    by_chip,  ///< the chip holds the target
    by_pwm,   ///< this program does
    stopped,  ///< told to stand still
  };
  struct Kick {
    std::int64_t until_ns;
    int then_pwm;
  };

  bool at_rest();
  bool may_stand() const;
  void head_for(double target_rpm, Drive drive, std::int64_t now_ns);

  TakenChannel channel_;
  Drive drive_ = Drive::held;
  bool found_turning_ = false;
  double target_rpm_ = 0;       ///< unless it is held
  bool is_sure_ = false;        ///< that it heads for target_rpm_
  std::optional<Curve> curve_;  ///< while driven by pwm
  std::optional<Kick> kick_;
  Regulator regulator_;           ///< while driven by pwm
  int times_lost_ = 0;            ///< rounds in a row in which it was not in its mode
  std::int64_t told_to_turn_ns_;  ///< since when it may not stand any more
  std::int64_t commanded_ns_;     ///< when its pwm was last changed, or the chip's target
  std::int64_t read_ns_;          ///< when its speed was last read
};

/// The speed of a fan at full pwm, or what it has come to within 10 s. One that does not turn is a
/// failure. Leaves the fan there.
sysfs::Result<double> speed_at_full(const Surroundings& surroundings, TakenChannel& channel,
                                    const MayGoOn& may_go_on);

}  // namespace linux_machine
