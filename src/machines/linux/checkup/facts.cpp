#include "machines/linux/checkup/facts.h"

#include "Host/host.h"
#include "machines/linux/checkup/file_capabilities.h"
#include "machines/linux/cpufreq/pstates.h"
#include "machines/linux/fans/curve_file.h"
#include "machines/linux/fans/daemons.h"
#include "machines/linux/fans/fan_survey.h"
#include "machines/linux/giving_back/left_behind.h"
#include "machines/linux/sysfs/attribute.h"
#include "machines/linux/watch/safety.h"
#include "machines/linux_kernel/linux_kernel.h"

namespace linux_machine {
namespace {

Facts::PowerKey try_power(const Key& key) {
  const sysfs::Result<double> value = key.connect()->read();
  return {key.name(), static_cast<bool>(value),
          !value && value.failure().trouble == sysfs::Trouble::refused};
}

Facts::Fan look_at_fan(const FanChannel& channel, std::size_t number,
                       const std::string& curves_folder) {
  Facts::Fan fan;
  fan.name = "F" + std::to_string(number) + "Tg (" + channel.chip + " fan" +
             std::to_string(channel.channel) + ")";
  fan.refusal = channel.refusal;
  fan.connection = channel.connection;
  fan.beyond_forced = number >= kMostForcedFans && channel.measurable &&
                      channel.connection == FanChannel::Connection::certain;
  fan.keeps_no_mode = channel.shares_switch;
  const auto curve = load_curve(curves_folder, channel);
  fan.has_curve = curve && curve->has_value();
  fan.damaged = curve ? "" : curve.failure().message;
  return fan;
}

std::optional<Facts::AtLimit> look_for_limit(const std::vector<WatchedTemperature>& temperatures,
                                             sysfs::Tree& sys) {
  constexpr double kPerDegree = 1000;
  for (const WatchedTemperature& one : temperatures) {
    const sysfs::Result<long long> value = sysfs::read_integer(sys, one.attribute);
    const double celsius = value ? static_cast<double>(*value) / kPerDegree : 0;
    if (celsius >= one.critical_c - kMarginC && is_processors_temperature(celsius)) {
      return Facts::AtLimit{
          .attribute = one.attribute, .celsius = celsius, .limit_c = one.critical_c};
    }
  }
  return std::nullopt;
}

void look_at_pstates(Facts& facts, sysfs::Tree& sys) {
  if (!has_pstates(sys)) {
    return;
  }
  const sysfs::Result<Cpufreq> cpufreq = read_cpufreq(sys);
  if (!cpufreq) {
    facts.pstate_trouble = cpufreq.failure().message;
  } else if (!cpufreq->policies.empty()) {
    facts.pstates = count_pstates(cpufreq->policies);
    facts.pstate_driver = cpufreq->policies.front().driver;
  }
}

}  // namespace

Facts gather_facts(Machine& machine, const Surroundings& surroundings,
                   const std::string& programs) {
  Facts facts;
  facts.programs = programs;
  facts.superuser = surroundings.effective_user() == 0;
  facts.fixed_priority = linux_kernel::may_have_fixed_priority(host::kControlPriority);
  facts.fixed_runtime_us = linux_kernel::fixed_priority_runtime_us();
  facts.vorn_capabilities = file_capabilities(programs + "vorn");
  facts.keys = machine.keys().size();
  for (const Key& key : machine.keys()) {
    if (key.connect && key.name().starts_with("P")) {
      facts.power.push_back(try_power(key));
    }
  }
  facts.watched_temperature = !machine.temperatures().empty();
  facts.at_limit = look_for_limit(machine.temperatures(), surroundings.sys);
  std::size_t number = 0;
  for (const FanChannel& channel : machine.fans().channels()) {
    facts.fans.push_back(look_at_fan(channel, number, surroundings.curves_folder));
    facts.fans.back().has_maximum =
        machine.fans().has_maximum(number) && !machine.fans().maximum_is_measured_on_demand(number);
    ++number;
  }
  facts.fan_daemon = running_fan_daemon(surroundings.proc);
  look_at_pstates(facts, surroundings.sys);
  facts.left_behind = parts_with_state(surroundings);
  return facts;
}

}  // namespace linux_machine
