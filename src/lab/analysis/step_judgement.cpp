#include "lab/analysis/step_judgement.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "lab/analysis/beside_judgement.h"
#include "lab/analysis/spoken_number.h"
#include "lab/analysis/unseen_stage.h"
#include "lab/data/values.h"

namespace lab {

namespace {

void judge_slowest(const HeatCurve& curve, KeyResult& result) {
  const std::vector<HeatStep> steps = heat_steps(curve);
  const double after_s = curve.time_s.back() - (steps.empty() ? 0 : steps.front().time_s);
  Stage& slowest = result.stages.back();
  if (slowest.time_constant.value <= after_s / 3) {
    return;
  }
  slowest.time_constant.high = slowest.resistance.high = result.resistance.high = kInfinite;
  result.decided = false;
  result.warnings.push_back(
      result.name + ": its slowest time constant comes out as " +
      spoken_number(slowest.time_constant.value, 2) + " s, more than a third of the " +
      spoken_number(after_s) +
      " s behind the first change of heat. It cannot be told from so short a record, and the "
      "resistance is only part of the whole. Record at least three times as long.");
}

void judge_unseen(const HeatCurve& curve, const std::string& unit, KeyResult& result) {
  constexpr double kWorthSaying = 0.1;  // of the whole
  if (!result.decided) {
    return;
  }
  const double unseen = unseen_resistance(curve, result);
  if (unseen <= kWorthSaying * std::abs(result.resistance.value)) {
    return;
  }
  result.decided = false;
  result.resistance.high = kInfinite;
  result.warnings.push_back(
      result.name + ": a slower stage" +
      (std::isfinite(unseen) ? " of up to " + spoken_number(unseen, 2) + " " + unit : "") +
      " may hide in this record, and would belong to the resistance. Heat for at least three of "
      "its time constants: until the temperature stands still.");
}

void judge_fastest(KeyResult& result) {
  const Estimate& fastest = result.stages.front().time_constant;
  const SensorTruth& sensor = result.sensor;
  if (sensor.slow() && *sensor.update_interval_s > fastest.value) {
    result.warnings.push_back(
        result.name + ": its sensor measures only every " +
        spoken_number(*sensor.update_interval_s, 2) +
        " s, which is slower than the time constant of " + spoken_number(fastest.value, 2) +
        " s. That stage and everything faster is a guess: use another key, or repeat the step "
        "many times.");
  } else if (sensor.sampled_every_s > fastest.value) {
    result.warnings.push_back(result.name + ": it was read every " +
                              spoken_number(sensor.sampled_every_s, 2) +
                              " s, which is slower than the time constant of " +
                              spoken_number(fastest.value, 2) + " s. Read it more often.");
  }
  for (const Stage& stage : result.stages) {
    if (stage.time_constant.high > 1.35 * stage.time_constant.low &&
        std::isfinite(stage.time_constant.high)) {
      result.warnings.push_back(
          result.name + ": the time constant of " + spoken_number(stage.time_constant.value, 2) +
          " s is known only to between " + spoken_number(stage.time_constant.low, 2) + " and " +
          spoken_number(stage.time_constant.high, 2) +
          " s. Repeat the step: four times as many periods halve that.");
    }
  }
}

void judge_rise(const StepInput& input, KeyResult& result) {
  const double step = result.sensor.step;
  if (step > 0 && result.moved < 3 * step) {
    result.decided = result.decided && result.moved >= step;
    result.warnings.push_back(result.name + " moved by " + spoken_number(result.moved, 2) +
                              " K, and its sensor steps by " + spoken_number(step, 2) +
                              " K: too coarse for more than a rough figure. Use more heat, a finer "
                              "sensor, or many repeated periods.");
  }
  const double half = (result.resistance.high - result.resistance.low) / 2;
  if (std::isfinite(half) && half > 0.5 * std::abs(result.resistance.value)) {
    result.decided = false;
    result.warnings.push_back(result.name + ": what it does with the " +
                              (input.heat_is_power ? "power" : "load") +
                              " is lost in what it does by itself. Use more heat, and repeat.");
  }
}

// Residuals do not show what the air did: a sink that warms while its fans speed up stands still.
void judge_air(const StepInput& input, KeyResult& result) {
  if (std::none_of(input.beside.begin(), input.beside.end(),
                   [](const Column& column) { return !judge_fan(column).empty(); })) {
    return;
  }
  const auto open = [](Estimate& estimate) {
    estimate.low = -kInfinite;
    estimate.high = kInfinite;
  };
  result.decided = false;
  open(result.resistance);
  for (Stage& stage : result.stages) {
    open(stage.resistance);
    open(stage.time_constant);
  }
}

}  // namespace

std::string judge_heat(const StepInput& input, const HeatCurve& curve) {
  const std::vector<double> heat = finite_values(input.heat);
  const double high = share_below(heat, 0.995);
  const double least_change = input.heat_is_power ? 0.05 * std::abs(high) : 0.05;
  if (curve.range > least_change && curve.range > 0) {
    return "";
  }
  const std::string what = input.heat_is_power ? "power" : "load";
  return "The " + what + " stayed at " + spoken_number(share_below(heat, 0.5)) +
         (input.heat_is_power ? " W" : "") +
         " throughout: without a change of it nothing can be said of resistances and time "
         "constants. Record some time without load, then load, then none again.";
}

std::vector<std::string> judge_record(const StepInput& input) {
  std::vector<std::string> warnings;
  if (!input.heat_is_power) {
    warnings.emplace_back(
        "No power was measured: results are for the whole load, not for a watt, and a power that "
        "changes at constant load (leakage, clock) is taken for the thermal path. Name a key that "
        "measures power.");
  }
  const auto missing = static_cast<double>(input.heat.size() - finite_values(input.heat).size());
  if (missing > 0.01 * static_cast<double>(input.heat.size())) {
    warnings.push_back(spoken_number(100 * missing / static_cast<double>(input.heat.size()), 2) +
                       " % of the readings of " + input.heat_name +
                       " are missing: the next one was taken for each.");
  }
  for (const Column& column : input.beside) {
    if (const std::string varied = judge_fan(column); !varied.empty()) {
      warnings.push_back(varied +
                         " With the air flow the resistance changed, and no one value is true of "
                         "this record. Hold the fans at one speed.");
    }
  }
  const std::vector<std::string> load = judge_load(input.beside);
  warnings.insert(warnings.end(), load.begin(), load.end());
  return warnings;
}

void judge_key(const StepInput& input, const HeatCurve& curve, KeyResult& result) {
  judge_slowest(curve, result);
  judge_unseen(curve, result.resistance.unit, result);
  judge_fastest(result);
  judge_rise(input, result);
  judge_air(input, result);
}

}  // namespace lab
