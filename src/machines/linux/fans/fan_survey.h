#pragma once

#include <functional>
#include <string>
#include <vector>

#include "machines/linux/fans/channel.h"

namespace linux_machine {

/// As many fans as there are keys for.
constexpr std::size_t kMostFans = 10;

/// As many of them as clients know how to force, the first ones.
constexpr std::size_t kMostForcedFans = 3;

/// What an earlier measurement of a fan found.
enum class Measured {
  not_yet,
  turns,   ///< its curve is known
  stands,  ///< it does not turn at full speed
};

/// A fan that a user has given a number.
struct Assignment {
  std::size_t number = 0;  ///< n of "Fn"
  std::string device;      ///< FanChannel::device
  int channel = 0;
};

/// What is known of the machine's fans beside what the kernel shows.
struct KnownOfFans {
  std::function<Measured(const FanChannel&)> measured;
  std::vector<Assignment> assigned = {};
  std::string wrong = {};  ///< with what a user has assigned; empty: nothing
};

/// The machine's fans by their numbers, kMostFans at most. Those that are assigned have their
/// number. Of the others come first those that can be forced, whatever device they belong to; then
/// those that can only be read; then those that stand still, that nothing proves to turn, and that
/// are no part of the machine as it was made: perhaps nothing is connected there. Within each of
/// these: those labelled for the processor or the chassis, those of the board, those of USB hubs;
/// then those that turn or were measured; then by device, chip and channel.
///
/// Graphics cards', power supplies' and a laptop's graphics fans are not among them, nor are meters
/// of a water flow. A fan that several drivers of a laptop's firmware show is there once.
std::vector<FanChannel> find_fans(sysfs::Tree& tree, const KnownOfFans& known);

}  // namespace linux_machine
