#include "machines/linux/cpufreq/pin.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "machines/linux/cpufreq/pstates.h"

// How a frequency f is forced, whichever driver scales: scaling_min_freq = scaling_max_freq = f,
// under the governor that is there. The kernel clamps what any governor asks for to these limits,
// so there is nothing else to choose. The other way, the userspace governor and scaling_setspeed,
// exists only for some drivers, takes f as a lower bound and rounds it up to the table, and reports
// success for a setting that the driver refused; the limits can be read back.
//
// The order: kernels before 5.3 refuse a minimum above the maximum, so the limit that moves away
// from the other goes first: the minimum if f is below the present one, else the maximum. Later
// kernels take any order.
//
// What the drivers need beside that:
//
// * acpi-cpufreq. On Intel's processors the topmost entry of the table stands for the whole turbo
//   range and is printed 1 MHz above the second: asking for it is asking for turbo, as P-state 0 is
//   meant. On others the top entry is the nominal frequency, and the processor boosts above it of
//   its own accord as long as it is chosen: boost is switched off then. Below the top entry nothing
//   boosts. The switch for the machine overwrites those of the policies, so these are kept too.
// * intel_pstate active and intel_cpufreq (passive). Within the turbo range the hardware may exceed
//   what it is asked for; so at or below every policy's base frequency turbo is switched off.
//   Where a base frequency is not known, it stays. max_perf_pct and min_perf_pct limit from the
//   side, without showing in the limits that are read back: the first is raised to 100, the second
//   lowered to f where it is above.
// * amd-pstate-epp (active). The governor "performance" holds the lower limit at the nominal
//   frequency or more, whatever scaling_min_freq says, so "powersave" takes its place; it is no
//   slower between equal limits. The preference (EPP) changes with the governor and is kept too; it
//   is not written, since between equal limits there is nothing to prefer.
// * amd-pstate passive and guided, cppc_cpufreq: nothing. f = cpuinfo_max_freq needs the boost that
//   it contains, and below it the limit holds.
//
// The way a driver works (intel_pstate/status, amd_pstate/status) is never switched: that registers
// the driver anew and throws away all settings of all policies.
//
// Limits of this: only the effective limits can be read, not what was asked for. Where something
// else (a thermal driver, the firmware) holds a limit down at this moment, that is what is saved
// and put back.

namespace linux_machine {
namespace {

const Policy& counterpart(const Cpufreq& cpufreq, const Policy& policy) {
  return *std::find_if(cpufreq.policies.begin(), cpufreq.policies.end(),
                       [&](const Policy& other) { return other.folder == policy.folder; });
}

bool tops_out_in_turbo_item(const std::vector<long long>& table_khz) {
  constexpr long long kTurboItemKhz = 1000;
  return table_khz.size() > 1 && table_khz[0] - table_khz[1] == kTurboItemKhz;
}

bool boost_exceeds(const Policy& policy, std::uint32_t n) {
  return policy.driver == kAcpiDriver && !policy.table_khz.empty() &&
         pstate_khz(policy, n) == policy.table_khz.front() &&
         !tops_out_in_turbo_item(policy.table_khz);
}

bool within_base(const Policy& policy, std::uint32_t n) {
  return policy.base_khz && pstate_khz(policy, n) <= *policy.base_khz;
}

/// The percentage that keeps the lower limit of every policy at f or below. intel_pstate takes it
/// of the fastest P-state and rounds up to a whole ratio, so that rounding down here is exact.
long long most_min_perf_pct(const Cpufreq& original, std::uint32_t n) {
  long long pct = 100;
  for (const Policy& policy : original.policies) {
    pct = std::min(pct, pstate_khz(policy, n) * 100 / policy.hardware_max_khz);
  }
  return pct;
}

/// The globals as P-state n needs them; the others as they were.
CpufreqGlobals wanted_globals(const Cpufreq& original, std::uint32_t n) {
  CpufreqGlobals wanted = original.globals;
  const auto& policies = original.policies;
  if (wanted.no_turbo && std::all_of(policies.begin(), policies.end(), [n](const Policy& policy) {
        return within_base(policy, n);
      })) {
    wanted.no_turbo = 1;
  }
  if (wanted.boost && std::any_of(policies.begin(), policies.end(),
                                  [n](const Policy& policy) { return boost_exceeds(policy, n); })) {
    wanted.boost = 0;
  }
  if (wanted.max_perf_pct) {
    wanted.max_perf_pct = 100;
  }
  if (wanted.min_perf_pct) {
    wanted.min_perf_pct = std::min(*wanted.min_perf_pct, most_min_perf_pct(original, n));
  }
  return wanted;
}

bool needs_powersave(const Policy& policy) {
  return policy.driver == kAmdActiveDriver && policy.governor == "performance" &&
         std::find(policy.governors.begin(), policy.governors.end(), "powersave") !=
             policy.governors.end();
}

class Planner {
 public:
  Planner(const Cpufreq& original, const Cpufreq& now, std::uint32_t n)
      : original_(original), now_(now), wanted_(wanted_globals(original, n)), n_(n) {}

