#include "lab/analysis/step.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "lab/analysis/dropouts.h"
#include "lab/analysis/fans_at_speed.h"
#include "lab/analysis/heat_curve.h"
#include "lab/analysis/step_charts.h"
#include "lab/analysis/step_fits.h"
#include "lab/analysis/step_judgement.h"
#include "lab/analysis/step_words.h"
#include "lab/analysis/structure_told.h"

namespace lab {

namespace {

std::vector<double> chosen(const std::vector<double>& values, const std::vector<std::size_t>& at) {
  std::vector<double> result;
  result.reserve(at.size());
  for (const std::size_t index : at) {
    result.push_back(values[index]);
  }
  return result;
}

StepInput chosen_rows(const StepInput& input, const std::vector<std::size_t>& rows) {
  if (rows.size() == input.time_s.size()) {
    return input;
  }
  StepInput result = input;
  result.time_s = chosen(input.time_s, rows);
  result.heat = chosen(input.heat, rows);
  for (std::vector<Column>* columns : {&result.temperatures, &result.beside}) {
    for (Column& column : *columns) {
      column.values = chosen(column.values, rows);
    }
  }
  return result;
}

// The input without instants that are missing or do not ascend.
StepInput ascending(const StepInput& input) {
  std::vector<std::size_t> good;
  for (std::size_t at = 0; at < input.time_s.size(); ++at) {
    if (std::isfinite(input.time_s[at]) &&
        (good.empty() || input.time_s[at] > input.time_s[good.back()])) {
      good.push_back(at);
    }
  }
  return chosen_rows(input, good);
}

// When the heat first changes for long: to make the loads takes heat too, for a moment.
double first_lasting_change_s(const HeatCurve& curve) {
  const std::vector<HeatStep> steps = heat_steps(curve);
  const auto weight = [](const HeatStep& step) { return std::abs(step.change) * step.length_s; };
  double most = 0;
  for (const HeatStep& step : steps) {
    most = std::max(most, weight(step));
  }
  const auto first = std::find_if(steps.begin(), steps.end(),
                                  [&](const HeatStep& step) { return weight(step) >= most / 2; });
  return first == steps.end() ? 0 : first->time_s;
}

// The record from where held fans have come to their speed, if that is before the first change of
// heat: until then the resistance is not the one that is looked for.
StepInput at_speed(const StepInput& record, const HeatCurve& curve) {
  const double before_s = record.time_s[0] + first_lasting_change_s(curve);
  std::vector<std::size_t> rows(record.time_s.size() -
                                fans_at_speed(record.time_s, record.beside, before_s));
  std::iota(rows.begin(), rows.end(), record.time_s.size() - rows.size());
  return chosen_rows(record, rows);
}

// Takes out what sensors showed that could not be read. Says so.
std::vector<std::string> without_dropouts(StepInput& input) {
  std::vector<std::string> warnings;
  const auto say = [&](std::size_t count, const std::string& name, const char* shown) {
    if (count > 0) {
      warnings.push_back(std::to_string(count) + (count == 1 ? " value of " : " values of ") +
                         name + (count == 1 ? " was" : " were") + " left out: " + shown +
                         " between quite other values is what a sensor shows that could not be "
                         "read.");
    }
  };
  if (input.heat_is_power) {
    say(take_out_power_dropouts(input.heat), input.heat_name, "0");
  }
  for (Column& column : input.temperatures) {
    say(take_out_temperature_dropouts(column.values), column.name,
        "0, or what no temperature can be,");
    const auto missing =
        static_cast<std::size_t>(std::count_if(column.values.begin(), column.values.end(),
                                               [](double value) { return !std::isfinite(value); }));
    if (100 * missing > column.values.size() && missing < column.values.size()) {
      warnings.push_back(std::to_string(missing) + " of " + std::to_string(column.values.size()) +
                         " readings of " + column.name + " are missing: the fit is without them.");
    }
  }
  return warnings;
}

nlohmann::ordered_json heat_figures(const StepInput& input) {
  double sum = 0;
  double count = 0;
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();
  for (const double heat : input.heat) {
    if (std::isfinite(heat)) {
      sum += heat;
      count += 1;
      low = std::min(low, heat);
      high = std::max(high, heat);
    }
  }
  return {{"name", input.heat_name},
          {"unit", input.heat_is_power ? "W" : ""},
          {"minimum", low},
          {"mean", sum / count},
          {"maximum", high}};
}

Answer undecided(const std::string& why) {
  Answer answer;
  answer.decided = false;
  answer.sentences = {why};
  answer.warnings = {why};
  answer.figures = {{"keys", nlohmann::ordered_json::object()}};
  return answer;
}

}  // namespace

Answer analyse_step(const StepInput& input) {
  StepInput record = ascending(input);
  const std::size_t left_out = input.time_s.size() - record.time_s.size();
  const std::vector<std::string> dropouts = without_dropouts(record);
  if (record.time_s.size() < kFewestToFit) {
    return undecided("The record has " + std::to_string(record.time_s.size()) +
                     " samples, too few for a fit: record longer, or sample more often.");
  }
  if (std::none_of(record.heat.begin(), record.heat.end(),
                   [](double heat) { return std::isfinite(heat); })) {
    return undecided("Neither power nor load was measured: nothing can be said of what heat does.");
  }
  const std::string what = record.heat_is_power ? "power" : "load";
  const HeatCurve whole = curve_of(record);
  if (const std::string why = judge_heat(record, whole); !why.empty()) {
    Answer answer = undecided(why);
    answer.figures[what] = heat_figures(record);
    return answer;
  }
  const StepInput steady = at_speed(record, whole);
  StepFits fits = fit_step(steady);
  const HeatCurve& curve = fits.curve;
  std::vector<KeyResult>& results = fits.results;
  for (KeyResult& result : results) {
    if (!result.stages.empty()) {
      judge_key(steady, curve, result);
    }
  }
  if (results.empty()) {
    return undecided("No temperature was measured: name a key that is one.");
  }
  Answer answer;
  answer.decided = std::any_of(results.begin(), results.end(),
                               [](const KeyResult& result) { return result.decided; });
  const bool any = std::any_of(results.begin(), results.end(),
                               [](const KeyResult& result) { return !result.stages.empty(); });
  for (const KeyResult& result : results) {
    if (!any || !result.stages.empty()) {  // of the others, the warnings say enough
      answer.sentences.push_back(step_sentence(result, record.heat_is_power));
    }
  }
  answer.tables = step_tables(results);
  answer.charts = step_charts(results, curve, record.heat_is_power);
  answer.warnings = judge_record(steady);
  answer.warnings.insert(answer.warnings.end(), dropouts.begin(), dropouts.end());
  if (left_out > 0) {
    answer.warnings.push_back(std::to_string(left_out) +
                              " samples were left out: their instants do not ascend.");
  }
  for (const KeyResult& result : results) {
    answer.warnings.insert(answer.warnings.end(), result.warnings.begin(), result.warnings.end());
  }
  answer.figures = {{"keys", step_figures(results)}, {what, heat_figures(record)}};
  if (record.structure && record.heat_is_power) {
    tell_structures(structures(results, curve), results, answer);
  } else if (record.structure) {
    tell_no_power(answer);
  }
  return answer;
}

}  // namespace lab
