#include "lab/analysis/bode_judgement.h"

#include <algorithm>
#include <cmath>

#include "lab/analysis/aliases.h"
#include "lab/analysis/beside_judgement.h"
#include "lab/analysis/spoken_number.h"

namespace lab {

namespace {

void judge_heat(const BodeInput& input, const BodeResult& result,
                std::vector<std::string>& warnings) {
  if (!input.heat_is_power) {
    warnings.emplace_back(
        "No power was measured: amplitudes are for the whole load, not for a watt, and what the "
        "power does at constant load is taken for the thermal path. Name a key that measures "
        "power.");
    return;
  }
  if (!result.window.known) {
    warnings.push_back("Over which time " + input.heat_name +
                       " is a mean cannot be told from these swings. It is taken to be " +
                       spoken_number(result.window.window.value, 2) +
                       " s, and the intervals allow for another. Add a frequency of some hertz.");
  }
}

// Aliases that a resolution cannot part from a frequency.
void judge_aliases(const BodeInput& input, const BodeResult& result,
                   std::vector<std::string>& warnings) {
  constexpr double kResolutions = 3;
  constexpr double kOfSeveral = 0.5;  // side bands lie one base apart: more is not to be had
  for (const Swing& swing : input.swings) {
    const double alias =
        nearest_alias({.frequencies_hz = swing.frequencies_hz,
                       .base_hz = common_hz(swing.frequencies_hz),
                       .length_s = swing.end_s - swing.begin_s},
                      {.carrier_hz = input.carrier_hz, .rate_hz = 1 / result.mean_step_s});
    if (alias < (swing.frequencies_hz.size() == 1 ? kResolutions : kOfSeveral)) {
      warnings.push_back("At " + spoken_hertz(swing.frequencies_hz.front()) +
                         " the samples take a side band of the carrier for the swing itself "
                         "(carrier " +
                         spoken_hertz(input.carrier_hz) + ", " +
                         spoken_number(1 / result.mean_step_s) +
                         " samples per second). Leave --carrier and --rate to the plan.");
      return;
    }
  }
}

// Where a key shows nothing, and why.
void judge_key(const BodeResult& result, std::size_t at, std::vector<std::string>& warnings) {
  const BodeKey& key = result.keys[at];
  if (key.sensor.levels < 2) {
    warnings.push_back(key.name +
                       " never changed: its sensor is too coarse for these swings, or "
                       "stands still. Use another key, or a wider swing.");
    return;
  }
  if (key.sensor.slow() && result.points.back().frequency_hz > key.highest_hz) {
    warnings.push_back(key.name + ": its sensor measures only every " +
                       spoken_number(*key.sensor.update_interval_s, 2) + " s. Above " +
                       spoken_hertz(key.highest_hz) + " it shows nothing of a swing.");
  }
  const double step = key.sensor.step;
  double coarse_hz = 0;
  double unseen_hz = 0;
  for (auto point = result.points.rbegin(); point != result.points.rend(); ++point) {
    const KeyPoint& seen = point->keys[at];
    if (point->frequency_hz > key.highest_hz || !seen.there) {
      continue;
    }
    if (seen.decided) {
      break;
    }
    unseen_hz = point->frequency_hz;
    coarse_hz = step > 0 && seen.swing < step ? point->frequency_hz : coarse_hz;
  }
  if (unseen_hz <= 0) {
    return;
  }
  warnings.push_back(
      coarse_hz > 0
          ? key.name + ": from " + spoken_hertz(unseen_hz) +
                " on nothing is seen: it swings by less than "
                "the step of its sensor, " +
                spoken_number(step, 2) + ". Use a wider swing (--depth), or more periods."
          : key.name + ": from " + spoken_hertz(unseen_hz) +
                " on nothing is seen: its swing is lost in what it does by itself. Use a wider "
                "swing (--depth), or more periods (--periods).");
}

}  // namespace

std::vector<std::string> judge_bode(const BodeInput& input, const BodeResult& result) {
  std::vector<std::string> warnings;
  judge_heat(input, result, warnings);
  judge_aliases(input, result, warnings);
  for (const Column& column : input.beside) {
    if (const std::string varied = judge_fan(column); !varied.empty()) {
      warnings.push_back(varied +
                         " With the air flow the response changed, and the slow part of "
                         "it is a mixture. " +
                         (input.fans_held
                              ? "It was held, and on its way: give it longer before the first "
                                "swing (--idle, --settle)."
                              : "Hold the fans at one speed."));
    }
  }
  const std::vector<std::string> load = judge_load(input.beside);
  warnings.insert(warnings.end(), load.begin(), load.end());
  for (std::size_t at = 0; at < result.keys.size(); ++at) {
    judge_key(result, at, warnings);
  }
  return warnings;
}

}  // namespace lab
