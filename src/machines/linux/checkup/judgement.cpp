#include "machines/linux/checkup/judgement.h"

#include <algorithm>
#include <cmath>

#include "Host/host.h"
#include "Process/shell_word.h"
#include "machines/linux/sysfs/printable.h"

namespace linux_machine {
namespace {

using inspection::Finding;
using Findings = std::vector<Finding>;

void well(Findings& findings, const std::string& text) {
  findings.push_back({true, sysfs::printable(text), ""});
}
void lacks(Findings& findings, const std::string& text, std::string remedy) {
  findings.push_back({false, sysfs::printable(text), std::move(remedy)});
}

/// A program of this project as a shell takes it, installed or not.
std::string program(const Facts& facts, const char* name) {
  return process::shell_word(facts.programs + name);
}

bool granted(const Facts& facts, const char* capability) {
  return std::find(facts.vorn_capabilities.begin(), facts.vorn_capabilities.end(), capability) !=
         facts.vorn_capabilities.end();
}

void judge_priority(const Facts& facts, Findings& findings) {
  if (facts.fixed_priority) {
    well(findings, "fixed priority: this user may have it");
  } else if (granted(facts, "cap_sys_nice")) {
    well(findings, "fixed priority: granted to vorn by its file's capability");
  } else {
    lacks(findings, "fixed priority: this user may not have it; no run starts",
          "sudo setcap cap_sys_nice+ep " + program(facts, "vorn") +
              "; or, for this user from the next login on, a line \"USER - rtprio " +
              std::to_string(host::kControlPriority) +
              "\" in "
              "/etc/security/limits.d/vorn.conf; in a container, --cap-add sys_nice; beside a "
              "cgroup, a cpu.rt_runtime_us above 0");
  }
  if (!facts.fixed_runtime_us) {
    well(findings, "sched_rt_runtime_us: this kernel has no such limit");
  } else if (*facts.fixed_runtime_us < 0) {
    lacks(findings, "sched_rt_runtime_us is -1: a run can take the machine away from everyone else",
          "sudo sysctl kernel.sched_rt_runtime_us=950000");
  } else if (*facts.fixed_runtime_us == 0) {
    lacks(findings, "sched_rt_runtime_us is 0: no thread may have a fixed priority",
          "sudo sysctl kernel.sched_rt_runtime_us=950000");
  } else {
    well(findings, "sched_rt_runtime_us: " + std::to_string(*facts.fixed_runtime_us) +
                       " us, the rest of each period stays with ordinary programs");
  }
}

void judge_keys(const Facts& facts, Findings& findings) {
  if (facts.keys == 0) {
    lacks(findings, "keys: the kernel shows no sensor and no fan; samples fail",
          "load the drivers of this machine's chips (sensors-detect of lm-sensors finds them); "
          "virtual machines have none: use " +
              program(facts, "vorn-sim"));
    return;
  }
  well(findings, "keys: " + std::to_string(facts.keys) + " (" + program(facts, "vorn-keys") +
                     " lists them): powers (PC0C: the processor's), temperatures (TC0D) and fan "
                     "speeds (F0Ac)");
  if (facts.power.empty()) {
    lacks(
        findings, "power: the kernel shows no power meter of the processor",
        "modprobe intel_rapl_msr (Intel, AMD); else sample temperatures instead of PC0C: -k TC0D");
  }
  for (const Facts::PowerKey& key : facts.power) {
    if (key.readable) {
      well(findings, key.name + ": can be read");
    } else if (key.refused && granted(facts, "cap_dac_read_search")) {
      well(findings, key.name + ": granted to vorn by its file's capability");
    } else if (key.refused) {
      lacks(findings, key.name + ": only root may read the energy counters",
            "sudo setcap cap_sys_nice,cap_dac_read_search+ep " + program(facts, "vorn"));
    } else {
      lacks(findings, key.name + ": its source does not answer as it should",
            "see the message above, and the driver's in the kernel's log (dmesg)");
    }
  }
}

void judge_fan(const Facts& facts, const Facts::Fan& fan, Findings& findings) {
  using Connection = FanChannel::Connection;
  if (!fan.refusal.empty() && fan.connection == Connection::none) {
    well(findings, fan.name + ": nothing is connected: it did not turn when it was measured");
  } else if (!fan.refusal.empty() && fan.connection == Connection::doubtful) {
    lacks(findings, fan.name + ": perhaps nothing is connected: it stands still; it is not forced",
          "sudo " + program(facts, "vorn-keys") +
              " --calibrate finds out; until then, name the fans that turn: -a F0Tg");
  } else if (fan.beyond_forced) {
    well(findings, fan.name + ": is shown; the first three fans can be forced, and " +
                       program(facts, "vorn-keys") + " --assign chooses them");
  } else if (!fan.refusal.empty()) {
    lacks(findings, fan.name + " cannot be forced: " + fan.refusal,
          "leave it out with -a, or all fans with -s 0");
  } else if (!fan.damaged.empty()) {
    lacks(findings, fan.name + ": " + fan.damaged,
          "sudo " + program(facts, "vorn-keys") + " --calibrate");
  } else if (!fan.has_curve) {
    const std::string first = fan.has_maximum ? "" : "a run measures its maximum first, ";
    lacks(findings,
          fan.name + ": its curve is not measured; " + first +
              "its speeds are found slowly, and it is never stopped",
          "sudo " + program(facts, "vorn-keys") + " --calibrate");
  } else {
    well(findings, fan.name + ": can be forced, by a measured curve");
  }
}

/// A chip whose fans share a switch.
void judge_switch(const Facts& facts, Findings& findings) {
  const auto one = std::find_if(facts.fans.begin(), facts.fans.end(), [](const Facts::Fan& fan) {
    return fan.keeps_no_mode && fan.refusal.empty();
  });
  if (one != facts.fans.end()) {
    lacks(findings,
          one->name +
              ": its mode cannot be read, and one switch serves all fans of the chip: they "
              "are given back to automatic control, however they were found",
          "Linux 6.18 or later, whose driver has a mode for each fan");
  }
}

void judge_fans(const Facts& facts, Findings& findings) {
  if (facts.fans.empty()) {
    lacks(findings, "fans: the kernel shows none",
          "run with -s 0; or load the driver of the board's fan chip, or of the laptop's firmware");
    return;
  }
  for (const Facts::Fan& fan : facts.fans) {
    judge_fan(facts, fan, findings);
  }
  judge_switch(facts, findings);
  const auto forceable = std::count_if(facts.fans.begin(), facts.fans.end(),
                                       [](const Facts::Fan& fan) { return fan.refusal.empty(); });
  const bool others_are_named =
      std::any_of(facts.fans.begin(), facts.fans.end(), [](const Facts::Fan& fan) {
        return !fan.refusal.empty() && fan.connection != FanChannel::Connection::none;
      });
  if (facts.fans.size() == 1 || (forceable == 1 && !others_are_named)) {
    lacks(findings,
          std::string("fans: ") + (facts.fans.size() == 1 ? "there is one" : "one can be forced") +
              ", and a run as root sets two unless told otherwise",
          "name it: -a F0Tg");
  }
  if (!facts.watched_temperature) {
    lacks(findings, "fans: no temperature of the processor to watch while they are forced",
          "load its driver (coretemp, k10temp), or leave the fans alone: -s 0");
  }
  if (facts.at_limit) {
    const Facts::AtLimit& hot = *facts.at_limit;
    lacks(findings,
          "fans: " + hot.attribute + " reads " + std::to_string(std::lround(hot.celsius)) +
              " degrees, and this processor runs at " + std::to_string(std::lround(hot.limit_c)) +
              " at most; fans that are set slower than they turn are given back at once",
          "set them no slower than they turn (F0Ac), or end what loads the processor first");
  }
  if (facts.fan_daemon) {
    lacks(findings, "fans: " + *facts.fan_daemon + " is running and controls them",
          "sudo systemctl stop " + *facts.fan_daemon);
  }
}

void judge_pstates(const Facts& facts, Findings& findings) {
  if (!facts.pstate_trouble.empty()) {
    lacks(findings, "P-states: " + facts.pstate_trouble, "see the kernel's log (dmesg)");
  } else if (facts.pstates == 0) {
    lacks(findings, "P-states: the kernel shows none (cpufreq); a run as root fails",
          "run as an ordinary user; virtual machines have none");
  } else {
    well(findings,
         "P-states: 0 to " + std::to_string(facts.pstates - 1) + " (" + facts.pstate_driver + ")");
  }
}

void judge_rights(const Facts& facts, Findings& findings) {
  if (facts.superuser) {
    well(findings, "root: fans and P-states may be set");
  } else {
    lacks(findings, "not root: -s, -a and -p change nothing",
          "sudo " + program(facts, "vorn") + ", where they are wanted");
  }
  for (const std::string& part : facts.left_behind) {
    lacks(findings, part + ": changed by a run that is under way, or that did not give them back",
          "wait for its end; if there is none: sudo " + program(facts, "vorn-keys") + " --restore");
  }
}

}  // namespace

std::vector<Finding> judge(const Facts& facts) {
  Findings findings;
  judge_priority(facts, findings);
  judge_keys(facts, findings);
  judge_fans(facts, findings);
  judge_pstates(facts, findings);
  judge_rights(facts, findings);
  return findings;
}

}  // namespace linux_machine
