#include "lab/commands/fit_command.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <utility>

#include "lab/commands/answering.h"
#include "lab/commands/run_command.h"
#include "lab/commands/this_machine.h"
#include "lab/data/units.h"
#include "lab/engine_process/machine.h"
#include "lab/folder/csv_table.h"
#include "lab/folder/folder_error.h"
#include "lab/folder/measured_samples.h"
#include "lab/folder/run_folder.h"
#include "lab/folder/samples_file.h"
#include "lab/plan/plan_error.h"
#include "lab/questions/number_range.h"

namespace lab {

namespace {

CsvTable table_of(const FitOptions& options) {
  std::optional<double> unit_s;
  if (!options.time_unit.empty()) {
    unit_s = time_units().at(options.time_unit);
  }
  return parse_csv(read_csv(options.file), options.file,
                   {.time = options.columns.time, .time_unit_s = unit_s});
}

}  // namespace

void add_fit_options(CLI::App& app, FitOptions& options) {
  app.add_option("FILE", options.file, "a table: CSV, or columns with semicolons, tabs or blanks")
      ->required()
      ->option_text(" ");
  app.add_option("--time", options.columns.time,
                 "column of the time, by name or number (default: 1)")
      ->option_text("<column>");
  app.add_option("--time-unit", options.time_unit,
                 "us, ms, s, min or h (default: as the table says, else s)")
      ->check(CLI::IsMember(names_of(time_units())))
      ->option_text("<unit>");
  auto* power =
      app.add_option("--power", options.columns.power, "column of the power, by name or number")
          ->option_text("<column>");
  app.add_option("--power-unit", options.columns.power_unit,
                 "uW, mW, W or kW (default: as the table says, else W)")
      ->check(CLI::IsMember(names_of(power_units())))
      ->option_text("<unit>");
  app.add_option("--watts", options.columns.watts,
                 "the power, if it was constant from the first line on")
      ->excludes(power)
      ->check(number_from(-1e9, 1e9))
      ->option_text("<w>");
  app.add_option("--temperature", options.columns.temperatures,
                 "column of a temperature, by name or number; may be repeated (default: all other "
                 "columns, but for those whose head says another unit)")
      ->expected(1)
      ->take_all()
      ->option_text("<column>");
  app.add_option("--temperature-unit", options.columns.temperature_unit,
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
  if (options.columns.power.empty() && !options.columns.watts) {
    throw PlanError("fit needs the power: --power names its column, --watts is its value");
  }
  Plan plan;
  plan.question = "fit";
  plan.structure = options.structure;
  RunInfo info;
  MeasuredSamples measured = measured_samples(std::move(csv), options.file, options.columns);
  const Table& samples = measured.samples;
  plan.power = measured.power;
  info.warnings = std::move(measured.warnings);
  info.notes = std::move(measured.notes);
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
