#include "lab/analysis/bode_curve.h"

#include <algorithm>
#include <numbers>

#include "lab/analysis/step.h"

namespace lab {

namespace {

// It is the heating up and the first slow swings that tell stages: four minutes of swings at 20 Hz.
// While the machine settles nothing happens fast, and the fit puts most of those rows together.
constexpr std::size_t kMostRows = 5000;
constexpr std::size_t kOfSwings = 4500;

std::size_t samples_before_the_swings(const BodeInput& input) {
  double begin_s = input.time_s.back();
  for (const Swing& swing : input.swings) {
    begin_s = std::min(begin_s, swing.begin_s);
  }
  return static_cast<std::size_t>(
      std::lower_bound(input.time_s.begin(), input.time_s.end(), begin_s) - input.time_s.begin());
}

}  // namespace

std::complex<double> stages_response(const std::vector<KnownStage>& stages, double frequency_hz) {
  std::complex<double> sum = 0;
  for (const KnownStage& stage : stages) {
    sum += stage.resistance /
           std::complex<double>(1, 2 * std::numbers::pi * frequency_hz * stage.tau_s);
  }
  return sum;
}

KnownStages stages_in(const nlohmann::ordered_json& figures) {
  KnownStages all;
  if (!figures.is_object() || !figures.contains("keys") || !figures["keys"].is_object()) {
    return all;
  }
  for (const auto& [name, key] : figures["keys"].items()) {
    if (!key.is_object() || !key.contains("stages") || !key["stages"].is_array()) {
      continue;
    }
    std::vector<KnownStage> stages;
    for (const auto& stage : key["stages"]) {
      const auto& resistance = stage.at("resistance");
      if (resistance.at("unit") == "K/W") {
        stages.push_back({.resistance = resistance.at("value").get<double>(),
                          .tau_s = stage.at("time_constant").at("value").get<double>()});
      }
    }
    if (!stages.empty()) {
      all[name] = std::move(stages);
    }
  }
  return all;
}

KnownStages own_stages(const BodeInput& input, double late_s) {
  const std::size_t count =
      std::min(input.time_s.size(), samples_before_the_swings(input) + kOfSwings);
  const auto beginning = [&](const std::vector<double>& values) {
    return std::vector<double>(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(count));
  };
  StepInput step{.time_s = beginning(input.time_s),
                 .heat = beginning(input.heat),
                 .heat_is_power = input.heat_is_power,
                 .heat_name = input.heat_name,
                 .heat_delay_s = std::max(0.0, late_s),
                 .temperatures = {},
                 .beside = {},
                 .most_rows = kMostRows};
  for (const Column& key : input.keys) {
    if (key.unit == "degC") {
      step.temperatures.push_back({.name = key.name,
                                   .unit = key.unit,
                                   .source = key.source,
                                   .values = beginning(key.values)});
    }
  }
  return input.heat_is_power ? stages_in(analyse_step(step).figures) : KnownStages{};
}

}  // namespace lab
