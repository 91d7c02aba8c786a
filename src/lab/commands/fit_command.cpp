#include "lab/commands/fit_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <limits>
#include <map>
#include <utility>

#include "lab/commands/answering.h"
#include "lab/commands/run_command.h"
#include "lab/commands/this_machine.h"
#include "lab/data/units.h"
#include "lab/engine_process/machine.h"
#include "lab/folder/csv_table.h"
#include "lab/folder/folder_error.h"
#include "lab/folder/run_folder.h"
#include "lab/folder/samples_file.h"
#include "lab/folder/stated_unit.h"
#include "lab/plan/plan_error.h"
#include "lab/questions/number_range.h"

namespace lab {

namespace {

const std::map<std::string, double> kPowerUnits{{"uW", 1e-6}, {"mW", 1e-3}, {"W", 1}, {"kW", 1e3}};

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

CsvTable table_of(const FitOptions& options) {
  std::optional<double> unit_s;
  if (!options.time_unit.empty()) {
    unit_s = time_units().at(options.time_unit);
  }
  return parse_csv(read_csv(options.file), options.file,
                   {.time = options.time, .time_unit_s = unit_s});
}

/// The samples of a run that would have given this table.
Table samples_of(const FitOptions& options, CsvTable csv, std::string& power_name,
                 std::vector<std::string>& warnings, std::vector<std::string>& notes) {
  TakenUnits units;
  if (csv.left_out > 0) {
    warnings.push_back(std::to_string(csv.left_out) + " lines of " + options.file +
                       " were left out: their time is not later than that of the line before. If "
                       "these are several records, fit each by itself.");
  }
  Table& file = csv.table;
  const std::size_t time = column_index(file, options.time, options.file);
  units.add(file.columns[time].name, csv.time_unit.value_or("s"), "s");
  const std::size_t rows = file.time_s.size();
  Table samples{.time_s = file.time_s, .columns = {}};
  const std::vector<double> unknown(rows, std::numeric_limits<double>::quiet_NaN());
  for (const std::string& name : sample_columns({})) {
    samples.columns.push_back({.name = name, .unit = {}, .source = {}, .values = unknown});
  }
  std::size_t power = file.columns.size();
  std::vector<std::size_t> chosen;
  for (const std::string& wanted : options.temperatures) {
    chosen.push_back(column_index(file, wanted, options.file));
  }
  std::vector<std::size_t> named = chosen;
  named.push_back(time);
  if (!options.power.empty()) {
    power = column_index(file, options.power, options.file);
    named.push_back(power);
  }
  refuse_twice(file, named);
  rename_taken(file);
  if (!options.power.empty()) {
    Column column = file.columns[power];
    const std::string unit =
        units.unit_of(column, Measure::power, options.power_unit, "--power-unit", "W");
    column.unit = "W";
    for (double& value : column.values) {
      value *= kPowerUnits.at(unit);
    }
    power_name = column.name;
    samples.columns.push_back(std::move(column));
  } else if (options.watts) {
    power_name = file.find("power") == nullptr ? "power" : "power (--watts)";
    samples.columns.push_back({.name = power_name,
                               .unit = "W",
                               .source = "--watts",
                               .values = std::vector<double>(rows, *options.watts)});
    samples.columns.back().values.front() = 0;  // a power is the mean since the line before
  }
  for (std::size_t index = 0; options.temperatures.empty() && index < file.columns.size();
       ++index) {
    if (index != time && index != power &&
        (!options.temperature_unit.empty() || may_be_temperature(file.columns[index]))) {
      chosen.push_back(index);
    }
  }
  for (const std::size_t index : chosen) {
    Column column = file.columns[index];
    const std::string unit = units.unit_of(column, Measure::temperature, options.temperature_unit,
                                           "--temperature-unit", "C");
    column.unit = "degC";
    for (double& value : column.values) {
      value = celsius(value, unit);
    }
    samples.columns.push_back(std::move(column));
  }
  if (!units.words().empty()) {
    notes.push_back(units.words());
  }
  return samples;
}

}  // namespace

void add_fit_options(CLI::App& app, FitOptions& options) {
  app.add_option("FILE", options.file, "a table: CSV, or columns with semicolons, tabs or blanks")
      ->required()
      ->option_text(" ");
  app.add_option("--time", options.time, "column of the time, by name or number (default: 1)")
      ->option_text("<column>");
  app.add_option("--time-unit", options.time_unit,
                 "us, ms, s, min or h (default: as the table says, else s)")
      ->check(CLI::IsMember(names_of(time_units())))
      ->option_text("<unit>");
  auto* power = app.add_option("--power", options.power, "column of the power, by name or number")
                    ->option_text("<column>");
  app.add_option("--power-unit", options.power_unit,
                 "uW, mW, W or kW (default: as the table says, else W)")
      ->check(CLI::IsMember(names_of(kPowerUnits)))
      ->option_text("<unit>");
  app.add_option("--watts", options.watts, "the power, if it was constant from the first line on")
      ->excludes(power)
      ->check(number_from(-1e9, 1e9))
      ->option_text("<w>");
  app.add_option("--temperature", options.temperatures,
                 "column of a temperature, by name or number; may be repeated (default: all other "
                 "columns, but for those whose head says another unit)")
      ->expected(1)
      ->take_all()
      ->option_text("<column>");
  app.add_option("--temperature-unit", options.temperature_unit,
                 "C, mC (thousandths of it), K or F (default: as the table says, else C)")
      ->check(CLI::IsMember({"C", "mC", "K", "F"}))
      ->option_text("<unit>");
  app.add_flag("--structure", options.structure,
               "the path of the heat as well: ladder, spectrum and structure functions");
  app.add_option("--out", options.output.out, "folder for the result (default: fit-DATE-TIME)")
      ->option_text("<folder>");
  app.add_flag("--json", options.output.json, "print the result as JSON");
}

ExitStatus fit(const FitOptions& options, const std::vector<std::string>& command) {
  CsvTable csv = table_of(options);  // first of all: a wrong file is no matter of the power
  if (options.power.empty() && !options.watts) {
    throw PlanError("fit needs the power: --power names its column, --watts is its value");
  }
  Plan plan;
  plan.question = "fit";
  plan.structure = options.structure;
  RunInfo info;
  const Table samples = samples_of(options, std::move(csv), plan.power, info.warnings, info.notes);
  info.question = plan.question;
  info.subject = std::filesystem::path(options.file).filename().string();
  note_machine(info);
  info.ended = info.begun;
  info.command = command;
  for (const Column& column : samples.columns) {
    if (!column.unit.empty()) {
      info.keys.push_back({.name = column.name, .unit = column.unit, .source = column.source});
    }
  }
  const RunFolder folder =
      RunFolder::create(options.output.out.empty() ? default_folder("fit") : options.output.out);
  folder.write_plan(plan, machine().program);
  folder.write_info(info);
  SamplesWriter writer(folder.samples(), sample_columns(info.keys));
  for (std::size_t row = 0; row < samples.time_s.size(); ++row) {
    std::vector<double> values;
    for (const Column& column : samples.columns) {
      values.push_back(column.values[row]);
    }
    writer.add(samples.time_s[row], values);
  }
  if (writer.lost() > 0) {
    throw FolderError(folder.samples().string() + ": " + writer.refusal() + ": " +
                      std::to_string(writer.lost()) +
                      " lines of the table are missing there: make room on that disk");
  }
  info.end = RunEnd::complete;
  folder.write_info(info);
  const auto questions = all_questions();
  return answer(folder, *find_question(questions, "fit"),
                options.output.json ? Printed::json : Printed::words);
}

}  // namespace lab
