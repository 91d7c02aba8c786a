#include "Inspection/inspection.h"

#include <sys/utsname.h>

#include <filesystem>

#include "machines/linux/checkup/facts.h"
#include "machines/linux/checkup/judgement.h"
#include "machines/linux/checkup/work.h"
#include "machines/linux/cpufreq/pstates.h"
#include "machines/linux/drivers/recorded_machine.h"
#include "machines/linux/giving_back/standard_error.h"
#include "machines/linux/this_machine.h"

using linux_machine::this_machine;
using linux_machine::used_surroundings;

std::vector<inspection::Key> inspection::keys() {
  std::vector<Key> keys;
  for (const linux_machine::Key& key : this_machine().keys()) {
    keys.push_back({key.name(), key.source, key.moves_fan_when_read});
  }
  return keys;
}

std::size_t inspection::pstates() {
  const auto cpufreq = linux_machine::read_cpufreq(used_surroundings().sys);
  return cpufreq ? linux_machine::count_pstates(cpufreq->policies) : 0;
}

std::vector<inspection::Finding> inspection::check() {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  return judge(gather_facts(this_machine(), used_surroundings(), self.parent_path() / ""));
}

bool inspection::calibrate(const Console& console) {
  return linux_machine::calibrate(this_machine(), used_surroundings(), console);
}

bool inspection::assign(const std::string& wish, const Console& console) {
  return linux_machine::assign_fan(this_machine(), used_surroundings(), wish, console);
}

bool inspection::restore(const Console& console) {
  return linux_machine::give_back_parts(used_surroundings(), console);
}

std::optional<std::string> inspection::record(const Console& /*console*/) {
  constexpr int kReadings = 3;
  const linux_machine::Surroundings& surroundings = used_surroundings();
  utsname kernel{};
  uname(&kernel);
  const bool superuser = surroundings.effective_user() == 0;
  return std::string("# A machine, as vorn-keys reads it. ") + kernel.sysname + " " +
         kernel.release + " " + kernel.machine + ", read by " +
         (superuser
              ? "root.\n# Permissions without a 4 at the end: an ordinary user may not read it.\n"
              : "an ordinary user.\n# ! EACCES: which he may not read.\n") +
         linux_machine::record_machine(surroundings, kReadings);
}

std::string inspection::use_record(const std::string& text) {
  auto entries = linux_machine::read_machine_text(text);
  if (!entries) {
    return entries.failure().message;
  }
  linux_machine::use_surroundings((new linux_machine::RecordedMachine(
                                       *std::move(entries), linux_machine::say_on_standard_error))
                                      ->surroundings());
  return "";
}
