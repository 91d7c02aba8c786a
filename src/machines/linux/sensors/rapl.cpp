#include "machines/linux/sensors/rapl.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include "machines/linux/hwmon/natural_order.h"
#include "machines/linux/sensors/die_zones.h"
#include "machines/linux/sysfs/attribute.h"

// The folder is flat: intel-rapl:0 is a zone and intel-rapl:0:1 one inside of it, with numbers in
// hexadecimal. What a zone is, is said by its name alone: package-<package>[-die-<die>], core,
// uncore and dram within it, psys beside it. AMD's processors are under the same names. The same
// package may be there again under another control type (intel-rapl-mmio:0); for packages of
// several dies see die_zones.cpp.
// Source: Documentation/power/powercap/powercap.rst, drivers/powercap/intel_rapl_common.c.

namespace linux_machine {
namespace {

constexpr const char* kPowercapFolder = "class/powercap/";

// No socket draws more.
constexpr double kMostPackageW = 1000;
// Limits may be raised while we run; from a low one nothing follows.
constexpr double kLeastBoundW = 100;
// A range beyond this is not one of a counter of 32 bits in units of up to a joule.
constexpr long long kMostRangeUj = 1LL << 52;

struct Named {
  std::string zone;  // intel-rapl:0
  std::string name;  // package-0
};

std::string parent_of(const std::string& zone) {
  return zone.substr(0, zone.rfind(':'));
}

bool is_inside_another(const std::string& zone) {
  return std::count(zone.begin(), zone.end(), ':') > 1;
}

/// Every zone that tells its name; those of the processor's own interface first.
std::vector<Named> read_names(sysfs::Tree& tree) {
  std::vector<Named> zones;
  for (const std::string& zone : sysfs::list(tree, "class/powercap")) {
    if (zone.find(':') == std::string::npos) {
      continue;  // a control type
    }
    if (const auto name = sysfs::read_text(tree, kPowercapFolder + zone + "/name")) {
      zones.push_back({zone, *name});
    }
  }
  std::stable_partition(zones.begin(), zones.end(),
                        [](const Named& one) { return one.zone.starts_with("intel-rapl:"); });
  return zones;
}

bool is_limit(std::string_view attribute) {
  return attribute.starts_with("constraint_") &&
         (attribute.ends_with("_power_limit_uw") || attribute.ends_with("_max_power_uw"));
}

/// Limits that are empty, 0 or no numbers are unknown.
std::optional<double> largest_limit_w(sysfs::Tree& tree, const std::string& folder) {
  long long largest_uw = 0;
  for (const std::string& name : sysfs::list(tree, folder)) {
    if (is_limit(name)) {
      const auto limit_uw = sysfs::read_integer(tree, std::string(folder).append("/").append(name));
      largest_uw = std::max(largest_uw, limit_uw ? *limit_uw : 0);
    }
  }
  return largest_uw > 0 ? std::optional(static_cast<double>(largest_uw) / 1e6) : std::nullopt;
}

long long range_uj(sysfs::Tree& tree, const std::string& folder) {
  const auto range = sysfs::read_integer(tree, folder + "/max_energy_range_uj");
  return range && *range > 0 && *range <= kMostRangeUj ? *range : 0;
}

using ByName = std::map<std::string, RaplZone, decltype(&natural_less)>;

/// Adds a zone that counts energy, unless there is one of that name.
void add(ByName& zones, sysfs::Tree& tree, const Named& found, const std::string& name) {
  const std::string folder = kPowercapFolder + found.zone;
  const std::string energy = folder + "/energy_uj";
  if (zones.count(name) != 0 || !sysfs::exists(tree, energy)) {
    return;
  }
  const std::optional<double> limit_w = largest_limit_w(tree, folder);
  zones.emplace(name, RaplZone{name,
                               folder + " (" + name + ")",
                               limit_w,
                               {energy, {range_uj(tree, folder), most_plausible_w(limit_w)}}});
}

std::string name_of(const std::vector<Named>& zones, const std::string& zone) {
  const auto at =
      std::find_if(zones.begin(), zones.end(), [&](const Named& one) { return one.zone == zone; });
  return at == zones.end() ? zone : at->name;
}

std::vector<RaplZone> in_order(ByName& zones) {
  std::vector<RaplZone> ordered;
  for (auto& [name, zone] : zones) {
    ordered.push_back(std::move(zone));
  }
  return ordered;
}

}  // namespace

double most_plausible_w(std::optional<double> limit_w) {
  return limit_w ? std::clamp(2 * *limit_w, kLeastBoundW, kMostPackageW) : kMostPackageW;
}

RaplZones find_rapl_zones(sysfs::Tree& tree) {
  const std::vector<Named> zones = read_names(tree);
  ByName packages(natural_less);
  ByName memory(natural_less);
  ByName platform(natural_less);
  for (const Named& one : zones) {
    if (is_inside_another(one.zone)) {
      if (one.name == "dram") {
        add(memory, tree, one, "dram of " + name_of(zones, parent_of(one.zone)));
      }
    } else if (one.name.starts_with("package-")) {
      add(packages, tree, one, one.name);
    } else if (one.name == "psys") {
      add(platform, tree, one, one.name);
    }
  }
  return {without_mirrors(tree, in_order(packages)), in_order(memory), in_order(platform)};
}

}  // namespace linux_machine
