#include "lab/analysis/structure_told.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "lab/analysis/spoken_number.h"
#include "lab/analysis/structure_function.h"
#include "lab/analysis/time_constant_spectrum.h"

namespace lab {

namespace {

constexpr double kGap = std::numeric_limits<double>::quiet_NaN();

std::string sentence(const Structure& structure) {
  std::string text = "From " + structure.name + " outwards: ";
  for (const RungEstimate& rung : structure.ladder) {
    text += spoken_value(rung.capacitance) + " J/K, " + spoken_value(rung.resistance) + " K/W, ";
  }
  text.resize(text.size() - 2);
  text += " to ambient.";
  return structure.decided ? text : text + " The end of this ladder was not seen.";
}

nlohmann::ordered_json ladder_json(const Structure& structure) {
  nlohmann::ordered_json ladder = nlohmann::ordered_json::array();
  for (const RungEstimate& rung : structure.ladder) {
    ladder.push_back(
        {{"resistance", to_json(rung.resistance)}, {"capacitance", to_json(rung.capacitance)}});
  }
  return ladder;
}

Series series(const std::string& name, Series::Style style) {
  return {.name = name, .style = style, .x = {}, .y = {}, .low = {}, .high = {}};
}

// The spectrum as a density, and each stage as a stick of its resistance.
void add_spectrum(const Structure& structure, const KeyResult& result, Chart& chart) {
  Series density = series(structure.name, Series::Style::line);
  for (const FosterStage& stage : structure.spectrum) {
    density.x.push_back(stage.tau_s);
    density.y.push_back(kSpectrumToADecade * stage.resistance);
  }
  Series sticks = series(structure.name + " stages", Series::Style::line);
  for (std::size_t at = 0; at < result.fit.tau_s.size(); ++at) {
    for (const double height : {0.0, result.fit.resistance[at], kGap}) {
      sticks.x.push_back(result.fit.tau_s[at]);
      sticks.y.push_back(height);
    }
  }
  if (!density.x.empty()) {
    chart.series.push_back(std::move(density));
  }
  chart.series.push_back(std::move(sticks));
}

// The ladder of the spectrum without its end: towards ambient heat capacity grows without end, and
// would leave no room for the rest.
std::vector<Rung> before_ambient(const Structure& structure) {
  double known = 0;
  for (const RungEstimate& rung : structure.ladder) {
    known += rung.capacitance.value;
  }
  constexpr double kShown = 5;
  double sum = 0;
  std::vector<Rung> ladder;
  for (const Rung& rung : structure.fine) {
    sum += rung.capacitance;
    if (sum > kShown * known) {
      break;
    }
    ladder.push_back(rung);
  }
  return ladder;
}

void add_cumulative(const Structure& structure, Chart& chart) {
  Series steps = series(structure.name + " ladder", Series::Style::steps);
  double resistance = 0;
  double capacitance = 0;
  for (const RungEstimate& rung : structure.ladder) {
    capacitance += rung.capacitance.value;
    steps.x.push_back(resistance);
    steps.y.push_back(capacitance);
    resistance += rung.resistance.value;
  }
  steps.x.push_back(resistance);
  steps.y.push_back(capacitance);
  Series fine = series(structure.name, Series::Style::line);
  for (const StructurePoint& point : cumulative(before_ambient(structure))) {
    fine.x.push_back(point.resistance);
    fine.y.push_back(point.capacitance);
  }
  if (!fine.x.empty()) {
    chart.series.push_back(std::move(fine));
  }
  chart.series.push_back(std::move(steps));
}

void add_differential(const Structure& structure, Chart& chart) {
  Series slopes = series(structure.name, Series::Style::line);
  for (const StructurePoint& point : differential(before_ambient(structure))) {
    slopes.x.push_back(point.resistance);
    slopes.y.push_back(point.capacitance);
  }
  if (!slopes.x.empty()) {
    chart.series.push_back(std::move(slopes));
  }
}

std::vector<Chart> charts(const std::vector<Structure>& structures,
                          const std::vector<KeyResult>& results) {
  Chart spectrum{.title = "Spectrum of time constants",
                 .x_label = "time constant, s",
                 .y_label = "K/W per decade; stages: K/W",
                 .x_scale = Chart::Scale::logarithmic,
                 .series = {},
                 .note =
                     "Each peak is a stage of the path, and its area a resistance. A peak is as "
                     "wide as the noise leaves it. The sticks are the stages that were fitted."};
  Chart sums{
      .title = "Cumulative structure function",
      .x_label = "resistance from the heated place, K/W",
      .y_label = "heat capacity up to there, J/K",
      .y_scale = Chart::Scale::logarithmic,
      .series = {},
      .note =
          "From the heated place on the left to ambient on the right. Steep: much heat "
          "capacity behind little resistance, such as a block of metal. Flat: a resistance, "
          "such as a contact. Two coolers or pastes differ from where their curves part. The "
          "steps are the ladder, the line is that of the spectrum."};
  Chart slopes{.title = "Differential structure function",
               .x_label = "resistance from the heated place, K/W",
               .y_label = "dC/dR, J W/K²",
               .y_scale = Chart::Scale::logarithmic,
               .series = {},
               .note = "The slope of the cumulative one: a peak is a body, a valley a contact."};
  for (const Structure& structure : structures) {
    if (structure.ladder.empty()) {
      continue;
    }
    const auto result = std::find_if(results.begin(), results.end(), [&](const KeyResult& each) {
      return each.name == structure.name;
    });
    add_spectrum(structure, *result, spectrum);
    add_cumulative(structure, sums);
    add_differential(structure, slopes);
  }
  if (sums.series.empty()) {
    return {};
  }
  std::vector<Chart> all{spectrum, sums};
  if (!slopes.series.empty()) {
    all.push_back(slopes);
  }
  return all;
}

}  // namespace

void tell_structures(const std::vector<Structure>& structures,
                     const std::vector<KeyResult>& results, Answer& answer) {
  ResultTable table{.title = "Ladder, from the heated place outwards",
                    .head = {"Key", "Rung", "Capacitance", "Resistance to the next"},
                    .rows = {}};
  answer.decided = false;
  std::vector<std::string> sentences;
  for (const Structure& structure : structures) {
    nlohmann::ordered_json& key = answer.figures["keys"][structure.name];
    key["impedance"] = structure.away.empty() ? "driving point" : "transfer";
    if (structure.ladder.empty()) {
      sentences.push_back(structure.away);
      continue;
    }
    answer.decided = answer.decided || structure.decided;
    key["ladder"] = ladder_json(structure);
    sentences.push_back(sentence(structure));
    for (std::size_t at = 0; at < structure.ladder.size(); ++at) {
      table.rows.push_back({structure.name, std::to_string(at + 1),
                            structure.ladder[at].capacitance, structure.ladder[at].resistance});
    }
    answer.warnings.insert(answer.warnings.end(), structure.warnings.begin(),
                           structure.warnings.end());
  }
  const Structure* best = most_direct(structures);
  answer.figures["heated"] = nullptr;
  answer.figures["ladder"] = nlohmann::ordered_json::array();
  if (best != nullptr) {
    answer.figures["heated"] = best->name;
    answer.figures["ladder"] = ladder_json(*best);
    answer.tables.push_back(std::move(table));
  } else {
    answer.warnings.emplace_back(
        "No temperature of this record is where the heat goes in, so there is no structure "
        "function: name a key that measures the die.");
  }
  answer.sentences.insert(answer.sentences.end(), sentences.begin(), sentences.end());
  for (Chart& chart : charts(structures, results)) {
    answer.charts.push_back(std::move(chart));
  }
}

void tell_no_power(Answer& answer) {
  answer.decided = false;
  answer.figures["heated"] = nullptr;
  answer.figures["ladder"] = nlohmann::ordered_json::array();
  answer.warnings.emplace_back(
      "Without power there is no structure function: heat capacities need watts. Name a key that "
      "measures power.");
}

}  // namespace lab
