#include "lab/analysis/step_words.h"

#include <cmath>

#include "lab/analysis/spoken_number.h"

namespace lab {

namespace {

std::string time_constants(const std::vector<Stage>& stages) {
  std::string text = stages.size() == 1 ? "a time constant of " : "time constants of ";
  for (std::size_t at = 0; at < stages.size(); ++at) {
    if (at > 0) {
      text += at + 1 < stages.size() ? ", " : " and ";
    }
    text += spoken_value(stages[at].time_constant) + " s";
  }
  return text;
}

std::string sensor_text(double value, const char* unit, const char* otherwise) {
  return std::isfinite(value) && value > 0 ? spoken_number(value, 2) + " " + unit : otherwise;
}

}  // namespace

std::string step_sentence(const KeyResult& result, bool heat_is_power) {
  if (result.stages.empty()) {
    return result.name + ": nothing can be said.";
  }
  const double value = result.resistance.value;
  Estimate size = result.resistance;
  if (value < 0) {
    size = {.value = -value, .low = -size.high, .high = -size.low, .unit = size.unit};
  }
  std::string text = result.name + (value < 0 ? " falls " : " rises ") + spoken_value(size) +
                     " K " + (heat_is_power ? "for each watt" : "from no load to full load") +
                     " (" + spoken_interval(size) + "), with " + time_constants(result.stages) +
                     ".";
  if (!result.decided) {
    text = result.name + ": the data do not decide. At best, " + text;
  }
  return text;
}

std::vector<ResultTable> step_tables(const std::vector<KeyResult>& results) {
  ResultTable keys{
      .title = "Temperatures",
      .head = {"Key", "Resistance", "Start", "Residual, rms", "Sensor step", "Sensor interval"},
      .rows = {}};
  ResultTable stages{
      .title = "Stages", .head = {"Key", "Stage", "Resistance", "Time constant"}, .rows = {}};
  for (const KeyResult& result : results) {
    if (result.stages.empty()) {
      continue;
    }
    keys.rows.push_back(
        {result.name, result.resistance, result.start, spoken_number(result.residual_rms, 2) + " K",
         sensor_text(result.sensor.step, "K", "none seen"),
         sensor_text(result.sensor.update_interval_s.value_or(0), "s", "not known")});
    for (std::size_t at = 0; at < result.stages.size(); ++at) {
      stages.rows.push_back({result.name, std::to_string(at + 1), result.stages[at].resistance,
                             result.stages[at].time_constant});
    }
  }
  return {keys, stages};
}

nlohmann::ordered_json step_figures(const std::vector<KeyResult>& results) {
  nlohmann::ordered_json keys = nlohmann::ordered_json::object();
  for (const KeyResult& result : results) {
    nlohmann::ordered_json& key = keys[result.name];
    key["decided"] = result.decided;
    if (!result.stages.empty()) {
      key["resistance"] = to_json(result.resistance);
      key["stages"] = nlohmann::ordered_json::array();
      for (const Stage& stage : result.stages) {
        key["stages"].push_back({{"resistance", to_json(stage.resistance)},
                                 {"time_constant", to_json(stage.time_constant)}});
      }
      key["start_temperature"] = to_json(result.start);
      key["residual_rms"] = result.residual_rms;
    }
    nlohmann::ordered_json& sensor = key["sensor"];
    sensor["step"] = nullptr;
    if (result.sensor.step > 0) {
      sensor["step"] = result.sensor.step;
    }
    sensor["update_interval"] = nullptr;
    if (result.sensor.update_interval_s) {
      sensor["update_interval"] = *result.sensor.update_interval_s;
    }
  }
  return keys;
}

}  // namespace lab
