#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "machines/linux/sysfs/tree.h"

/// What a run has changed on a machine, as text: one line for each thing that is to be put back,
/// holding its state before. The same text is the state file, what a guardian holds, and what
/// `vorn-keys --restore` reads.
///
///   set <attribute> <value>
///   fan <hwmon folder> <channel> <chip> target=<rpm|-> pwm=<n|-> enable=<n|-|?>
///
/// In a fan's line "-" is an attribute that the channel lacks (or that was not touched), and "?" a
/// mode that can be written and not read.
namespace linux_machine {

/// The state of a fan channel before it was first changed.
struct FanState {
  std::string folder;  ///< of the hwmon device, below the root
  int channel = 0;     ///< n of pwmn and fann_target
  std::string chip;    ///< the hwmon device's name
  std::optional<long long> target;
  std::optional<long long> pwm;
  std::optional<long long> enable;
  bool enable_unreadable = false;
};

std::string set_line(std::string_view attribute, std::string_view value);
std::string fan_line(const FanState& state);

/// Text of at most one line for the user; whoever gets it must allocate nothing to use it in a
/// guardian.
using RestoreReport = std::function<void(std::string_view)>;

/// Puts back everything that `journal` holds, and confirms it by reading.
///
/// "set" attributes are written in their order, then read back; those that read differently
/// (refused because of an order that the kernel wants, or applied later) are written again until
/// all are right or `patience_ms` is over. A fan gets its target and pwm while it is still manual,
/// then its mode; a mode that does not read back as it was puts the fan at full speed instead.
///
/// Returns whether everything is as it was; what is not, is reported by its attribute.
/// Allocates nothing, so that it may run in a process forked from one with threads.
bool restore(sysfs::Tree& tree, std::string_view journal, int patience_ms,
             const RestoreReport& report);

}  // namespace linux_machine
