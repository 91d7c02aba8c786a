#include "machines/linux/cpufreq/policy.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <utility>

#include "machines/linux/cpufreq/reader.h"
#include "machines/linux/sysfs/attribute.h"
#include "machines/linux/sysfs/parse.h"

namespace linux_machine {
namespace {

using sysfs::Failure;
using sysfs::Result;
using sysfs::Trouble;

/// The kernel keeps the folder of a policy without processors: its affected_cpus are none, or
/// (since 5.18) all of its attributes answer EBUSY.
bool has_processors(sysfs::Tree& sys, Reader& reader, const std::string& folder) {
  const Result<std::string> processors = sysfs::read_text(sys, folder + "/affected_cpus");
  if (processors || processors.failure().trouble == Trouble::absent) {
    return true;
  }
  const int error = processors.failure().error;
  const bool offline =
      processors.failure().trouble == Trouble::silent && (error == 0 || error == EBUSY);
  if (!offline) {
    reader.fail(processors.failure());
  }
  return false;
}

std::vector<std::string> words_of(const std::string& text) {
  const std::vector<std::string_view> words = sysfs::parse_words(text);
  return {words.begin(), words.end()};
}

std::vector<long long> read_table(sysfs::Tree& sys, Reader& reader, const std::string& path) {
  const Result<std::string> text = sysfs::read_text(sys, path);
  if (!text) {
    const bool empty = text.failure().trouble == Trouble::silent && text.failure().error == 0;
    if (!empty && text.failure().trouble != Trouble::absent) {
      reader.fail(text.failure());
    }
    return {};
  }
  std::optional<std::vector<long long>> table = parse_table(*text);
  if (!table) {
    reader.fail(sysfs::nonsense(path, "\"" + *text + "\" is no table of frequencies"));
    return {};
  }
  return std::move(*table);
}

/// The frequencies that can be asked for. Some drivers list those of boost by themselves; they can
/// be reached while cpuinfo_max_freq says so, as it does while boost is on. acpi-cpufreq's boost is
/// no frequency that could be asked for.
std::vector<long long> read_tables(sysfs::Tree& sys, Reader& reader, const Policy& policy) {
  std::vector<long long> table =
      read_table(sys, reader, policy.folder + "/scaling_available_frequencies");
  if (table.empty() || policy.driver == kAcpiDriver) {
    return table;
  }
  for (const long long khz :
       read_table(sys, reader, policy.folder + "/scaling_boost_frequencies")) {
    if (khz <= policy.hardware_max_khz) {
      table.push_back(khz);
    }
  }
  std::sort(table.begin(), table.end(), std::greater<>());
  table.erase(std::unique(table.begin(), table.end()), table.end());
  return table;
}

void tell_kinds(std::vector<Policy>& policies) {
  for (Policy& policy : policies) {
    policy.kind_max_khz = policy.hardware_max_khz;
    for (const Policy& other : policies) {
      if (are_of_one_kind(policy, other)) {
        policy.kind_max_khz = std::max(policy.kind_max_khz, other.hardware_max_khz);
      }
    }
  }
}

Policy read_policy(sysfs::Tree& sys, Reader& reader, const std::string& folder) {
  Policy policy;
  policy.folder = folder;
  policy.driver = reader.text(folder + "/scaling_driver");
  policy.governor = reader.text(folder + "/scaling_governor");
  policy.governors =
      words_of(reader.text_if_there(folder + "/scaling_available_governors").value_or(""));
  policy.hardware_min_khz = reader.number(folder + "/cpuinfo_min_freq");
  policy.hardware_max_khz = reader.number(folder + "/cpuinfo_max_freq");
  policy.table_khz = read_tables(sys, reader, policy);
  policy.min_khz = reader.number(folder + "/scaling_min_freq");
  policy.max_khz = reader.number(folder + "/scaling_max_freq");
  if (is_intel(policy)) {
    policy.base_khz = reader.number_if_there(folder + "/base_frequency");
  }
  if (policy.driver == kAmdActiveDriver) {
    policy.epp = reader.text_if_there(folder + "/energy_performance_preference");
  }
  if (policy.driver == kAcpiDriver) {
    policy.boost = reader.number_if_there(folder + "/boost");
  }
  if (policy.hardware_min_khz <= 0 || policy.hardware_max_khz < policy.hardware_min_khz) {
    reader.fail(sysfs::nonsense(folder + "/cpuinfo_max_freq",
                                "no range from " + std::to_string(policy.hardware_min_khz) +
                                    " to " + std::to_string(policy.hardware_max_khz) + " kHz"));
  }
  return policy;
}

CpufreqGlobals read_globals(Reader& reader, const std::vector<Policy>& policies) {
  CpufreqGlobals globals;
  // With intel_pstate switched off its folder stays, and no_turbo answers EAGAIN.
  if (std::any_of(policies.begin(), policies.end(), is_intel)) {
    globals.no_turbo = reader.number_if_there(kNoTurbo);
    globals.max_perf_pct = reader.number_if_there(kMaxPerfPct);
    globals.min_perf_pct = reader.number_if_there(kMinPerfPct);
  }
  if (std::any_of(policies.begin(), policies.end(),
                  [](const Policy& policy) { return policy.driver == kAcpiDriver; })) {
    globals.boost = reader.number_if_there(kGlobalBoost);
  }
  return globals;
}

/// The policies' numbers, ascending; those of `names` that are not policies left out.
std::vector<int> policy_numbers(const std::vector<std::string>& names) {
  std::vector<int> numbers;
  for (const std::string& name : names) {
    if (const std::optional<int> number = sysfs::channel_of(name, "policy", "")) {
      numbers.push_back(*number);
    }
  }
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

}  // namespace

bool is_intel(const Policy& policy) {
  return policy.driver == "intel_pstate" || policy.driver == "intel_cpufreq";
}

bool has_pstates(sysfs::Tree& sys) {
  return !policy_numbers(sysfs::list(sys, kPoliciesFolder)).empty();
}

// Favoured processors are up to a tenth faster; the slow ones of a hybrid machine are a fifth or
// more slower, and mostly have another base frequency.
bool are_of_one_kind(const Policy& a, const Policy& b) {
  const auto [slower, faster] = std::minmax(a.hardware_max_khz, b.hardware_max_khz);
  return a.table_khz.empty() && b.table_khz.empty() && a.driver == b.driver &&
         a.hardware_min_khz == b.hardware_min_khz && a.base_khz == b.base_khz &&
         5 * slower >= 4 * faster;
}

std::optional<std::vector<long long>> parse_table(std::string_view text) {
  std::vector<long long> table;
  for (const std::string_view word : sysfs::parse_words(text)) {
    const std::optional<long long> khz = sysfs::parse_integer(word);
    if (!khz || *khz <= 0) {
      return std::nullopt;
    }
    table.push_back(*khz);
  }
  std::sort(table.begin(), table.end(), std::greater<>());
  table.erase(std::unique(table.begin(), table.end()), table.end());
  return table;
}

Result<Cpufreq> read_cpufreq(sysfs::Tree& sys) {
  std::vector<std::string> names;
  if (const int result = sys.list(kPoliciesFolder, names); result < 0) {
    return sysfs::failure("listing", kPoliciesFolder, -result);
  }
  Reader reader(sys);
  Cpufreq cpufreq;
  for (const int number : policy_numbers(names)) {
    const std::string folder = std::string(kPoliciesFolder) + "/policy" + std::to_string(number);
    if (has_processors(sys, reader, folder)) {
      cpufreq.policies.push_back(read_policy(sys, reader, folder));
    }
    if (reader.failure()) {
      return *reader.failure();
    }
  }
  if (cpufreq.policies.empty()) {
    return Failure{Trouble::absent,
                   "listing " + std::string(kPoliciesFolder) + ": there is no policy in use"};
  }
  tell_kinds(cpufreq.policies);
  cpufreq.globals = read_globals(reader, cpufreq.policies);
  if (reader.failure()) {
    return *reader.failure();
  }
  return cpufreq;
}

}  // namespace linux_machine
