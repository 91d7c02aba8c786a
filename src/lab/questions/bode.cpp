#include "lab/questions/bode.h"

#include <CLI/CLI.hpp>
#include <filesystem>

#include "lab/analysis/beside_judgement.h"
#include "lab/analysis/bode.h"
#include "lab/analysis/bode_curve.h"
#include "lab/data/file_text.h"
#include "lab/folder/run_folder.h"
#include "lab/plan/duration.h"
#include "lab/plan/plan_error.h"
#include "lab/questions/heat.h"
#include "lab/questions/number_range.h"

namespace lab {

namespace {

// The stages that a step or a fit left in its folder.
KnownStages stages_of_folder(const std::string& path) {
  const std::filesystem::path file = RunFolder(path).result();
  // A stream's buffer would throw if the file cannot be read.
  const nlohmann::ordered_json figures = nlohmann::ordered_json::parse(
      text_of_file(file).value_or(""), nullptr, /*allow_exceptions=*/false);
  KnownStages stages;
  try {
    stages = stages_in(figures);
  } catch (const nlohmann::json::exception&) {
    stages.clear();  // somebody else's file
  }
  if (stages.empty()) {
    throw PlanError("--beside " + path +
                    ": there are no stages for each watt in its result.json; name the folder of a "
                    "step or a fit");
  }
  return stages;
}

// The frequencies that a phase plays; none if its duty stays.
std::vector<double> frequencies_of(const Drive& drive) {
  switch (drive.shape) {
    case Drive::Shape::constant:
    case Drive::Shape::profile:
      break;
    case Drive::Shape::sinusoid:
    case Drive::Shape::triangle:
      return {drive.frequency_hz};
    case Drive::Shape::sines: {
      std::vector<double> frequencies_hz;
      for (const Sine& sine : drive.sines) {
        frequencies_hz.push_back(sine.frequency_hz);
      }
      return frequencies_hz;
    }
  }
  return {};
}

std::vector<Swing> swings_of(const Run& run) {
  std::vector<Swing> swings;
  const Column* phases = run.samples.find(kPhaseColumn);
  for (std::size_t index = 0; phases != nullptr && index < run.plan.phases.size(); ++index) {
    Swing swing{.frequencies_hz = frequencies_of(run.plan.phases[index].drive)};
    bool seen = false;
    for (std::size_t row = 0; row < phases->values.size(); ++row) {
      if (phases->values[row] == static_cast<double>(index)) {
        swing.begin_s = seen ? swing.begin_s : run.samples.time_s[row];
        swing.end_s = run.samples.time_s[row];
        seen = true;
      }
    }
    if (seen && !swing.frequencies_hz.empty()) {
      swings.push_back(std::move(swing));
    }
  }
  return swings;
}

bool of_the_load(const Column& column) {
  return column.name == kPhaseColumn || column.name == kAskedColumn ||
         column.name == kDeliveredColumn || column.name == kOthersColumn;
}

}  // namespace

void Bode::add_options(CLI::App& app) {
  const CLI::Validator frequency = number_from(1e-5, 100.0);
  app.add_option("--from", wishes_.from_hz, "lowest frequency (default: 0.02)")
      ->check(frequency)
      ->option_text("<hz>");
  app.add_option("--to", wishes_.to_hz, "highest frequency (default: 2)")
      ->check(frequency)
      ->option_text("<hz>");
  app.add_option("--points", wishes_.points,
                 "so many frequencies, at even distances of their logarithms (default: 7)")
      ->check(CLI::Range(1, 60))
      ->option_text("<n>");
  app.add_option("--frequency", wishes_.frequencies_hz,
                 "this frequency; may be repeated (default: those of the three above)")
      ->check(frequency)
      ->expected(1)
      ->take_all()
      ->option_text("<hz>");
  app.add_flag("--fast", wishes_.fast,
               "all frequencies at once, as a sum of sinusoids, if that saves time");
  app.add_option("--duty", wishes_.duty, "mean of the swinging duty, 0 to 1 (default: 0.45)")
      ->check(number_from(0.0, 1.0))
      ->option_text("<d>");
  app.add_option("--depth", wishes_.depth,
                 "from the lowest duty to the highest, 0 to 1 (default: 0.8)")
      ->check(number_from(0.001, 1.0))
      ->option_text("<d>");
  app.add_option("--periods", wishes_.periods,
                 "whole periods counted at each frequency, at least (default: 3)")
      ->check(CLI::Range(2, 100000))
      ->option_text("<n>");
  app.add_option("--least", least_, "so long each frequency is counted, at least (default: 30s)")
      ->option_text("<time>");
  app.add_option("--idle", idle_,
                 "before all that, without load (default: 5s, in which held fans come to speed)")
      ->option_text("<time>");
  app.add_option("--settle", settle_,
                 "at the mean duty before the first swing (default: \"until settled\")")
      ->option_text("<time>");
  app.add_option("--at-most", at_most_,
                 "what is not settled by then goes on all the same (default: 10m)")
      ->option_text("<time>");
  app.add_option("--beside", beside_,
                 "the curve of this step's or fit's stages beside the points (default: the stages "
                 "of this run itself)")
      ->option_text("<folder>");
}

Plan Bode::plan() const {
  BodeWishes wishes = wishes_;
  wishes.least_s = option_seconds("--least", least_);
  wishes.idle_s = option_seconds("--idle", idle_);
  wishes.until_settled = settle_ == "until settled";
  wishes.settle_s = wishes.until_settled ? option_seconds("--at-most", at_most_)
                                         : option_seconds("--settle", settle_);
  Plan plan = bode_plan(wishes);
  if (!beside_.empty()) {
    plan.predicted = stages_of_folder(beside_);
    plan.predicted_from = beside_;
  }
  return plan;
}

Answer Bode::analyse(const Run& run) const {
  BodeInput input;
  input.time_s = run.samples.time_s;
  const Column* power = run.samples.find(power_column(run));
  const Column* heat = power != nullptr ? power : run.samples.find(kDeliveredColumn);
  input.heat_is_power = power != nullptr;
  if (heat != nullptr) {
    input.heat = heat->values;
    input.heat_name = heat->name;
  }
  for (const std::string_view name : {kAskedColumn, kDeliveredColumn}) {
    if (const Column* load = run.samples.find(name)) {
      input.loads.push_back(load->values);
    }
  }
  constexpr const char* kHeld = "held at";  // as fans_held() words it
  bool held_and_moving = false;
  input.fans_held = run.info.fans.starts_with(kHeld);
  for (const Column& column : run.samples.columns) {
    // What keeps its speed shows nothing, and what is held and on its way there answers nothing.
    const bool moving_fan = !judge_fan(column).empty();
    held_and_moving = held_and_moving || (moving_fan && input.fans_held);
    const bool answers = column.unit != "RPM" || (moving_fan && !input.fans_held);
    if (&column != heat && !of_the_load(column) && answers) {
      input.keys.push_back(column);
    }
    if (of_the_load(column) || column.unit == "RPM") {
      input.beside.push_back(column);
    }
  }
  input.swings = swings_of(run);
  input.carrier_hz = run.plan.carrier_hz;
  input.predicted = run.plan.predicted;
  input.predicted_from = run.plan.predicted_from;
  Answer answer = analyse_bode(input);
  if (held_and_moving && answer.decided) {
    answer.sentences.emplace_back("The fans were held, so they have no response.");
  }
  return answer;
}

std::vector<std::string> Bode::lacks(const Offer& offer) const {
  std::vector<std::string> found;
  if (!offer.temperatures) {
    found.emplace_back("no temperature: there is nothing that follows the power");
  }
  if (!offer.power) {
    found.emplace_back("no power: amplitudes are for full load, not for each watt");
  }
  if (!offer.fans) {
    found.emplace_back(
        "no fan can be held: the machine's own control changes the response meanwhile");
  }
  return found;
}

}  // namespace lab