  PinPlan plan() {
    plan_switches();
    for (const Policy& policy : now_.policies) {
      plan_governor(policy);
    }
    for (const Policy& policy : now_.policies) {
      plan_limits(policy);
    }
    return std::move(plan_);
  }

 private:
  void save(std::string attribute, std::string value) {
    plan_.originals.push_back({std::move(attribute), std::move(value)});
  }

  /// Returns whether it has to be changed.
  bool plan_switch(const char* attribute, std::optional<long long> CpufreqGlobals::*member) {
    const std::optional<long long>& wanted = wanted_.*member;
    if (!wanted || now_.globals.*member == wanted) {
      return false;
    }
    save(attribute, std::to_string(*(original_.globals.*member)));
    plan_.writes.push_back({attribute, std::to_string(*wanted)});
    return true;
  }

  void plan_switches() {
    plan_switch(kNoTurbo, &CpufreqGlobals::no_turbo);
    if (plan_switch(kGlobalBoost, &CpufreqGlobals::boost)) {
      for (const Policy& policy : now_.policies) {
        const std::optional<long long>& boost = counterpart(original_, policy).boost;
        if (boost) {
          save(policy.folder + "/boost", std::to_string(*boost));
        }
      }
    }
    plan_switch(kMaxPerfPct, &CpufreqGlobals::max_perf_pct);
    plan_switch(kMinPerfPct, &CpufreqGlobals::min_perf_pct);
  }

  void plan_governor(const Policy& now) {
    const Policy& before = counterpart(original_, now);
    if (!needs_powersave(before) || now.governor == "powersave") {
      return;
    }
    const std::string attribute = now.folder + "/scaling_governor";
    save(attribute, before.governor);
    if (before.epp) {
      save(now.folder + "/energy_performance_preference", *before.epp);
    }
    plan_.writes.push_back({attribute, "powersave"});
  }

  void plan_limits(const Policy& now) {
    const Policy& before = counterpart(original_, now);
    const std::string value = std::to_string(pstate_khz(before, n_));
    const Setting min{now.folder + "/scaling_min_freq", value};
    const Setting max{now.folder + "/scaling_max_freq", value};
    save(max.attribute, std::to_string(before.max_khz));
    save(min.attribute, std::to_string(before.min_khz));
    const bool lowering = pstate_khz(before, n_) < now.min_khz;
    for (const Setting& limit : {lowering ? min : max, lowering ? max : min}) {
      plan_.writes.push_back(limit);
      plan_.limits.push_back(limit);
    }
  }

  const Cpufreq& original_;
  const Cpufreq& now_;
  const CpufreqGlobals wanted_;
  const std::uint32_t n_;
  PinPlan plan_;
};

}  // namespace

PinPlan plan_pin(const Cpufreq& original, const Cpufreq& now, std::uint32_t n) {
  return Planner(original, now, n).plan();
}

}  // namespace linux_machine
