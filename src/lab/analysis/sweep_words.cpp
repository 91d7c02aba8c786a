#include "lab/analysis/sweep_words.h"

#include <algorithm>
#include <cmath>

#include "lab/analysis/spoken_number.h"

namespace lab {

namespace {

constexpr std::size_t kMostKeys = 8;  // that a row has room for

std::string spoken(const Estimate& estimate, const char* unit) {
  return spoken_value(estimate) + " " + unit + " (" + spoken_interval(estimate) + ")";
}

std::string cooling_sentence(const CoolingOfKey& cooling, double highest_rpm) {
  const AirFlowLaw& law = cooling.law;
  std::string text = cooling.name + ": the way to the air conducts " +
                     spoken(law.still_conductance, "W/K") + " with the fans at rest, and " +
                     spoken(law.forced_conductance, "W/K") + " more with them at " +
                     spoken_number(highest_rpm, 3) +
                     " RPM together; that part goes with their speed to the power of " +
                     spoken_value(law.exponent) + " (" + spoken_interval(law.exponent) + ").";
  if (law.series) {
    text += " Before it lies a resistance of " + spoken(law.series_resistance, "K/W") +
            " that no fan changes.";
  }
  return text;
}

std::size_t hungriest(const DynamicPower& dynamic) {
  const auto more = [](const Estimate& one, const Estimate& two) { return one.value < two.value; };
  return static_cast<std::size_t>(
      std::max_element(dynamic.full_load.begin(), dynamic.full_load.end(), more) -
      dynamic.full_load.begin());
}

/// The points that were visited, with these keys.
ResultTable keys_table(const char* title, const SweepInput& input,
                       const std::vector<PointResult>& points,
                       const std::vector<std::size_t>& shown) {
  const std::vector<const Column*> keys = swept_keys(input.samples);
  ResultTable table{.title = title, .head = {setting_heading(input.over)}, .rows = {}};
  for (const std::size_t key : shown) {
    table.head.push_back(keys[key]->name);
  }
  for (std::size_t at = 0; at < points.size(); ++at) {
    const PointResult& point = points[at];
    if (point.visits == 0) {
      continue;
    }
    std::vector<ResultTable::Cell> row{input.points[at].name +
                                       (input.points[at].idle ? ", idle" : "")};
    for (const std::size_t key : shown) {
      if (point.keys[key].settled) {
        row.emplace_back(point.keys[key].value);
      } else {
        row.emplace_back("not settled");
      }
    }
    table.rows.push_back(row);
  }
  return table;
}

void say_dynamic(const SweepInput& input, const SweepLaws& laws, std::vector<std::string>& said) {
  if (!laws.dynamic.known) {
    return;
  }
  const std::size_t most = hungriest(laws.dynamic);
  for (std::size_t at = 0; at < input.points.size(); ++at) {
    const SweptPoint& point = input.points[at];
    if (point.idle) {
      continue;
    }
    const std::string name =
        input.over == SweptSetting::pstate ? "P-state " + point.name : point.name;
    std::string text =
        name + " draws " + spoken(laws.dynamic.full_load[at], "W") + " for load on all processors";
    if (at != most) {
      const Estimate part = activity_of(laws.dynamic, at);
      text += ", " + spoken_value(part) + " (" + spoken_interval(part) + ") of what " +
              (input.over == SweptSetting::pstate ? "P-state " : "") + input.points[most].name +
              " draws";
    }
    said.push_back(text + ".");
  }
}

}  // namespace

const char* setting_heading(SweptSetting over) {
  switch (over) {
    case SweptSetting::fans:
      return "Fan speed, RPM";
    case SweptSetting::duty:
      return "Duty";
    case SweptSetting::pstate:
      return "P-state";
    case SweptSetting::load:
      return "Load";
  }
  return "";
}

Estimate activity_of(const DynamicPower& dynamic, std::size_t point) {
  const std::size_t most = hungriest(dynamic);
  const Estimate& one = dynamic.full_load[point];
  const Estimate& whole = dynamic.full_load[most];
  const double value = one.value / whole.value;
  const double half =
      point == most
          ? 0
          : std::hypot(standard_error(one), value * standard_error(whole)) * 2 / whole.value;
  return {value, value - half, value + half, ""};
}

std::vector<std::string> sweep_sentences(const SweepInput& input,
                                         const std::vector<PointResult>& points,
                                         const SweepLaws& laws) {
  std::vector<std::string> said;
  if (laws.load_line.known) {
    said.push_back(input.power + " is " + spoken(laws.load_line.at_zero, "W") +
                   " without load, and " + spoken(laws.load_line.slope, "W") +
                   " more with load on all processors.");
  }
  for (const RiseOfKey& rise : laws.rises) {
    if (rise.line.known && rise.line.slope.low * rise.line.slope.high > 0) {
      said.push_back(rise.name + " rises " + spoken(rise.line.slope, "K") + " for each watt.");
    }
  }
  for (const CoolingOfKey& cooling : laws.cooling) {
    if (cooling.law.known) {
      said.push_back(cooling_sentence(cooling, laws.highest_rpm));
    }
  }
  if (input.over == SweptSetting::pstate || input.over == SweptSetting::load) {
    say_dynamic(input, laws, said);
  }
  if (said.empty()) {
    const auto visited = std::count_if(points.begin(), points.end(),
                                       [](const PointResult& one) { return one.visits > 0; });
    said.push_back(std::to_string(visited) +
                   " points were measured; the table has what each key came to.");
  }
  return said;
}

std::vector<ResultTable> sweep_tables(const SweepInput& input,
                                      const std::vector<PointResult>& points,
                                      const SweepLaws& laws) {
  const std::vector<const Column*> keys = swept_keys(input.samples);
  std::vector<std::size_t> shown;
  std::vector<std::size_t> speeds;
  for (std::size_t key = 0; key < keys.size(); ++key) {
    std::vector<std::size_t>& there = keys[key]->unit == "RPM" ? speeds : shown;
    if (there.size() < kMostKeys) {
      there.push_back(key);
    }
  }
  ResultTable table = keys_table("Points", input, points, shown);
  ResultTable fans = keys_table("Fan speeds", input, points, speeds);
  const bool counts = std::any_of(points.begin(), points.end(), [](const PointResult& one) {
    return one.operations_per_joule.has_value();
  });
  const bool dynamic = laws.dynamic.known;
  table.head.emplace_back("Delivered");
  if (counts) {
    table.head.emplace_back("Operations for each joule");
  }
  if (dynamic) {
    table.head.emplace_back("Of the load, full");
  }
  for (const CoolingOfKey& cooling : laws.cooling) {
    if (cooling.law.known) {
      table.head.push_back("Resistance, " + cooling.name);
    }
  }
  table.head.emplace_back("Visits");
  auto next = table.rows.begin();
  for (std::size_t at = 0; at < points.size(); ++at) {
    const PointResult& point = points[at];
    if (point.visits == 0) {
      continue;
    }
    std::vector<ResultTable::Cell>& row = *next++;
    row.emplace_back(std::isfinite(point.delivered) ? spoken_number(100 * point.delivered) + " %"
                                                    : "not known");
    if (counts) {
      if (point.operations_per_joule) {
        row.emplace_back(*point.operations_per_joule);
      } else {
        row.emplace_back("");
      }
    }
    if (dynamic) {
      row.emplace_back(laws.dynamic.full_load[at]);
    }
    for (const CoolingOfKey& cooling : laws.cooling) {
      if (cooling.law.known) {
        row.emplace_back(cooling.resistance[at]);
      }
    }
    row.emplace_back(std::to_string(point.visits));
  }
  return speeds.empty() ? std::vector{table} : std::vector{table, fans};
}

}  // namespace lab
