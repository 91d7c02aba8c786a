#include "Inspection/inspection.h"

#include <filesystem>

#include "machines/linux/checkup/facts.h"
#include "machines/linux/checkup/judgement.h"
#include "machines/linux/checkup/work.h"
#include "machines/linux/cpufreq/pstates.h"
#include "machines/linux/this_machine.h"

using linux_machine::this_machine;
using linux_machine::this_surroundings;

std::vector<inspection::Key> inspection::keys() {
  std::vector<Key> keys;
  for (const linux_machine::Key& key : this_machine().keys()) {
    keys.push_back({key.name(), key.source, key.moves_fan_when_read});
  }
  return keys;
}

std::size_t inspection::pstates() {
  const auto cpufreq = linux_machine::read_cpufreq(this_surroundings().sys);
  return cpufreq ? linux_machine::count_pstates(cpufreq->policies) : 0;
}

std::vector<inspection::Finding> inspection::check() {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  return judge(gather_facts(this_machine(), this_surroundings(), self.parent_path() / ""));
}

bool inspection::calibrate(const Console& console) {
  return linux_machine::calibrate(this_machine(), this_surroundings(), console);
}

bool inspection::restore(const Console& console) {
  return linux_machine::restore_parts(this_surroundings(), console);
}
