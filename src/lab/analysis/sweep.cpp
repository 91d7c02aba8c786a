#include "lab/analysis/sweep.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "lab/analysis/beside_judgement.h"
#include "lab/analysis/spoken_number.h"
#include "lab/analysis/sweep_charts.h"
#include "lab/analysis/sweep_laws.h"
#include "lab/analysis/sweep_words.h"

namespace lab {

namespace {

using Json = nlohmann::ordered_json;

/// What the error of a key at a point is compared with: of a power its value, of a temperature the
/// way that it goes in the sweep; nothing for what else there is.
std::vector<double> scales(const SweepInput& input, const std::vector<PointResult>& points) {
  const std::vector<const Column*> keys = swept_keys(input.samples);
  std::vector<double> scale(keys.size());
  for (std::size_t key = 0; key < keys.size(); ++key) {
    double least = std::numeric_limits<double>::infinity();
    double most = -least;
    for (const PointResult& point : points) {
      if (point.visits > 0 && point.keys[key].settled) {
        least = std::min(least, point.keys[key].value.value);
        most = std::max(most, point.keys[key].value.value);
      }
    }
    // One that does not answer to the sweep at all is not waited for.
    constexpr double kLeastWay_K = 1;
    const bool moves = most - least > kLeastWay_K;
    scale[key] = keys[key]->unit == "degC" && moves ? most - least
                 : keys[key]->unit == "W"           ? most
                                                    : 0;
  }
  return scale;
}

/// How well the end of all temperatures and powers of a point is known.
enum class PointEnd { unknown, foretold, seen };

PointEnd end_of(const SweepInput& input, const PointResult& point) {
  const std::vector<const Column*> keys = swept_keys(input.samples);
  PointEnd end = point.visits > 0 ? PointEnd::seen : PointEnd::unknown;
  for (std::size_t key = 0; key < keys.size(); ++key) {
    if (keys[key]->unit != "degC" && keys[key]->unit != "W") {
      continue;
    }
    if (!point.keys[key].settled) {
      return PointEnd::unknown;
    }
    if (point.keys[key].foretold > 0) {
      end = PointEnd::foretold;
    }
  }
  return end;
}

bool is_settled(const SweepInput& input, const PointResult& point) {
  return end_of(input, point) == PointEnd::seen;
}

/// "PC0C 0.3 W, TC0D 1.2 K": how far each still had to go whose end is foretold.
std::string foretold_ways(const SweepInput& input, const PointResult& point) {
  const std::vector<const Column*> keys = swept_keys(input.samples);
  std::string text;
  for (std::size_t key = 0; key < keys.size(); ++key) {
    const bool counts = keys[key]->unit == "degC" || keys[key]->unit == "W";
    if (counts && point.keys[key].foretold > 0) {
      text += (text.empty() ? "" : ", ") + keys[key]->name + " " +
              spoken_number(point.keys[key].foretold, 2) + " " +
              (keys[key]->unit == "W" ? "W" : "K");
    }
  }
  return text;
}

/// The largest error of a point, as a part of what it is compared with.
double largest_error(const PointResult& point, const std::vector<double>& scale) {
  double largest = 0;
  for (std::size_t key = 0; key < scale.size(); ++key) {
    const Estimate& value = point.keys[key].value;
    if (scale[key] > 0 && point.keys[key].settled) {
      largest = std::max(largest, (value.high - value.low) / 2 / scale[key]);
    }
  }
  return largest;
}

Json setting_of(const SweptPoint& point) {
  return point.number ? Json(*point.number) : Json(point.name);
}

Json figures_of(const SweepInput& input, const PointResult& point, std::size_t at,
                const SweepLaws& laws) {
  const std::vector<const Column*> keys = swept_keys(input.samples);
  Json json;
  json["setting"] = setting_of(input.points[at]);
  json["keys"] = Json::object();
  for (std::size_t key = 0; key < keys.size(); ++key) {
    json["keys"][keys[key]->name] = to_json(point.keys[key].value);
  }
  json["settled"] = is_settled(input, point);
  json["visits"] = point.visits;
  json["delivered"] = std::isfinite(point.delivered) ? Json(point.delivered) : Json(nullptr);
  if (point.operations_per_joule) {
    json["operations_per_joule"] = to_json(*point.operations_per_joule);
  }
  if (laws.dynamic.known && !input.points[at].idle) {
    json["dynamic_power"] = to_json(laws.dynamic.full_load[at]);
    if (input.over == SweptSetting::load) {
      json["activity"] = to_json(activity_of(laws.dynamic, at));
    }
  }
  for (const CoolingOfKey& cooling : laws.cooling) {
    if (cooling.law.known) {
      json["resistance"][cooling.name] = to_json(cooling.resistance[at]);
    }
  }
  return json;
}

void add_laws(const SweepLaws& laws, Json& figures) {
  if (laws.load_line.known) {
    figures["load_line"]["idle"] = to_json(laws.load_line.at_zero);
    figures["load_line"]["full_load"] = to_json(laws.load_line.slope);
    for (const RiseOfKey& rise : laws.rises) {
      if (rise.line.known) {
        figures["load_line"]["resistance"][rise.name] = to_json(rise.line.slope);
      }
    }
  }
  for (const CoolingOfKey& cooling : laws.cooling) {
    if (cooling.law.known) {
      figures["cooling"][cooling.name] = {
          {"exponent", to_json(cooling.law.exponent)},
          {"still_conductance", to_json(cooling.law.still_conductance)},
          {"forced_conductance", to_json(cooling.law.forced_conductance)},
          {"series_resistance", to_json(cooling.law.series_resistance)},
          {"air", to_json(cooling.law.air)}};
    }
  }
}

void judge_points(const SweepInput& input, const std::vector<PointResult>& points,
                  const std::vector<double>& scale, std::vector<std::string>& warnings) {
  for (std::size_t at = 0; at < points.size(); ++at) {
    const std::string name = input.points[at].name + (input.points[at].idle ? ", idle" : "");
    if (points[at].visits == 0) {
      warnings.push_back("The run ended before it came to the point " + name + ".");
    } else if (end_of(input, points[at]) == PointEnd::unknown) {
      warnings.push_back("At the point " + name +
                         " not everything came to rest: give it longer with --at-most.");
    } else if (end_of(input, points[at]) == PointEnd::foretold) {
      warnings.push_back("The point " + name + " ended while much was still to come (" +
                         foretold_ways(input, points[at]) +
                         "). Its values are where a fit sees the end, with wider errors: give it "
                         "longer with --at-most.");
    } else if (input.error && largest_error(points[at], scale) > *input.error) {
      warnings.push_back("The error of the point " + name + " is " +
                         spoken_number(100 * largest_error(points[at], scale), 2) + " % after " +
                         std::to_string(points[at].visits) +
                         " visits, more than was asked for: something else moves the values.");
    }
  }
}

void judge_laws(const SweepInput& input, const SweepLaws& laws,
                std::vector<std::string>& warnings) {
  if (input.power.empty()) {
    warnings.emplace_back(
        "No power was measured: there is neither a load-line nor a resistance. Name a key of "
        "power with --power.");
    return;
  }
  if (input.over == SweptSetting::fans) {
    double least = 1;
    for (const double flow : laws.air_flow) {
      least = std::min(least, flow);
    }
    constexpr double kSame = 0.95;
    if (least > kSame) {
      warnings.emplace_back(
          "The fans did not follow: their speed was the same at every point. Only root may hold "
          "them: call this with sudo.");
    }
    for (const CoolingOfKey& cooling : laws.cooling) {
      if (!cooling.law.known) {
        warnings.push_back(
            cooling.name +
            ": no law over fan speed can be told: it takes four speeds or more (behind a "
            "resistance that no fan changes five) and a stretch without load, all "
            "settled, and errors that are small beside what the speed changes.");
      }
    }
  } else if (!laws.dynamic.known) {
    warnings.emplace_back(
        "What the load alone draws cannot be told: it takes time without load, and the load that "
        "was delivered.");
  }
}

}  // namespace

Answer analyse_sweep(const SweepInput& input) {
  const std::vector<PointResult> points = measured_points(input);
  const SweepLaws laws = sweep_laws(input, points);
  Answer answer;
  std::size_t settled = 0;
  answer.figures["over"] = text(input.over);
  answer.figures["points"] = Json::array();
  Json idle = Json::array();
  for (std::size_t at = 0; at < points.size(); ++at) {
    if (points[at].visits == 0) {
      continue;
    }
    if (input.points[at].idle) {
      idle.push_back(figures_of(input, points[at], at, laws));
    } else {
      answer.figures["points"].push_back(figures_of(input, points[at], at, laws));
      settled += end_of(input, points[at]) != PointEnd::unknown ? 1U : 0U;
    }
  }
  if (!idle.empty()) {
    answer.figures["idle"] = idle;
  }
  answer.figures["power"]["name"] = input.power.empty() ? Json(nullptr) : Json(input.power);
  add_laws(laws, answer.figures);
  answer.decided = settled >= 2;
  answer.sentences = sweep_sentences(input, points, laws);
  if (!answer.decided) {
    answer.sentences = {"Fewer than two points were measured until all had settled."};
  }
  answer.tables = sweep_tables(input, points, laws);
  answer.charts = sweep_charts(input, points, laws);
  judge_points(input, points, scales(input, points), answer.warnings);
  judge_laws(input, laws, answer.warnings);
  const std::vector<std::string> load = judge_load(input.samples.columns);
  answer.warnings.insert(answer.warnings.end(), load.begin(), load.end());
  return answer;
}

std::vector<std::size_t> points_to_repeat(const SweepInput& input) {
  constexpr std::size_t kMostVisits = 5;
  std::vector<std::size_t> repeat;
  if (!input.error) {
    return repeat;
  }
  const std::vector<PointResult> points = measured_points(input);
  const std::vector<double> scale = scales(input, points);
  for (std::size_t at = 0; at < points.size(); ++at) {
    if (points[at].visits < kMostVisits && is_settled(input, points[at]) &&
        largest_error(points[at], scale) > *input.error) {
      repeat.push_back(at);
    }
  }
  return repeat;
}

}  // namespace lab
