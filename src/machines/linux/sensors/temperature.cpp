#include "machines/linux/sensors/temperature.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <utility>

#include "machines/linux/sensors/design_limit.h"
#include "machines/linux/sensors/thermometers.h"
#include "machines/linux/sysfs/attribute.h"
#include "machines/linux/sysfs/parse.h"

namespace linux_machine {
namespace {

/// Whether a thing can be so warm.
using Plausible = bool (*)(double celsius);

bool is_airs_temperature(double celsius) {
  return celsius >= -40 && celsius <= 125;
}

/// The lowest of any processor's limits is far above.
bool is_critical_temperature(double celsius) {
  return celsius >= 50 && celsius <= 125;
}

constexpr double kPerDegree = 1000;

constexpr std::size_t kMostPackages = 10;  // TC0D to TC9D

sysfs::Failure not_plausible(const std::string& path, double celsius) {
  char text[64];
  std::snprintf(text, sizeof text, "%.3f degrees cannot be", celsius);
  return sysfs::nonsense(path, text);
}

sysfs::Result<double> read_degrees(sysfs::Attribute& attribute, Plausible plausible) {
  const sysfs::Result<long long> millidegrees = attribute.read_integer();
  if (!millidegrees) {
    return millidegrees.failure();
  }
  const double celsius = static_cast<double>(*millidegrees) / kPerDegree;
  return plausible(celsius) ? sysfs::Result<double>(celsius)
                            : not_plausible(attribute.path(), celsius);
}

/// The hottest of some thermometers, of those that answer.
class HottestSensor : public Sensor {
 public:
  HottestSensor(sysfs::Tree& tree, const std::vector<Thermometer>& thermometers,
                Plausible plausible)
      : plausible_(plausible) {
    for (const Thermometer& one : thermometers) {
      attributes_.push_back(sysfs::Attribute::open(tree, one.attribute, sysfs::Mode::read));
    }
  }

  sysfs::Result<double> read() override {
    if (attributes_.size() == 1) {
      return read_one(attributes_.front());
    }
    std::optional<sysfs::Result<double>> hottest;
    for (sysfs::Result<sysfs::Attribute>& attribute : attributes_) {
      sysfs::Result<double> degrees = read_one(attribute);
      if (!hottest || (degrees && (!*hottest || *degrees > **hottest))) {
        hottest = std::move(degrees);
      }
    }
    return *std::move(hottest);
  }

 private:
  sysfs::Result<double> read_one(sysfs::Result<sysfs::Attribute>& attribute) const {
    return attribute ? read_degrees(*attribute, plausible_) : attribute.failure();
  }

  const Plausible plausible_;
  std::vector<sysfs::Result<sysfs::Attribute>> attributes_;  // never empty
};

/// The hottest of all packages, of which none may be missing: it might have been that one.
class HottestPackageSensor : public Sensor {
 public:
  HottestPackageSensor(sysfs::Tree& tree, const std::vector<ThermalPackage>& packages) {
    for (const ThermalPackage& package : packages) {
      packages_.push_back(
          std::make_unique<HottestSensor>(tree, package, is_processors_temperature));
    }
  }

  sysfs::Result<double> read() override {
    sysfs::Result<double> hottest = packages_.front()->read();
    for (std::size_t i = 1; i < packages_.size() && hottest; ++i) {
      sysfs::Result<double> next = packages_[i]->read();
      if (!next || *next > *hottest) {
        hottest = std::move(next);
      }
    }
    return hottest;
  }

