#include "lab/analysis/prove.h"

#include <algorithm>
#include <cmath>

#include "lab/analysis/beside_judgement.h"
#include "lab/analysis/prove_charts.h"
#include "lab/analysis/prove_words.h"

namespace lab {

namespace {

nlohmann::ordered_json figures(const Spread& spread) {
  return {{"median", json_number(spread.at(0.5))},
          {"percentile_99", json_number(spread.at(0.99))},
          {"most", json_number(spread.most())},
          {"count", spread.count()},
          {"missed", spread.missed()}};
}

nlohmann::ordered_json figures(const std::optional<Estimate>& estimate) {
  return estimate ? to_json(*estimate) : nlohmann::ordered_json(nullptr);
}

nlohmann::ordered_json figures(const WaveformTruth& square) {
  return {{"frequency", figures(square.frequency)},
          {"duty_asked", square.duty_asked},
          {"duty", figures(square.duty)},
          {"duty_between_edges", square.duty_between},
          {"periods", square.periods},
          {"on_edges", figures(square.on)},
          {"off_edges", figures(square.off)},
          {"skew", figures(square.skew)}};
}

/// The times of what the trace has, and how many it does not have.
nlohmann::ordered_json figures_of_seen(const Spread& spread) {
  nlohmann::ordered_json json = figures(seen(spread));
  json["count"] = spread.count();
  json["missed"] = spread.missed();
  return json;
}

nlohmann::ordered_json figures(const std::optional<KernelView>& kernel) {
  if (!kernel) {
    return nullptr;
  }
  return {{"on_edges", figures_of_seen(kernel->wave.on)},
          {"off_edges", figures_of_seen(kernel->wave.off)},
          {"skew", figures_of_seen(kernel->wave.skew)},
          {"duty_between_edges", kernel->wave.duty_between},
          {"read_behind", figures_of_seen(kernel->read_behind)},
          {"lost", kernel->lost}};
}

nlohmann::ordered_json figures(const SensorReach& sensor) {
  const auto of_rise = [&](double RiseTime::*member) {
    return sensor.rise ? std::optional((*sensor.rise).*member) : std::nullopt;
  };
  return {{"step",
           json_number(sensor.truth.step > 0 ? std::optional(sensor.truth.step) : std::nullopt)},
          {"update_interval", json_number(sensor.truth.update_interval_s)},
          {"rise_time", json_number(of_rise(&RiseTime::rise_s))},
          {"delay", json_number(of_rise(&RiseTime::delay_s))},
          {"highest_frequency", json_number(sensor.highest_hz)}};
}

/// A wave is shown if there are three measurements in each of its periods, and if the reading comes
/// along: a reading that takes `rise` from a tenth to nine tenths halves the power of a wave of
/// 0.35 / rise. Source: the usual relation of rise time and bandwidth, which is exact for one pole
/// and for the mean over a window (0.35 / 0.8 w and 0.44 / w) alike.
std::optional<double> highest_hz(const SensorReach& sensor) {
  constexpr double kToAPeriod = 3;
  constexpr double kRise = 0.35;
  if (!sensor.truth.update_interval_s) {
    return std::nullopt;
  }
  const double updates_hz = 1 / (kToAPeriod * *sensor.truth.update_interval_s);
  return sensor.rise ? std::min(updates_hz, kRise / sensor.rise->rise_s) : updates_hz;
}

std::vector<SensorReach> sensors_of(const ProveInput& input) {
  std::vector<SensorReach> sensors;
  for (const Column& column : input.samples.columns) {
    if (column.unit.empty()) {
      continue;
    }
    SensorReach sensor{.name = column.name,
                       .unit = column.unit,
                       .truth = sensor_truth(input.samples.time_s, column.values),
                       .rise = std::nullopt,
                       .highest_hz = std::nullopt};
    if (column.unit == "W") {
      sensor.rise = rise_time(input.samples.time_s, column.values, input.steps);
    }
    sensor.highest_hz = highest_hz(sensor);
    sensors.push_back(std::move(sensor));
  }
  return sensors;
}

Proof proof_of(const ProveInput& input) {
  Proof proof{.carrier_hz = input.carrier_hz,
              .rate_hz = input.rate_hz,
              .floor_on_s = input.floor_on_s,
              .floor = {},
              .square = {},
              .kernel = {},
              .grid = behind_the_grid(input.stimulus, input.rate_hz),
              .sensors = sensors_of(input)};
  if (input.floor) {
    proof.floor = waveform_truth(input.stimulus, *input.floor, input.carrier_hz);
  }
  if (input.square) {
    proof.square = waveform_truth(input.stimulus, *input.square, input.carrier_hz);
    proof.kernel = kernel_view(input.stimulus, input.scheduler, *input.square, input.carrier_hz);
  }
  const auto& threads = input.stimulus.threads;
  proof.fixed_priority =
      std::all_of(threads.begin(), threads.end(), [](const Stimulus::Thread& thread) {
        return thread.policy == "fifo" || thread.policy == "rr";
      });
  proof.cut = input.stimulus.cut;
  return proof;
}

}  // namespace

Answer analyse_prove(const ProveInput& input) {
  const Proof proof = proof_of(input);
  Answer answer;
  answer.decided = proof.square.periods > 0 && proof.square.on.count() > 0;
  answer.sentences = prove_sentences(proof);
  answer.tables = prove_tables(proof);
  answer.charts = prove_charts(proof);
  answer.warnings = prove_warnings(proof);
  // The load was never meant to be all of the time: of what is beside it, others alone matter.
  std::vector<Column> beside;
  if (const Column* others = input.samples.find(kOthersColumn)) {
    beside.push_back(*others);
  }
  const std::vector<std::string> load = judge_load(beside);
  answer.warnings.insert(answer.warnings.end(), load.begin(), load.end());

  nlohmann::ordered_json keys = nlohmann::ordered_json::object();
  for (const SensorReach& sensor : proof.sensors) {
    keys[sensor.name] = figures(sensor);
  }
  answer.figures = {{"verdict", prove_verdict(proof)},
                    {"waveform", figures(proof.square)},
                    {"floor", figures(proof.floor.on)},
                    {"sampling",
                     {{"rate", proof.rate_hz},
                      {"behind_grid", figures(proof.grid)},
                      {"left_out", proof.grid.missed()}}},
                    {"keys", keys}};
  answer.figures["kernel_trace"] = figures(proof.kernel);
  answer.figures["waveform"]["frequency_asked"] = proof.carrier_hz;
  return answer;
}

}  // namespace lab
