#include "lab/questions/heat.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "lab/data/values.h"

namespace lab {

namespace {

// What a reading of power is the mean of, at least: in less, a counter of energy moves by too few
// of its steps.
constexpr double kPowerMean_s = 0.1;

/// Rows far enough apart for readings of power that hold no energy twice: all, unless most are
/// closer.
std::vector<std::size_t> rows_apart(const std::vector<double>& time_s) {
  constexpr double kJitter = 0.05;  // of that time
  std::vector<std::size_t> rows(time_s.size());
  std::iota(rows.begin(), rows.end(), 0);
  std::vector<double> steps_s(time_s.size());
  std::adjacent_difference(time_s.begin(), time_s.end(), steps_s.begin());
  const bool known =
      std::all_of(time_s.begin(), time_s.end(), [](double time) { return std::isfinite(time); });
  if (time_s.size() < 2 || !known || share_below(steps_s, 0.5) > (1 - kJitter) * kPowerMean_s) {
    return rows;
  }
  double last_s = -std::numeric_limits<double>::infinity();
  std::erase_if(rows, [&](std::size_t row) {
    const bool close = time_s[row] < last_s + (1 - kJitter) * kPowerMean_s;
    last_s = close ? last_s : time_s[row];
    return close;
  });
  return rows;
}

void keep(const std::vector<std::size_t>& rows, std::vector<double>& values) {
  std::size_t count = 0;
  for (const std::size_t row : rows) {
    values[count++] = values[row];
  }
  values.resize(count);
}

}  // namespace

std::string power_column(const Run& run) {
  if (!run.plan.power.empty()) {
    return run.plan.power;
  }
  constexpr const char* kPackage = "PC0C";
  if (run.samples.find(kPackage) != nullptr) {
    return kPackage;
  }
  const auto found = std::find_if(run.samples.columns.begin(), run.samples.columns.end(),
                                  [](const Column& column) { return column.unit == "W"; });
  return found == run.samples.columns.end() ? "" : found->name;
}

StepInput heat_and_temperatures(const Run& run) {
  StepInput input;
  input.time_s = run.samples.time_s;
  const Column* power = run.samples.find(power_column(run));
  const Column* heat = power != nullptr ? power : run.samples.find(kDeliveredColumn);
  input.heat_is_power = power != nullptr;
  input.structure = run.plan.structure;
  if (heat != nullptr) {
    input.heat = heat->values;
    input.heat_name = heat->name;
  }
  for (const Column& column : run.samples.columns) {
    if (column.unit == "degC") {
      input.temperatures.push_back(column);
    } else if (&column != heat) {
      input.beside.push_back(column);
    }
  }
  // Of anybody's table, nobody knows how its power was measured.
  if (input.heat_is_power && run.info.question != "fit") {
    const std::vector<std::size_t> rows = rows_apart(input.time_s);
    keep(rows, input.time_s);
    keep(rows, input.heat);
    for (std::vector<Column>* columns : {&input.temperatures, &input.beside}) {
      for (Column& column : *columns) {
        keep(rows, column.values);
      }
    }
  }
  return input;
}

}  // namespace lab
