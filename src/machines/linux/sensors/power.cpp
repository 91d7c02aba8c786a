#include "machines/linux/sensors/power.h"

#include <string>

#include "machines/linux/sensors/hwmon_power.h"
#include "machines/linux/sensors/rapl.h"

namespace linux_machine {
namespace {

// The most that fp88 holds, but for the fraction.
constexpr double kMostFp88W = 255;

/// What a key is summed up from.
struct Parts {
  std::string source;
  double most_w = 0;  ///< no reading says more: the sum of the bounds that its sensor keeps to

  void add(const std::string& description, double part_most_w) {
    source += (source.empty() ? "" : " + ") + description;
    most_w += part_most_w;
  }

  /// The finer type only if every power that is believed fits. Limits themselves say too little:
  /// peaks go beyond them. Parts that are believed 100 W whatever their limit (see
  /// most_plausible_w) count as much here: a key never clips what its sensor measured.
  const controller::ValueType& type() const {
    return most_w <= kMostFp88W ? controller::kFp88 : controller::kFpe2;
  }
};

void add_energy_key(std::vector<SensorKey>& keys, const Surroundings& surroundings,
                    const char* name, const Parts& parts,
                    const std::vector<EnergyCounter>& counters) {
  keys.push_back({name, parts.type(), parts.source,
                  [&surroundings, counters] { return connect_energy(surroundings, counters); }});
}

bool add_zones_key(std::vector<SensorKey>& keys, const Surroundings& surroundings, const char* name,
                   const std::vector<RaplZone>& zones) {
  Parts parts;
  std::vector<EnergyCounter> counters;
  for (const RaplZone& zone : zones) {
    parts.add(zone.description, zone.counter.limits.most_w);
    counters.push_back(zone.counter);
  }
  if (!counters.empty()) {
    add_energy_key(keys, surroundings, name, parts, counters);
  }
  return !counters.empty();
}

bool add_socket_energy_key(std::vector<SensorKey>& keys, const Surroundings& surroundings) {
  Parts parts;
  std::vector<EnergyCounter> counters;
  for (const HwmonEnergy& one : find_socket_energies(surroundings.sys)) {
    parts.add(one.description, one.counter.limits.most_w);
    counters.push_back(one.counter);
  }
  if (!counters.empty()) {
    add_energy_key(keys, surroundings, "PC0C", parts, counters);
  }
  return !counters.empty();
}

void add_power_key(std::vector<SensorKey>& keys, sysfs::Tree& tree) {
  const std::vector<HwmonPower> powers = find_processor_powers(tree);
  if (powers.empty()) {
    return;
  }
  Parts parts;
  for (const HwmonPower& one : powers) {
    parts.add(one.description, most_plausible_w(one.limit_w));
  }
  keys.push_back({"PC0C", parts.type(), parts.source,
                  [&tree, powers] { return connect_powers(tree, powers); }});
}

}  // namespace

std::vector<SensorKey> find_power_keys(const Surroundings& surroundings) {
  std::vector<SensorKey> keys;
  const RaplZones rapl = find_rapl_zones(surroundings.sys);
  if (!add_zones_key(keys, surroundings, "PC0C", rapl.packages) &&
      !add_socket_energy_key(keys, surroundings)) {
    add_power_key(keys, surroundings.sys);
  }
  add_zones_key(keys, surroundings, "PD0C", rapl.memory);
  add_zones_key(keys, surroundings, "PS0C", rapl.platform);
  return keys;
}

}  // namespace linux_machine
