#include "lab/analysis/run.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "lab/analysis/beside_judgement.h"
#include "lab/analysis/column_statistics.h"
#include "lab/analysis/settled.h"
#include "lab/analysis/spoken_number.h"
#include "lab/data/values.h"

namespace lab {

namespace {

constexpr double kStill = 0.5;  // K: less than that to come is at rest for most purposes

nlohmann::ordered_json figures(const ColumnStatistics& statistics) {
  nlohmann::ordered_json json;
  json["mean"] = to_json(statistics.mean);
  json["minimum"] = json_number(statistics.minimum);
  json["percentile_5"] = json_number(statistics.percentile_5);
  json["median"] = json_number(statistics.median);
  json["percentile_95"] = json_number(statistics.percentile_95);
  json["maximum"] = json_number(statistics.maximum);
  json["missing"] = statistics.missing;
  json["sensor"]["step"] =
      json_number(statistics.sensor.step > 0 ? statistics.sensor.step : std::nan(""));
  json["sensor"]["update_interval"] =
      json_number(statistics.sensor.update_interval_s.value_or(std::nan("")));
  return json;
}

std::string sentence(const Column& column, const ColumnStatistics& statistics) {
  const std::string unit = spoken_unit(column.unit);
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

bool is_load(const Column& column) {
  return column.name == kAskedColumn || column.name == kDeliveredColumn ||
         column.name == kOthersColumn;
}

/// Rows [begin, end) of the samples, in which one phase goes on.
struct PhaseRows {
  std::size_t phase;
  std::size_t begin;
  std::size_t end;
};

std::vector<PhaseRows> phase_rows(const Table& table, std::size_t planned) {
  std::vector<PhaseRows> found;
  const Column* phases = table.find(kPhaseColumn);
  for (std::size_t row = 0; phases != nullptr && row < table.time_s.size(); ++row) {
    const double phase = phases->values[row];
    if (!(phase >= 0 && phase < static_cast<double>(planned))) {
      continue;
    }
    const auto index = static_cast<std::size_t>(phase);
    if (found.empty() || found.back().phase != index) {
      found.push_back({.phase = index, .begin = row, .end = row});
    }
    found.back().end = row + 1;
  }
  return found;
}

Table rows_of(const Table& table, const PhaseRows& rows) {
  const auto cut = [&](const std::vector<double>& values) {
    return std::vector<double>(values.begin() + static_cast<std::ptrdiff_t>(rows.begin),
                               values.begin() + static_cast<std::ptrdiff_t>(rows.end));
  };
  Table part{.time_s = cut(table.time_s), .columns = {}};
  for (const Column& column : table.columns) {
    part.columns.push_back({.name = column.name,
                            .unit = column.unit,
                            .source = column.source,
                            .values = cut(column.values)});
  }
  return part;
}

void tell_keys(const Table& table, Answer& answer) {
  ResultTable keys{.title = "Keys",
                   .head = {"Key", "Unit", "Mean", "Least", "5th percentile", "Median",
                            "95th percentile", "Most"},
                   .rows = {}};
  for (const Column& column : table.columns) {
    if (column.name == kPhaseColumn || is_load(column)) {
      continue;
    }
    const ColumnStatistics statistics = column_statistics(table.time_s, column);
    judge(table, column, statistics, answer.warnings);
    answer.figures["keys"][column.name] = figures(statistics);
    if (statistics.measured == 0) {
      continue;
    }
    keys.rows.push_back(
        {column.name, spoken_unit(column.unit), statistics.mean,
         spoken_number(statistics.minimum, 4), spoken_number(statistics.percentile_5, 4),
         spoken_number(statistics.median, 4), spoken_number(statistics.percentile_95, 4),
         spoken_number(statistics.maximum, 4)});
    if (column.unit == "W" || column.unit == "degC") {
      answer.sentences.push_back(sentence(column, statistics));
    }
  }
  answer.decided = !keys.rows.empty();
  answer.tables.push_back(std::move(keys));
}

/// What was asked for is known, and no estimate; the others are sums of what the kernel counted.
void tell_load(const Table& table, Answer& answer) {
  ResultTable loads{.title = "Load, in % of all processors",
                    .head = {"Load", "Mean", "Least", "Most"},
                    .rows = {}};
  for (const Column& column : table.columns) {
    const std::vector<double> values = finite_values(column.values);
    if (!is_load(column) || values.empty()) {
      continue;
    }
    const double mean =
        std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    answer.figures["load"][column.name] = {{"mean", mean}, {"minimum", *least}, {"maximum", *most}};
    const auto percent = [](double part) { return spoken_number(100 * part, 3); };
    loads.rows.push_back({column.name, percent(mean), percent(*least), percent(*most)});
  }
  if (!loads.rows.empty()) {
    answer.tables.push_back(std::move(loads));
  }
}

void tell_phases(const Table& table, const std::vector<std::string>& names, Answer& answer) {
  if (names.size() < 2) {
    return;  // the run is the phase
  }
  ResultTable phases{
      .title = "Phases", .head = {"Phase", "Key", "Unit", "Mean", "Least", "Most"}, .rows = {}};
  answer.figures["phases"] = nlohmann::ordered_json::array();
  for (const PhaseRows& rows : phase_rows(table, names.size())) {
    const Table part = rows_of(table, rows);
    nlohmann::ordered_json json{{"name", names[rows.phase]},
                                {"begin", part.time_s.front()},
                                {"end", part.time_s.back()},
                                {"keys", nlohmann::ordered_json::object()}};
    for (const Column& column : part.columns) {
      const ColumnStatistics statistics = column_statistics(part.time_s, column);
      if (column.name == kPhaseColumn || is_load(column) || statistics.measured == 0) {
        continue;
      }
      phases.rows.push_back({names[rows.phase], column.name, spoken_unit(column.unit),
                             statistics.mean, spoken_number(statistics.minimum, 4),
                             spoken_number(statistics.maximum, 4)});
      json["keys"][column.name] = {{"mean", to_json(statistics.mean)},
                                   {"minimum", json_number(statistics.minimum)},
                                   {"maximum", json_number(statistics.maximum)}};
    }
    answer.figures["phases"].push_back(json);
  }
  answer.tables.push_back(std::move(phases));
}

}  // namespace

Answer analyse_run(const Table& table, const RunContext& context) {
  Answer answer;
  answer.figures["keys"] = nlohmann::ordered_json::object();
  tell_keys(table, answer);
  tell_phases(table, context.phases, answer);
  tell_load(table, answer);
  if (answer.sentences.empty()) {
    answer.sentences.emplace_back(answer.decided ? "Neither power nor a temperature was measured."
                                                 : "Nothing was measured.");
  }
  if (!context.watched) {
    const std::vector<std::string> load = judge_load(table.columns);
    answer.warnings.insert(answer.warnings.end(), load.begin(), load.end());
  }
  return answer;
}

}  // namespace lab
