#include "machines/linux/sensors/hwmon_power.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "machines/linux/hwmon/devices.h"
#include "machines/linux/sensors/rapl.h"
#include "machines/linux/sysfs/attribute.h"

namespace linux_machine {
namespace {

std::string describe(const HwmonDevice& device, const HwmonInput& input) {
  const std::string label = input.label.empty() ? "" : ", label \"" + input.label + "\"";
  return device.name + label + ": " + input.attribute;
}

/// Whether an input is part of a processor's power. One line a kind of driver, best first:
/// fam15h_power measures the package; zenpower (out of tree) the processor's voltage rails; on ARM
/// servers the label says it (xgene-hwmon.c), or what the firmware calls a power meter of ACPI's:
/// one of several beside those of the module, the chip and its input and output.
using Belongs = bool (*)(const HwmonDevice& device, const HwmonInput& input);
constexpr Belongs kKinds[] = {
    [](const HwmonDevice& device, const HwmonInput& input) {
      return device.name == "zenpower" && input.label.starts_with("SVI2_P_");
    },
    [](const HwmonDevice& device, const HwmonInput& input) {
      return device.name == "fam15h_power" && input.channel == 1;
    },
    [](const HwmonDevice& /*device*/, const HwmonInput& input) {
      return input.label == "CPU power";
    },
    [](const HwmonDevice& device, const HwmonInput& input) {
      return device.name == "power_meter" && input.label.starts_with("CPU Power Socket");
    },
};

std::optional<double> largest_limit_w(sysfs::Tree& tree, const HwmonDevice& device, int channel) {
  long long largest_uw = 0;
  for (const char* limit : {"_crit", "_max", "_cap"}) {
    const auto limit_uw =
        sysfs::read_integer(tree, device.folder + "/power" + std::to_string(channel) + limit);
    largest_uw = std::max(largest_uw, limit_uw ? *limit_uw : 0);
  }
  return largest_uw > 0 ? std::optional(static_cast<double>(largest_uw) / 1e6) : std::nullopt;
}

/// The powers that a monitor shows. ACPI's power meter has a mean in place of an input, and a name
/// from the firmware in place of a label.
std::vector<HwmonInput> find_powers(sysfs::Tree& tree, const HwmonDevice& device) {
  if (device.name != "power_meter") {
    return find_inputs(tree, device, "power");
  }
  const std::string average = device.folder + "/power1_average";
  const auto name = sysfs::read_text(tree, device.folder + "/power1_oem_info");
  if (!name || !sysfs::exists(tree, average)) {
    return {};
  }
  return {{1, *name, average}};
}

class PowerSensor : public Sensor {
 public:
  PowerSensor(sysfs::Tree& tree, const std::vector<HwmonPower>& powers) {
    for (const HwmonPower& one : powers) {
      parts_.push_back({sysfs::Attribute::open(tree, one.attribute, sysfs::Mode::read),
                        static_cast<long long>(most_plausible_w(one.limit_w) * 1e6)});
    }
  }

  sysfs::Result<double> read() override {
    long long sum_uw = 0;
    for (auto& [attribute, most_uw] : parts_) {
      if (!attribute) {
        return attribute.failure();
      }
      const sysfs::Result<long long> power_uw = attribute->read_integer();
      if (!power_uw) {
        return power_uw.failure();
      }
      if (*power_uw < 0 || *power_uw > most_uw) {
        return sysfs::nonsense(attribute->path(),
                               std::to_string(*power_uw) + " microwatts cannot be");
      }
      sum_uw += *power_uw;
    }
    if (sum_uw == 0) {  // a processor that reads this needs power
      return sysfs::nonsense(parts_.front().attribute->path(), "0 microwatts cannot be");
    }
    return static_cast<double>(sum_uw) / 1e6;
  }

 private:
  struct Part {
    sysfs::Result<sysfs::Attribute> attribute;
    long long most_uw = 0;
  };

  std::vector<Part> parts_;
};

}  // namespace

std::vector<HwmonEnergy> find_socket_energies(sysfs::Tree& tree) {
  std::vector<HwmonEnergy> found;
  for (const HwmonDevice& device : find_hwmon(tree)) {
    if (device.name != "amd_energy" && device.name != "zenergy") {
      continue;
    }
    for (const HwmonInput& input : find_inputs(tree, device, "energy")) {
      if (input.label.starts_with("Esocket")) {
        // The driver widens the counter, which then has no range to speak of.
        found.push_back(
            {describe(device, input), {input.attribute, {0, most_plausible_w(std::nullopt)}}});
      }
    }
  }
  return found;
}

std::vector<HwmonPower> find_processor_powers(sysfs::Tree& tree) {
  const std::vector<HwmonDevice> devices = find_hwmon(tree);
  for (const Belongs belongs : kKinds) {
    std::vector<HwmonPower> found;
    for (const HwmonDevice& device : devices) {
      for (const HwmonInput& input : find_powers(tree, device)) {
        if (belongs(device, input)) {
          found.push_back({input.attribute, describe(device, input),
                           largest_limit_w(tree, device, input.channel)});
        }
      }
    }
    if (!found.empty()) {
      return found;
    }
  }
  return {};
}

std::unique_ptr<Sensor> connect_powers(sysfs::Tree& tree, const std::vector<HwmonPower>& powers) {
  return std::make_unique<PowerSensor>(tree, powers);
}

}  // namespace linux_machine
