#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "machines/linux/cpufreq/pin.h"
#include "machines/linux/cpufreq/policy.h"
#include "machines/linux/guardian/ledger.h"
#include "machines/linux/surroundings/surroundings.h"
#include "machines/linux/sysfs/result.h"

namespace linux_machine {

/// Forces P-states and gives them back. Does not end the ledger: whoever owns that does, when no
/// other run is to wait any longer. Thread: any.
class PStatePinning {
 public:
  /// Both outlive this. Nothing happens yet.
  PStatePinning(const Surroundings& surroundings, Ledger& ledger)
      : surroundings_(surroundings), ledger_(ledger) {}
  PStatePinning(const PStatePinning&) = delete;
  PStatePinning& operator=(const PStatePinning&) = delete;

  /// Pins every processor to P-state n (0 is the fastest), also after another one, and waits until
  /// the kernel shows it: a second at most. What was there before the first call is what will be
  /// given back.
  ///
  /// Failures: bad_value for a number beyond the last P-state, and held if another run holds the
  /// P-states, change nothing. After any other failure everything is given back; its message
  /// names the attribute (and what could not be given back, if so).
  sysfs::Result<sysfs::Done> force(std::uint32_t n);

  /// Puts everything back as it was before the first force(). A failure names the attributes that
  /// are not as they were; calling again tries again. What has gone with its processor is no
  /// failure, but is reported to the user.
  sysfs::Result<sysfs::Done> give_back();

 private:
  sysfs::Result<sysfs::Done> check_number(std::uint32_t n);
  sysfs::Result<sysfs::Done> pin(std::uint32_t n);
  sysfs::Result<sysfs::Done> save(const PinPlan& plan);
  sysfs::Result<sysfs::Done> give_back_all();
  /// original_, with those policies of `now` added that were not there before.
  const Cpufreq& original_beside(const Cpufreq& now);

  const Surroundings& surroundings_;
  Ledger& ledger_;
  std::mutex mutex_;  ///< guards all below, and the order of changes

  /// The machine before the first change, while something is saved: the numbering of P-states
  /// holds on to it, since switching turbo off moves cpuinfo_max_freq.
  std::optional<Cpufreq> original_;
  std::map<std::string, std::string> saved_;  ///< what the ledger holds: attribute and value
};

}  // namespace linux_machine
