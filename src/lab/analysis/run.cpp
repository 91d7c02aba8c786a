#include "lab/analysis/run.h"

#include <cmath>

#include "lab/analysis/beside_judgement.h"
#include "lab/analysis/column_statistics.h"
#include "lab/analysis/settled.h"
#include "lab/analysis/spoken_number.h"

namespace lab {

namespace {

constexpr double kStill = 0.5;  // K: less than that to come is at rest for most purposes

nlohmann::ordered_json figures(const ColumnStatistics& statistics) {
  const auto number = [](double value) {
    return std::isfinite(value) ? nlohmann::ordered_json(value) : nlohmann::ordered_json(nullptr);
  };
  nlohmann::ordered_json json;
  json["mean"] = to_json(statistics.mean);
  json["minimum"] = number(statistics.minimum);
  json["percentile_5"] = number(statistics.percentile_5);
  json["median"] = number(statistics.median);
  json["percentile_95"] = number(statistics.percentile_95);
  json["maximum"] = number(statistics.maximum);
  json["missing"] = statistics.missing;
  json["sensor"]["step"] =
      number(statistics.sensor.step > 0 ? statistics.sensor.step : std::nan(""));
  json["sensor"]["update_interval"] =
      number(statistics.sensor.update_interval_s.value_or(std::nan("")));
  return json;
}

std::string sentence(const Column& column, const ColumnStatistics& statistics) {
  const std::string unit = column.unit == "degC" ? "°C" : column.unit;
  return column.name + " was " + spoken_value(statistics.mean) + " " + unit + " on average (" +
         spoken_interval(statistics.mean) + "), between " + spoken_number(statistics.minimum) +
         " and " + spoken_number(statistics.maximum) + " " + unit + ".";
}

void judge(const Table& table, const Column& column, const ColumnStatistics& statistics,
           std::vector<std::string>& warnings) {
  if (statistics.measured == 0) {
    warnings.push_back(column.name + " was never read: the key is not there, or gives no number.");
    return;
  }
  if (100 * statistics.missing > table.time_s.size()) {
    warnings.push_back(std::to_string(statistics.missing) + " of " +
                       std::to_string(table.time_s.size()) + " values of " + column.name +
                       " are missing.");
  }
  if (statistics.sensor.slow()) {
    warnings.push_back(column.name + " is measured only every " +
                       spoken_number(*statistics.sensor.update_interval_s, 2) +
                       " s: what lies between is repetition. Sample no faster.");
  }
  if (column.unit != "degC" || table.time_s.size() < 100) {
    return;
  }
  // The last third of the run.
  const std::size_t begin = table.time_s.size() / 3 * 2;
  const Settledness end =
      judge_settled(std::span(table.time_s).subspan(begin), std::span(column.values).subspan(begin),
                    kStill, statistics.sensor.step);
  if (end.known && !end.settled && std::abs(end.drift) > kStill) {
    warnings.push_back(column.name + " was still moving at the end, by " +
                       spoken_number(std::abs(end.drift), 2) +
                       " K over the last third: its mean depends on the run's length. Run longer "
                       "for a steady state.");
  }
}

}  // namespace

Answer analyse_run(const Table& table, double full_load) {
  Answer answer;
  answer.figures["keys"] = nlohmann::ordered_json::object();
  ResultTable summary{.title = "Columns",
                      .head = {"Key", "Unit", "Mean", "Least", "5 %", "Median", "95 %", "Most"},
                      .rows = {}};
  for (const Column& column : table.columns) {
    if (column.name == kPhaseColumn) {
      continue;
    }
    const ColumnStatistics statistics = column_statistics(table.time_s, column);
    judge(table, column, statistics, answer.warnings);
    answer.figures["keys"][column.name] = figures(statistics);
    if (statistics.measured == 0) {
      continue;
    }
    summary.rows.push_back(
        {column.name, column.unit, statistics.mean, spoken_number(statistics.minimum, 4),
         spoken_number(statistics.percentile_5, 4), spoken_number(statistics.median, 4),
         spoken_number(statistics.percentile_95, 4), spoken_number(statistics.maximum, 4)});
    if (column.unit == "W" || column.unit == "degC") {
      answer.sentences.push_back(sentence(column, statistics));
    }
  }
  answer.decided = !summary.rows.empty();
  if (answer.sentences.empty()) {
    answer.sentences.emplace_back(answer.decided ? "Neither power nor a temperature was measured."
                                                 : "Nothing was measured.");
  }
  const std::vector<std::string> load = judge_load(table.columns, full_load);
  answer.warnings.insert(answer.warnings.end(), load.begin(), load.end());
  answer.tables = {summary};
  return answer;
}

}  // namespace lab
