#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "machines/linux/drivers/machine.h"

namespace linux_machine {

/// What this machine and this user have, as far as it decides what a run can do. Everything that
/// judging needs, and nothing judged.
struct Facts {
  struct PowerKey {
    std::string name;
    bool readable = false;  ///< by this user, now
    bool refused = false;   ///< not readable for want of rights
  };
  struct Fan {
    std::string name;     ///< its target key, chip and channel
    std::string refusal;  ///< why it cannot be forced; empty if it can
    FanChannel::Connection connection = FanChannel::Connection::certain;
    bool beyond_forced = false;  ///< it has a number that clients cannot force
    bool keeps_no_mode = false;  ///< its mode cannot be read: what comes back is automatic
    bool has_curve = false;
    bool has_maximum = false;  ///< known without moving it
    std::string damaged;       ///< what is wrong with its curve's file
  };

  std::string programs;  ///< their folder, with its slash; empty: the shell finds them

  bool superuser = false;
  bool fixed_priority = false;                 ///< this user may have the highest that a run uses
  std::optional<long> fixed_runtime_us;        ///< sched_rt_runtime_us
  std::vector<std::string> vorn_capabilities;  ///< of the installed vorn's file

  std::size_t keys = 0;
  std::vector<PowerKey> power;
  bool watched_temperature = false;
  struct AtLimit {
    std::string attribute;
    double celsius;
    double limit_c;
  };
  std::optional<AtLimit> at_limit;  ///< a processor that runs at its limit now
  std::vector<Fan> fans;
  std::optional<std::string> fan_daemon;

  std::size_t pstates = 0;
  std::string pstate_driver;
  std::string pstate_trouble;  ///< why they cannot be read

  std::vector<std::string> left_behind;  ///< state files with something in them
};

/// Looks at the machine, and changes nothing. `programs` is the folder, with its slash, of the vorn
/// whose file capabilities count, and of the programs that remedies name.
Facts gather_facts(Machine& machine, const Surroundings& surroundings, const std::string& programs);

}  // namespace linux_machine
