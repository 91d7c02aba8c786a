#include "lab/analysis/bode_curve.h"

#include <algorithm>

#include "lab/analysis/step.h"

namespace lab {

namespace {

// Some ten minutes at 20 Hz. It is the heating up and the first slow swings that tell stages.
constexpr std::size_t kMostSamples = 12000;

std::vector<double> beginning(const std::vector<double>& values) {
  return {values.begin(),
          values.begin() + static_cast<std::ptrdiff_t>(std::min(values.size(), kMostSamples))};
}

}  // namespace

std::complex<double> stages_response(const std::vector<KnownStage>& stages, double frequency_hz) {
  constexpr double kTwoPi = 6.283185307179586;
  std::complex<double> sum = 0;
  for (const KnownStage& stage : stages) {
    sum += stage.resistance / std::complex<double>(1, kTwoPi * frequency_hz * stage.tau_s);
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
  StepInput step{.time_s = beginning(input.time_s),
                 .heat = beginning(input.heat),
                 .heat_is_power = input.heat_is_power,
                 .heat_name = input.heat_name,
                 .heat_delay_s = std::max(0.0, late_s),
                 .temperatures = {},
                 .beside = {}};
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
