#include "lab/analysis/bode.h"

#include <algorithm>
#include <cmath>

#include "lab/analysis/bode_curve.h"
#include "lab/analysis/bode_judgement.h"
#include "lab/analysis/bode_points.h"
#include "lab/analysis/bode_words.h"

namespace lab {

namespace {

Answer undecided(const std::string& why) {
  Answer answer;
  answer.decided = false;
  answer.sentences = {why};
  answer.warnings = {why};
  answer.figures = {{"points", nlohmann::ordered_json::array()}};
  return answer;
}

bool anything(const std::vector<double>& values) {
  return std::any_of(values.begin(), values.end(),
                     [](double value) { return std::isfinite(value); });
}

}  // namespace

Answer analyse_bode(const BodeInput& input) {
  if (input.swings.empty() || input.time_s.size() < 2) {
    return undecided(
        "The record has no swing: nothing can be said of a response to one. Record at least two "
        "periods of a frequency.");
  }
  if (!anything(input.heat)) {
    return undecided(
        "Neither power nor load was measured: there is nothing to hold a key against.");
  }
  if (input.keys.empty()) {
    return undecided("No key was measured beside the power: name one that is to answer.");
  }
  BodeResult result = bode_points(input);
  if (result.points.empty()) {
    Answer answer = undecided("No frequency was played for two periods: record longer.");
    answer.warnings = result.warnings;
    return answer;
  }
  const bool given = !input.predicted.empty();
  const KnownStages stages =
      given ? input.predicted : own_stages(input, result.window.lag.value - result.mean_step_s / 2);
  const std::string from = given ? input.predicted_from : stages.empty() ? "" : "this run";
  for (BodePoint& point : result.points) {
    for (std::size_t at = 0; at < result.keys.size(); ++at) {
      if (const auto found = stages.find(result.keys[at].name); found != stages.end()) {
        point.keys[at].predicted = stages_response(found->second, point.frequency_hz);
      }
    }
  }
  Answer answer;
  answer.decided =
      std::any_of(result.points.begin(), result.points.end(), [](const BodePoint& point) {
        return std::any_of(point.keys.begin(), point.keys.end(),
                           [](const KeyPoint& key) { return key.decided; });
      });
  answer.sentences = bode_sentences(input, result, from);
  answer.tables = bode_tables(result);
  answer.charts = bode_charts(input, result, stages, from);
  answer.warnings = result.warnings;
  const std::vector<std::string> limits = judge_bode(input, result);
  answer.warnings.insert(answer.warnings.end(), limits.begin(), limits.end());
  answer.figures = bode_figures(input, result, from);
  return answer;
}

}  // namespace lab
