#include "lab/folder/measured_samples.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

#include "lab/data/units.h"
#include "lab/folder/run_folder.h"
#include "lab/folder/stated_unit.h"
#include "lab/plan/plan_error.h"

namespace lab {

namespace {

double celsius(double value, const std::string& unit) {
  constexpr double kAbsoluteZero = -273.15;
  if (unit == "K") {
    return value + kAbsoluteZero;
  }
  if (unit == "mC") {
    return value / 1000;  // as the kernel shows temperatures
  }
  return unit == "F" ? (value - 32) / 1.8 : value;
}

/// Throws PlanError if a column is named for two things.
void refuse_twice(const Table& file, const std::vector<std::size_t>& named) {
  for (std::size_t at = 0; at < named.size(); ++at) {
    if (std::find(named.begin(), named.begin() + static_cast<std::ptrdiff_t>(at), named[at]) !=
        named.begin() + static_cast<std::ptrdiff_t>(at)) {
      throw PlanError("column \"" + file.columns[named[at]].name +
                      "\" is named twice: --time, --power and each --temperature are different "
                      "columns");
    }
  }
}

/// Gives columns that are called as one of the lab's own another name.
void rename_taken(Table& file) {
  for (const std::string& own : sample_columns({})) {
    for (Column& column : file.columns) {
      if (column.name == own) {
        column.name += " (of the file)";
      }
    }
  }
}

/// Which columns come in other units than those of the lab, as the table itself says.
class TakenUnits {
 public:
  /// The unit of a column: that of the option, or the one that the table states, or `usual`.
  std::string unit_of(const Column& column, Measure measure, const std::string& wanted,
                      const std::string& option, const std::string& usual) {
    if (!wanted.empty()) {
      return wanted;
    }
    std::string unit = stated_unit(column, measure, option).value_or(usual);
    add(column.name, unit, usual);
    return unit;
  }
  void add(const std::string& name, const std::string& unit, const std::string& usual) {
    if (unit != usual) {
      parts_.push_back("\"" + name + "\" in " + unit);
    }
  }
  /// A sentence about them; empty: there is none.
  std::string words() const {
    std::string text;
    for (std::size_t at = 0; at < parts_.size(); ++at) {
      text += (at == 0 ? "" : at + 1 < parts_.size() ? ", " : " and ") + parts_[at];
    }
    return text.empty() ? text : "The table gives " + text + ": that is converted.";
  }

 private:
  std::vector<std::string> parts_;
};

/// Whether a column that nobody named may be a temperature: its unit is of nothing else.
bool may_be_temperature(const Column& column) {
  return column.unit.empty() || named_unit(column.unit).measure == Measure::temperature;
}

/// Where the columns are that were named.
struct Places {
  std::size_t time = 0;
  std::optional<std::size_t> power;
  std::vector<std::size_t> temperatures;
};

Places places_of(const Table& table, const std::string& file, const MeasuredColumns& columns) {
  Places places{.time = column_index(table, columns.time, file), .power = {}, .temperatures = {}};
  for (const std::string& wanted : columns.temperatures) {
    places.temperatures.push_back(column_index(table, wanted, file));
  }
  std::vector<std::size_t> named = places.temperatures;
  named.push_back(places.time);
  if (!columns.power.empty()) {
    places.power = column_index(table, columns.power, file);
    named.push_back(*places.power);
  }
  refuse_twice(table, named);
  return places;
}

Column power_column(Column column, const MeasuredColumns& columns, TakenUnits& units) {
  const std::string unit =
      units.unit_of(column, Measure::power, columns.power_unit, "--power-unit", "W");
  column.unit = "W";
  for (double& value : column.values) {
    value *= power_units().at(unit);
  }
  return column;
}

Column temperature_column(Column column, const MeasuredColumns& columns, TakenUnits& units) {
  const std::string unit = units.unit_of(column, Measure::temperature, columns.temperature_unit,
                                         "--temperature-unit", "C");
  column.unit = "degC";
  for (double& value : column.values) {
    value = celsius(value, unit);
  }
  return column;
}

/// The power that was told in place of a column.
Column constant_power(const Table& table, double watts) {
  Column column{.name = table.find("power") == nullptr ? "power" : "power (--watts)",
                .unit = "W",
                .source = "--watts",
                .values = std::vector<double>(table.time_s.size(), watts)};
  column.values.front() = 0;  // a power is the mean since the line before
  return column;
}

}  // namespace

MeasuredSamples measured_samples(CsvTable csv, const std::string& file,
                                 const MeasuredColumns& columns) {
  MeasuredSamples found;
  TakenUnits units;
  if (csv.left_out > 0) {
    found.warnings.push_back(
        std::to_string(csv.left_out) + " lines of " + file +
        " were left out: their time is not later than that of the line before. If these are "
        "several records, fit each by itself.");
  }
  Table& table = csv.table;
  Places places = places_of(table, file, columns);
  units.add(table.columns[places.time].name, csv.time_unit.value_or("s"), "s");
  rename_taken(table);
  Table& samples = found.samples;
  samples.time_s = table.time_s;
  const std::vector<double> unknown(table.time_s.size(), std::numeric_limits<double>::quiet_NaN());
  for (const std::string& name : sample_columns({})) {
    samples.columns.push_back({.name = name, .unit = {}, .source = {}, .values = unknown});
  }
  if (places.power || columns.watts) {
    samples.columns.push_back(places.power
                                  ? power_column(table.columns[*places.power], columns, units)
                                  : constant_power(table, *columns.watts));
    found.power = samples.columns.back().name;
  }
  for (std::size_t index = 0; columns.temperatures.empty() && index < table.columns.size();
       ++index) {
    if (index != places.time && index != places.power &&
        (!columns.temperature_unit.empty() || may_be_temperature(table.columns[index]))) {
      places.temperatures.push_back(index);
    }
  }
  for (const std::size_t index : places.temperatures) {
    samples.columns.push_back(temperature_column(table.columns[index], columns, units));
  }
  if (!units.words().empty()) {
    found.notes.push_back(units.words());
  }
  return found;
}

}  // namespace lab
