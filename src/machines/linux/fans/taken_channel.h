#pragma once

#include <optional>
#include <string>
#include <vector>

#include "machines/linux/fans/channel.h"
#include "machines/linux/guardian/ledger.h"
#include "machines/linux/surroundings/surroundings.h"
#include "machines/linux/sysfs/attribute.h"

namespace linux_machine {

/// A fan channel in our hands: its state before is noted in the ledger, its attributes are open
/// (so that it can be commanded after the privilege is given up), and its mode is manual.
/// Whoever takes it gives its lines back. Thread: one at a time.
class TakenChannel {
 public:
  /// Takes the channel, which keeps the pwm that it has. `noted` gets the lines that are to be
  /// given back with it, whether it succeeded or failed on the way. Requires: the effective user
  /// is the superuser, `fan` is controllable.
  static sysfs::Result<TakenChannel> take(const Surroundings& surroundings, Ledger& ledger,
                                          const FanChannel& fan, std::vector<std::string>& noted);

  /// The ledger's lines that give it back. Fans that share a switch share a line.
  const std::vector<std::string>& lines() const { return lines_; }

  sysfs::Result<double> speed_rpm();

  /// Commands a pwm, 0 to 255, back in manual mode if the chip held a target.
  sysfs::Result<sysfs::Done> set_pwm(int pwm);

  /// The last pwm commanded, or the one that it was taken with.
  int pwm() const { return pwm_; }

  /// Whether the chip may be told a speed in RPM.
  bool has_target() const { return target_ && target_works_; }
  bool holds_target() const { return holds_target_; }

  /// Lets the chip hold a speed by itself. False if it does not take this one (it reads back too
  /// far off, or an access failed): has_target() is false from then on, the mode is manual.
  bool hold_target(double rpm);

  /// The chip does not hold what it is told: has_target() is false from now on.
  void give_up_target() { target_works_ = false; }

  /// Whether the mode is still the one that it was put into; true where it cannot be read.
  bool is_in_its_mode();

  /// Puts it into its mode again, with the pwm commanded last, or the target that the chip holds.
  sysfs::Result<sysfs::Done> enter_again(double target_rpm);

  /// What to do with the switch of the mode: leave one that other forced fans need as well.
  enum class Switch { put_back, leave };

  /// As it was, through the attributes that are open: that works without privilege too. At full
  /// speed if the mode is refused. Returns whether its mode reads as it was.
  bool put_back(Switch mode_switch);

  const Chip& chip() const { return *chip_; }

  const std::string& input() const { return input_.path(); }
  const std::string& enable() const { return enable_.path(); }

 private:
  struct Before {
    std::optional<long long> target;
    std::optional<long long> pwm;     ///< none: it shows none while it is automatic
    std::optional<long long> enable;  ///< none: it cannot be read
  };
  TakenChannel(const Chip& chip, Before before, std::vector<std::string> lines,
               sysfs::Attribute input, sysfs::Attribute enable);

  static sysfs::Result<Before> read_before(sysfs::Tree& tree, const FanChannel& fan);
  static sysfs::Result<TakenChannel> open(sysfs::Tree& tree, const FanChannel& fan, Before before,
                                          std::vector<std::string> lines);
  sysfs::Result<sysfs::Done> enter(int mode);
  sysfs::Result<sysfs::Done> hold_as_it_is(sysfs::Tree& tree, const std::string& pwm_path);

  const Chip* chip_;
  Before before_;
  std::vector<std::string> lines_;
  sysfs::Attribute input_;
  sysfs::Attribute enable_;
  std::optional<sysfs::Attribute> pwm_attribute_;  ///< once the mode is manual
  std::optional<sysfs::Attribute> mode_;           ///< enable_ for reading, if it can be
  std::optional<sysfs::Attribute> target_;         ///< if the chip holds targets
  std::optional<sysfs::Attribute> target_read_;
  int pwm_ = 0;
  bool holds_target_ = false;
  bool target_works_ = true;
};

}  // namespace linux_machine
