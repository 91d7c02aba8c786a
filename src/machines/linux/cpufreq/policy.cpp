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

std::vector<long long> read_table(sysfs::Tree& sys, Reader& reader, const std::string& folder) {
  const std::string path = folder + "/scaling_available_frequencies";
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

Policy read_policy(sysfs::Tree& sys, Reader& reader, const std::string& folder) {
  Policy policy;
  policy.folder = folder;
  policy.driver = reader.text(folder + "/scaling_driver");
  policy.governor = reader.text(folder + "/scaling_governor");
  policy.governors =
      words_of(reader.text_if_there(folder + "/scaling_available_governors").value_or(""));
  policy.hardware_min_khz = reader.number(folder + "/cpuinfo_min_freq");
  policy.hardware_max_khz = reader.number(folder + "/cpuinfo_max_freq");
  policy.table_khz = read_table(sys, reader, folder);
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
  cpufreq.globals = read_globals(reader, cpufreq.policies);
  if (reader.failure()) {
    return *reader.failure();
  }
  return cpufreq;
}

}  // namespace linux_machine
