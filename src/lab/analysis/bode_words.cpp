#include "lab/analysis/bode_words.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "lab/analysis/spoken_number.h"

namespace lab {

namespace {

bool shows_something(const BodeResult& result, std::size_t key) {
  return std::any_of(result.points.begin(), result.points.end(),
                     [&](const BodePoint& point) { return point.keys[key].there; });
}

std::string point_words(const KeyPoint& point, double frequency_hz, const std::string& per) {
  const double lag = -point.phase.value;
  return spoken_value(point.amplitude) + " " + per + " at " + spoken_hertz(frequency_hz) + ", " +
         spoken_number(std::abs(lag)) + (lag < 0 ? " degrees ahead" : " degrees behind");
}

// How far the predicted curve is from what was measured, at most; nothing if it is not there.
struct Distance {
  double part = 0;  // of the measured amplitude
  double degrees = 0;
};

double turned(double degrees) {
  return degrees - 360 * std::round(degrees / 360);
}

std::optional<Distance> distance(const BodeResult& result, std::size_t key) {
  Distance most;
  bool any = false;
  for (const BodePoint& point : result.points) {
    const KeyPoint& seen = point.keys[key];
    if (!seen.decided || !seen.predicted) {
      continue;
    }
    const double amplitude = std::abs(*seen.predicted);
    const double degrees = turned(std::arg(*seen.predicted) * kDegrees - seen.phase.value);
    most.part = std::max(most.part, std::abs(amplitude / seen.amplitude.value - 1));
    most.degrees = std::max(most.degrees, std::abs(degrees));
    any = true;
  }
  return any ? std::optional(most) : std::nullopt;
}

// Why the stages of the run's own step are far off: what came before the first swing was too short
// for the slow ones.
std::string short_step(const BodeInput& input, const Distance& most) {
  constexpr double kFar = 0.1;
  const double step_s = input.swings.front().begin_s - input.time_s.front();
  return most.part > kFar ? " That step is the " + spoken_number(step_s, 2) +
                                " s before the first swing: slower stages are not seen in it. "
                                "Settle longer (--settle), or name a longer step (--beside)."
                          : "";
}

}  // namespace

std::vector<std::string> bode_sentences(const BodeInput& input, const BodeResult& result,
                                        const std::string& predicted_from) {
  std::vector<std::string> sentences;
  const std::string what = input.heat_is_power ? "for each watt" : "for full load";
  for (std::size_t key = 0; key < result.keys.size(); ++key) {
    std::vector<const BodePoint*> decided;
    for (const BodePoint& point : result.points) {
      if (point.keys[key].decided) {
        decided.push_back(&point);
      }
    }
    const std::string& name = result.keys[key].name;
    if (decided.empty()) {
      if (shows_something(result, key) && result.keys[key].sensor.levels > 1) {
        sentences.push_back(name + ": nothing can be said.");
      }
      continue;
    }
    const std::string& column_unit = input.keys[key].unit;
    const std::string per = (column_unit == "degC" ? "K" : column_unit) + " " + what;
    std::string sentence =
        name + " swings by " +
        point_words(decided.front()->keys[key], decided.front()->frequency_hz, per);
    if (decided.size() > 1) {
      sentence += "; by " + point_words(decided.back()->keys[key], decided.back()->frequency_hz,
                                        column_unit == "degC" ? "K" : column_unit);
    }
    sentences.push_back(sentence + ".");
    if (const std::optional<Distance> most = distance(result, key)) {
      sentences.push_back("The stages of " +
                          (predicted_from == "this run" ? "its own step" : predicted_from) +
                          " predict its curve to within " + spoken_number(100 * most->part, 2) +
                          " % and " + spoken_number(most->degrees, 2) + " degrees." +
                          (predicted_from == "this run" ? short_step(input, *most) : ""));
    }
  }
  if (sentences.empty()) {
    sentences.emplace_back("No key shows anything of these swings.");
  }
  if (input.heat_is_power && result.window.known) {
    sentences.push_back(
        input.heat_name + " is read as a mean over " + spoken_value(result.window.window) + " s (" +
        spoken_interval(result.window.window) + ") and comes " + spoken_value(result.window.lag) +
        " s late, found beside the load. This is taken out of amplitudes and "
        "phases.");
  }
  return sentences;
}

std::vector<ResultTable> bode_tables(const BodeResult& result) {
  std::vector<ResultTable> tables;
  for (std::size_t key = 0; key < result.keys.size(); ++key) {
    if (!shows_something(result, key)) {
      continue;
    }
    ResultTable table{
        .title = result.keys[key].name,
        .head = {"Frequency", "Periods", "Amplitude", "Phase", "Predicted", "Predicted phase"},
        .rows = {}};
    for (const BodePoint& point : result.points) {
      const KeyPoint& seen = point.keys[key];
      if (!seen.there) {
        continue;
      }
      std::vector<ResultTable::Cell> row{spoken_hertz(point.frequency_hz),
                                         std::to_string(std::lround(point.periods))};
      if (seen.decided) {
        row.insert(row.end(), {seen.amplitude, seen.phase});
      } else {
        row.insert(row.end(), {std::string("not seen"), std::string()});
      }
      row.emplace_back(seen.predicted
                           ? spoken_number(std::abs(*seen.predicted)) + " " + seen.amplitude.unit
                           : std::string());
      row.emplace_back(seen.predicted ? spoken_number(std::arg(*seen.predicted) * kDegrees) + " deg"
                                      : std::string());
      table.rows.push_back(std::move(row));
    }
    tables.push_back(std::move(table));
  }
  return tables;
}

nlohmann::ordered_json bode_figures(const BodeInput& input, const BodeResult& result,
                                    const std::string& predicted_from) {
  nlohmann::ordered_json points = nlohmann::ordered_json::array();
  for (const BodePoint& point : result.points) {
    nlohmann::ordered_json keys = nlohmann::ordered_json::object();
    for (std::size_t key = 0; key < result.keys.size(); ++key) {
      const KeyPoint& seen = point.keys[key];
      if (!seen.there) {
        continue;
      }
      nlohmann::ordered_json& told = keys[result.keys[key].name];
      told = {{"decided", seen.decided},
              {"amplitude", to_json(seen.amplitude)},
              {"phase", to_json(seen.phase)}};
      if (seen.predicted) {
        told["predicted"] = {{"amplitude", std::abs(*seen.predicted)},
                             {"phase", std::arg(*seen.predicted) * kDegrees}};
      }
    }
    points.push_back(
        {{"frequency", point.frequency_hz}, {"periods", point.periods}, {"keys", std::move(keys)}});
  }
  nlohmann::ordered_json heat{{"name", input.heat_name},
                              {"unit", input.heat_is_power ? "W" : ""},
                              {"window", nullptr},
                              {"lag", nullptr}};
  if (input.heat_is_power && result.window.known) {
    heat["window"] = to_json(result.window.window);
    heat["lag"] = to_json(result.window.lag);
  }
  nlohmann::ordered_json figures{{"points", std::move(points)},
                                 {input.heat_is_power ? "power" : "load", std::move(heat)},
                                 {"predicted_from", nullptr}};
  if (!predicted_from.empty()) {
    figures["predicted_from"] = predicted_from;
  }
  return figures;
}

}  // namespace lab
