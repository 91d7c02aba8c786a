#include "machines/linux/sensors/thermometers.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>

#include "machines/linux/sysfs/parse.h"

// The rules go from the processor's own sensors, over what the board's chips are told by the
// processor, to what the firmware makes of it. Names and labels are those of the kernel's drivers:
// coretemp.c, k10temp.c, via-cputemp.c, thermal_hwmon.c, nct6775-core.c, asus-ec-sensors.c,
// dell-smm-hwmon.c, cros_ec_hwmon.c; the out-of-tree zenpower. Never CPUTIN or AUXTIN, which float
// on many boards (Documentation/hwmon/nct6775.rst).

namespace linux_machine {
namespace {

using Packages = std::vector<ThermalPackage>;
using Says = std::function<bool(std::string_view)>;

std::string lower(std::string_view text) {
  std::string small(text);
  std::transform(small.begin(), small.end(), small.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return small;
}

Says is(std::string_view wanted) {
  return [wanted](std::string_view text) { return text == wanted; };
}

Says starts(std::string_view wanted) {
  return [wanted](std::string_view text) { return text.starts_with(wanted); };
}

Thermometer thermometer(const ThermalChip& chip, const HwmonInput& input) {
  std::string text = chip.device.name;
  if (!input.label.empty()) {
    text += ", label \"" + input.label + "\"";
  }
  return {input.attribute, std::move(text)};
}

ThermalPackage labelled(const ThermalChip& chip, const Says& wanted) {
  ThermalPackage found;
  for (const HwmonInput& input : chip.temperatures) {
    if (wanted(input.label)) {
      found.push_back(thermometer(chip, input));
    }
  }
  return found;
}

/// The first label that the chip has decides.
ThermalPackage first_labelled(const ThermalChip& chip, std::initializer_list<Says> wanted) {
  for (const Says& label : wanted) {
    if (ThermalPackage found = labelled(chip, label); !found.empty()) {
      found.resize(1);
      return found;
    }
  }
  return {};
}

/// Chips of a name are a package each.
Packages package_by_chip(const ThermalSurvey& survey, const Says& name,
                         std::initializer_list<Says> labels) {
  Packages packages;
  for (const ThermalChip& chip : survey.chips) {
    if (name(chip.device.name)) {
      if (ThermalPackage found = first_labelled(chip, labels); !found.empty()) {
        packages.push_back(std::move(found));
      }
    }
  }
  return packages;
}

/// Chips of a name are a package each, and everything that fits on one belongs to it.
Packages whole_package_by_chip(const ThermalSurvey& survey, const Says& name, const Says& label) {
  Packages packages;
  for (const ThermalChip& chip : survey.chips) {
    if (ThermalPackage found; name(chip.device.name) && !(found = labelled(chip, label)).empty()) {
      packages.push_back(std::move(found));
    }
  }
  return packages;
}

/// Everything that fits belongs to one package.
Packages one_package(const ThermalSurvey& survey, const Says& name, const Says& label) {
  ThermalPackage all;
  for (const ThermalChip& chip : survey.chips) {
    if (name(chip.device.name)) {
      const ThermalPackage found = labelled(chip, label);
      all.insert(all.end(), found.begin(), found.end());
    }
  }
  return all.empty() ? Packages() : Packages{std::move(all)};
}

/// The number that a package's sensor gives in its label; older kernels called it physical.
std::optional<int> package_id(std::string_view label) {
  const auto id = sysfs::channel_of(label, "Package id ", "");
  return id ? id : sysfs::channel_of(label, "Physical id ", "");
}

/// Processors without a sensor for the package are as hot as their hottest core.
Packages coretemp(const ThermalSurvey& survey) {
  std::vector<std::pair<int, ThermalPackage>> found;
  for (const ThermalChip& chip : survey.chips) {
    if (chip.device.name != "coretemp") {
      continue;
    }
    const std::size_t before = found.size();
    for (const HwmonInput& input : chip.temperatures) {
      if (const auto id = package_id(input.label)) {
        found.push_back({*id, {thermometer(chip, input)}});
      }
    }
    ThermalPackage cores = labelled(chip, [](auto) { return true; });
    if (found.size() == before && !cores.empty()) {
      found.push_back({static_cast<int>(before), std::move(cores)});
    }
  }
  std::stable_sort(found.begin(), found.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  Packages packages;
  for (auto& [id, package] : found) {
    packages.push_back(std::move(package));
  }
  return packages;
}

/// The chips are in the order of their nodes, and the nodes of a package follow each other: where
/// every package has several, so many chips are one package.
Packages join_nodes(Packages nodes, std::size_t packages) {
  if (packages == 0 || nodes.size() % packages != 0) {
    return nodes;
  }
  const std::size_t nodes_of_each = nodes.size() / packages;
  Packages joined(packages);
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    ThermalPackage& package = joined[i / nodes_of_each];
    package.insert(package.end(), nodes[i].begin(), nodes[i].end());
  }
  return joined;
}

Packages amd(const ThermalSurvey& survey) {
  Packages nodes;
  for (const ThermalChip& chip : survey.chips) {
    ThermalPackage found = measures_amd_node(chip)
                               ? first_labelled(chip, {is("Tdie"), is("Tctl"), is("")})
                               : ThermalPackage();
    if (!found.empty()) {
      nodes.push_back(std::move(found));
    }
  }
  return join_nodes(std::move(nodes), survey.packages);
}

Packages via(const ThermalSurvey& survey) {
  return package_by_chip(survey, is("via_cputemp"), {[](auto) { return true; }});
}

/// What the device trees of ARM and RISC-V call the thermal zones of processors, "cpu0-thermal" as
/// well as "CPU-therm". A zone's monitor is named as the zone, with _ for -.
bool is_processor_zone(std::string_view type) {
  std::string name = lower(type);
  std::replace(name.begin(), name.end(), '-', '_');
  const auto begins = [&](std::string_view wanted) { return name.starts_with(wanted); };
  const bool thermal = name.find("_therm") != std::string::npos;
  return (thermal &&
          (begins("cpu") || begins("bigcore") || begins("littlecore") || begins("soc_thermal"))) ||
         begins("thermal_cluster") || name == "cpu" || name == "imx_thermal_zone" ||
         name == "aml_thermal" || name == "bcm2835_thermal";
}

/// These monitors have no labels. "pvt" is the block for process, voltage and temperature of some
/// RISC-V and ARM systems, whose temperatures are all the processor's.
Packages system_on_chip(const ThermalSurvey& survey) {
  const Says name = [](auto text) { return is_processor_zone(text) || text == "pvt"; };
  return one_package(survey, name, [](auto) { return true; });
}

bool labels_system_on_chip(std::string_view label) {
  const std::string small = lower(label);
  return small.find("cpu") != std::string::npos || small.find("soc") != std::string::npos ||
         small.find("cluster") != std::string::npos;
}

/// The management processor of an ARM server: one in each package.
Packages arm_server(const ThermalSurvey& survey) {
  return whole_package_by_chip(survey, is("apm_xgene"), labels_system_on_chip);
}

/// The controllers of ARM systems have a sensor for each part, told apart by labels alone.
Packages arm_controller(const ThermalSurvey& survey) {
  const Says name = [](auto text) {
    return text == "scpi_sensors" || text == "scmi" || text == "scmi_sensors";
  };
  return one_package(survey, name, labels_system_on_chip);
}

/// What an Intel processor tells the board's chip; one agent a package.
Packages board_peci(const ThermalSurvey& survey) {
  Packages packages;
  for (const ThermalChip& chip : survey.chips) {
    if (chip.device.name.starts_with("nct6")) {
      for (Thermometer& agent : labelled(chip, [](auto label) {
             return sysfs::channel_of(label, "PECI Agent ", "").has_value();
           })) {
        packages.push_back({std::move(agent)});
      }
    }
  }
  return packages;
}

/// What an AMD processor tells it.
Packages board_tsi(const ThermalSurvey& survey) {
  return package_by_chip(survey, starts("nct6"),
                         {starts("TSI"), is("AMD SB-TSI"), starts("SMBUSMASTER")});
}

Packages asus(const ThermalSurvey& survey) {
  return package_by_chip(survey, is("asusec"), {is("CPU Package"), is("CPU")});
}

Packages dell(const ThermalSurvey& survey) {
  return package_by_chip(survey, is("dell_smm"), {is("CPU")});
}

Packages thinkpad(const ThermalSurvey& survey) {
  Packages packages;
  for (const ThermalChip& chip : survey.chips) {
    if (chip.device.name == "thinkpad" && !chip.temperatures.empty()) {
      const HwmonInput& first = chip.temperatures.front();
      if (first.channel == 1 && (first.label.empty() || first.label == "CPU")) {
        packages.push_back({thermometer(chip, first)});
      }
    }
  }
  return packages;
}

Packages chromebook(const ThermalSurvey& survey) {
  return package_by_chip(survey, is("cros_ec"), {[](auto label) {
                           return lower(label).find("cpu") != std::string::npos;
                         }});
}

ThermalPackage zones_of_type(const ThermalSurvey& survey, const Says& type) {
  ThermalPackage found;
  for (const ThermalZone& zone : survey.zones) {
    if (type(zone.type)) {
      found.push_back({zone.folder + "/temp", "thermal zone " + zone.type});
    }
  }
  return found;
}

Packages package_zones(const ThermalSurvey& survey) {
  Packages packages;
  for (Thermometer& zone : zones_of_type(survey, is("x86_pkg_temp"))) {
    packages.push_back({std::move(zone)});
  }
  return packages;
}

Packages processor_zones(const ThermalSurvey& survey) {
  ThermalPackage found = zones_of_type(survey, is_processor_zone);
  return found.empty() ? Packages() : Packages{std::move(found)};
}

/// Often constant, and often nonsense: the last to be asked.
Packages firmware_zones(const ThermalSurvey& survey) {
  ThermalPackage found = zones_of_type(survey, is("acpitz"));
  return found.empty() ? Packages() : Packages{std::move(found)};
}

using Rule = Packages (*)(const ThermalSurvey&);
constexpr Rule kRules[] = {
    coretemp,      amd,  via,  system_on_chip, arm_server, arm_controller, board_peci,
    board_tsi,     asus, dell, thinkpad,       chromebook, package_zones,  processor_zones,
    firmware_zones};

bool has_word(std::string_view label, std::string_view wanted) {
  std::string words = lower(label);
  std::replace_if(
      words.begin(), words.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, ' ');
  const auto all = sysfs::parse_words(words);
  return std::find(all.begin(), all.end(), wanted) != all.end();
}

/// Cards, drives and supplies have surroundings of their own.
bool is_on_the_board(std::string_view name) {
  constexpr std::array<std::string_view, 9> kOthers = {
      "amdgpu", "radeon", "nouveau", "i915", "xe", "nvme", "drivetemp", "mlx5", "corsairpsu"};
  return std::find(kOthers.begin(), kOthers.end(), name) == kOthers.end();
}

}  // namespace

std::vector<Packages> processor_choices(const ThermalSurvey& survey) {
  std::vector<Packages> choices;
  for (const Rule rule : kRules) {
    if (Packages found = rule(survey); !found.empty()) {
      choices.push_back(std::move(found));
    }
  }
  return choices;
}

std::vector<Thermometer> ambient_choices(const ThermalSurvey& survey) {
  std::vector<Thermometer> found;
  for (const std::string_view word : {"ambient", "system"}) {
    for (const ThermalChip& chip : survey.chips) {
      if (is_on_the_board(chip.device.name)) {
        const auto some = labelled(chip, [&](auto label) { return has_word(label, word); });
        found.insert(found.end(), some.begin(), some.end());
      }
    }
  }
  return found;
}

}  // namespace linux_machine
