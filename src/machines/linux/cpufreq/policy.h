#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "machines/linux/sysfs/result.h"
#include "machines/linux/sysfs/tree.h"

/// What the kernel's cpufreq says of this machine, as values. Frequencies in kHz, as everywhere in
/// cpufreq. Source: Documentation/admin-guide/pm/{cpufreq,intel_pstate,amd-pstate}.rst.
namespace linux_machine {

/// The processors that are clocked together, and how they are clocked.
struct Policy {
  std::string folder;  ///< "devices/system/cpu/cpufreq/policy0"
  std::string driver;
  std::string governor;
  std::vector<std::string> governors;  ///< those that can be chosen
  long long hardware_min_khz = 0;      ///< cpuinfo_min_freq
  long long hardware_max_khz = 0;      ///< cpuinfo_max_freq; follows no_turbo and boost
  long long kind_max_khz = 0;          ///< the greatest of those of its kind; 0: its own
  std::vector<long long> table_khz;    ///< fastest first; empty where the driver has no table
  long long min_khz = 0;               ///< scaling_min_freq
  long long max_khz = 0;               ///< scaling_max_freq
  std::optional<long long> base_khz;   ///< base_frequency, of Intel's drivers
  std::optional<std::string> epp;      ///< energy_performance_preference, of amd-pstate-epp
  std::optional<long long> boost;      ///< the policy's own, of acpi-cpufreq
};

/// What holds for all policies. Absent where the driver does not have it.
struct CpufreqGlobals {
  std::optional<long long> no_turbo;      ///< intel_pstate
  std::optional<long long> max_perf_pct;  ///< intel_pstate; percent of the fastest
  std::optional<long long> min_perf_pct;
  std::optional<long long> boost;  ///< acpi-cpufreq
};

struct Cpufreq {
  std::vector<Policy> policies;  ///< by number
  CpufreqGlobals globals;
};

constexpr const char* kPoliciesFolder = "devices/system/cpu/cpufreq";
constexpr const char* kGlobalBoost = "devices/system/cpu/cpufreq/boost";
constexpr const char* kNoTurbo = "devices/system/cpu/intel_pstate/no_turbo";
constexpr const char* kMaxPerfPct = "devices/system/cpu/intel_pstate/max_perf_pct";
constexpr const char* kMinPerfPct = "devices/system/cpu/intel_pstate/min_perf_pct";

constexpr const char* kAcpiDriver = "acpi-cpufreq";
constexpr const char* kAmdActiveDriver = "amd-pstate-epp";

/// intel_pstate, which is called intel_cpufreq while it is passive.
bool is_intel(const Policy& policy);

/// Whether this machine has P-states at all: most virtual ones have none.
bool has_pstates(sysfs::Tree& sys);

/// Everything that pinning can need, and no more: an attribute of another driver is not read, so
/// that it cannot be in the way. Policies whose processors are all offline are left out. A failure
/// names the attribute.
sysfs::Result<Cpufreq> read_cpufreq(sysfs::Tree& sys);

/// Whether two policies without a table are of processors of one kind, some of which may be
/// favoured: the firmware lets these go further than their like.
bool are_of_one_kind(const Policy& a, const Policy& b);

/// scaling_available_frequencies, which are in no particular order: fastest first, each once. None
/// if one of them is no frequency.
std::optional<std::vector<long long>> parse_table(std::string_view text);

}  // namespace linux_machine