 private:
  std::vector<std::unique_ptr<HottestSensor>> packages_;  // never empty
};

bool is_plausible_now(sysfs::Tree& tree, const Thermometer& thermometer, Plausible plausible) {
  sysfs::Result<sysfs::Attribute> attribute =
      sysfs::Attribute::open(tree, thermometer.attribute, sysfs::Mode::read);
  return attribute && read_degrees(*attribute, plausible);
}

bool answers_now(sysfs::Tree& tree, const std::vector<ThermalPackage>& packages) {
  return std::any_of(packages.begin(), packages.end(), [&](const ThermalPackage& package) {
    return std::any_of(package.begin(), package.end(), [&](const Thermometer& one) {
      return is_plausible_now(tree, one, is_processors_temperature);
    });
  });
}

/// The packages by the best rule whose sensors work, or else by the best; none if there is none.
std::vector<ThermalPackage> find_packages(sysfs::Tree& tree, const ThermalSurvey& survey) {
  const auto choices = processor_choices(survey);
  for (const auto& packages : choices) {
    if (answers_now(tree, packages)) {
      return packages;
    }
  }
  return choices.empty() ? std::vector<ThermalPackage>() : choices.front();
}

std::string source_of(const std::vector<Thermometer>& thermometers) {
  std::string text = thermometers.size() == 1 ? "" : "hottest of ";
  for (const Thermometer& one : thermometers) {
    text += (&one == &thermometers.front() ? "" : "; ") + one.description + ": " + one.attribute;
  }
  return text;
}

void add_processor_keys(std::vector<SensorKey>& keys, sysfs::Tree& tree,
                        const std::vector<ThermalPackage>& packages) {
  if (packages.empty()) {
    return;
  }
  for (std::size_t i = 0; i < std::min(packages.size(), kMostPackages); ++i) {
    keys.push_back({"TC" + std::to_string(i) + "D", controller::kSp78, source_of(packages[i]),
                    [&tree, package = packages[i]] {
                      return std::make_unique<HottestSensor>(tree, package,
                                                             is_processors_temperature);
                    }});
  }
  std::vector<Thermometer> all;
  for (const ThermalPackage& package : packages) {
    all.insert(all.end(), package.begin(), package.end());
  }
  keys.push_back({"TC0P", controller::kSp78, source_of(all), [&tree, packages] {
                    return std::make_unique<HottestPackageSensor>(tree, packages);
                  }});
}

void add_air_key(std::vector<SensorKey>& keys, sysfs::Tree& tree,
                 const std::vector<Thermometer>& choices) {
  if (choices.empty()) {
    return;
  }
  auto chosen = std::find_if(choices.begin(), choices.end(), [&](const Thermometer& one) {
    return is_plausible_now(tree, one, is_airs_temperature);
  });
  if (chosen == choices.end()) {
    chosen = choices.begin();
  }
  const std::vector<Thermometer> air{*chosen};
  keys.push_back({"TA0P", controller::kSp78, source_of(air), [&tree, air] {
                    return std::make_unique<HottestSensor>(tree, air, is_airs_temperature);
                  }});
}

/// The attribute of a thermometer's critical temperature, or "" if it has none.
std::string critical_attribute(sysfs::Tree& tree, const std::string& attribute) {
  constexpr std::string_view kInput = "_input";
  if (attribute.ends_with(kInput)) {
    return attribute.substr(0, attribute.size() - kInput.size()) + "_crit";
  }
  const std::string zone = attribute.substr(0, attribute.rfind('/'));
  for (const std::string& name : sysfs::list(tree, zone)) {
    if (const auto trip = sysfs::channel_of(name, "trip_point_", "_type")) {
      const auto type = sysfs::read_text(tree, std::string(zone).append("/").append(name));
      if (type && *type == "critical") {
        return std::string(zone).append("/trip_point_" + std::to_string(*trip) + "_temp");
      }
    }
  }
  return {};
}

double critical_of(sysfs::Tree& tree, const std::string& attribute, double own_limit_c) {
  const auto critical = sysfs::read_integer(tree, critical_attribute(tree, attribute));
  const double celsius = critical ? static_cast<double>(*critical) / kPerDegree : 0;
  return is_critical_temperature(celsius) ? celsius : own_limit_c;
}

}  // namespace

std::vector<SensorKey> find_temperature_keys(const Surroundings& surroundings) {
  sysfs::Tree& tree = surroundings.sys;
  const ThermalSurvey survey = survey_temperatures(tree);
  std::vector<SensorKey> keys;
  add_processor_keys(keys, tree, find_packages(tree, survey));
  add_air_key(keys, tree, ambient_choices(survey));
  return keys;
}

std::vector<WatchedTemperature> find_watched_temperatures(sysfs::Tree& tree) {
  std::vector<WatchedTemperature> found;
  const auto modalias = sysfs::read_text(tree, "devices/system/cpu/modalias");
  const double limit_c = design_limit_c(modalias ? *modalias : "");
  for (const ThermalPackage& package : find_packages(tree, survey_temperatures(tree))) {
    for (const Thermometer& one : package) {
      found.push_back({one.attribute, critical_of(tree, one.attribute, limit_c)});
    }
  }
  return found;
}

}  // namespace linux_machine
