#include "lab/analysis/comparison.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "lab/analysis/comparison_charts.h"
#include "lab/analysis/spoken_number.h"

namespace lab {

namespace {

using Json = nlohmann::ordered_json;
using Sense = ComparedValue::Sense;

constexpr double kFamily = 0.05;
constexpr double kNormal95 = 1.959964;

// A value of two runs, and what to think of its difference.
struct Difference {
  ComparedValue value;
  Estimate size;           // percent of the first, or K
  double probability = 1;  // by chance; then corrected
  bool counts = false;
};

struct ComparedPair {
  const ComparedRun* other = nullptr;
  std::vector<Difference> differences;
  std::vector<std::string> warnings;
  Verdict verdict = Verdict::unknown;
};

Difference difference_of(const ComparedValue& value, double least) {
  const bool temperature = value.one.unit == "degC";
  const double scale = temperature ? 1 : 100 / std::abs(value.one.value);
  const double by = (value.other.value - value.one.value) * scale;
  // On each side, the first may be off one way and the other one the other way.
  const double down =
      std::hypot(value.other.value - value.other.low, value.one.high - value.one.value) * scale;
  const double up =
      std::hypot(value.other.high - value.other.value, value.one.value - value.one.low) * scale;
  Difference difference;
  difference.value = value;
  difference.size = {
      .value = by, .low = by - down, .high = by + up, .unit = temperature ? "K" : "%"};
  const double towards_none = (by > 0 ? down : up) / kNormal95;
  const double beyond = std::abs(by) - least;
  if (beyond > 0) {
    difference.probability =
        towards_none > 0 ? std::erfc(beyond / towards_none / std::numbers::sqrt2) : 0;
  }
  return difference;
}

// Holm: the least probability times the number of all, the next one times one less, and so on, none
// less than the one before.
void correct(std::vector<ComparedPair>& pairs) {
  std::vector<Difference*> all;
  for (ComparedPair& pair : pairs) {
    for (Difference& difference : pair.differences) {
      all.push_back(&difference);
    }
  }
  std::stable_sort(all.begin(), all.end(), [](const Difference* one, const Difference* other) {
    return one->probability < other->probability;
  });
  double before = 0;
  for (std::size_t at = 0; at < all.size(); ++at) {
    const double times = static_cast<double>(all.size() - at);
    before = std::max(before, std::min(1.0, times * all[at]->probability));
    all[at]->probability = before;
    all[at]->counts = before <= kFamily;
  }
}

Verdict verdict_of(const std::vector<Difference>& differences) {
  if (differences.empty()) {
    return Verdict::unknown;
  }
  bool lower = false;
  bool higher = false;
  bool any = false;
  for (const Difference& difference : differences) {
    if (!difference.counts) {
      continue;
    }
    any = true;
    if (difference.value.sense == Sense::lower_is_better) {
      (difference.size.value < 0 ? lower : higher) = true;
    }
  }
  if (lower != higher) {
    return lower ? Verdict::better : Verdict::worse;
  }
  return any ? Verdict::different : Verdict::same;
}

Verdict verdict_of(const std::vector<ComparedPair>& pairs) {
  for (const Verdict verdict :
       {Verdict::unknown, Verdict::worse, Verdict::different, Verdict::better}) {
    if (std::any_of(pairs.begin(), pairs.end(),
                    [&](const ComparedPair& pair) { return pair.verdict == verdict; })) {
      return verdict;
    }
  }
  return Verdict::same;
}

std::string spoken_difference(const Difference& difference) {
  const Estimate& size = difference.size;
  Estimate positive = size;
  if (size.value < 0) {
    positive = {.value = -size.value, .low = -size.high, .high = -size.low, .unit = size.unit};
  }
  return spoken_value(positive) + " " + size.unit + (size.value < 0 ? " lower" : " higher") + " (" +
         spoken_interval(positive) + ")";
}

// The value that a reader looks for first: the largest of those that are better if lower.
const Difference* leading(const std::vector<Difference>& differences) {
  const Difference* best = nullptr;
  for (const Difference& difference : differences) {
    if (difference.value.sense == Sense::lower_is_better &&
        (best == nullptr ||
         std::abs(difference.value.one.value) > std::abs(best->value.one.value))) {
      best = &difference;
    }
  }
  return best != nullptr || differences.empty() ? best : &differences.front();
}

std::string same_sentence(const std::string& first, const ComparedPair& pair) {
  std::string text = "No difference between " + first + " and " + pair.other->name;
  if (const Difference* one = leading(pair.differences); one != nullptr) {
    const double within = std::max(std::abs(one->size.low), std::abs(one->size.high));
    if (std::isfinite(within)) {
      text += ": " + one->value.name + " is the same within " + spoken_number(within, 2) + " " +
              one->size.unit;
    }
  }
  return text + ".";
}

std::string changed_sentence(const std::string& first, const ComparedPair& pair) {
  std::string text = pair.other->name;
  text +=
      pair.verdict == Verdict::different
          ? " differs from " + first + ", and is neither better nor worse: "
          : std::string(pair.verdict == Verdict::better ? " is better than " : " is worse than ") +
                first + ": ";
  std::string list;
  for (const Difference& difference : pair.differences) {
    const bool decides = difference.value.sense == Sense::lower_is_better;
    if (difference.counts && (decides || pair.verdict == Verdict::different)) {
      list += (list.empty() ? "" : ", ") + difference.value.name + " is " +
              spoken_difference(difference);
    }
  }
  return text + list + ".";
}

// Where two ladders of as many rungs part: the first element, from the heated place outwards, whose
// difference counts.
std::string parting_sentence(const std::string& first, const ComparedPair& pair) {
  const auto order = [](const Difference* difference) {
    const std::string& path = difference->value.path;
    const std::size_t at = path.find(".ladder[") + 8;
    return 2 * std::stoi(path.substr(at)) + (path.ends_with(".resistance") ? 1 : 0);
  };
  const Difference* parts = nullptr;
  for (const Difference& difference : pair.differences) {
    if (difference.counts && difference.value.path.find(".ladder[") != std::string::npos &&
        (parts == nullptr || order(&difference) < order(parts))) {
      parts = &difference;
    }
  }
  if (parts == nullptr) {
    return "";
  }
  const std::string key = parts->value.name.substr(0, parts->value.name.find(" ladder "));
  double resistance = 0;
  for (const Difference& difference : pair.differences) {
    const std::string& path = difference.value.path;
    if (path.starts_with("keys." + key + ".ladder[") && path.ends_with(".resistance") &&
        order(&difference) < order(parts)) {
      resistance += difference.value.one.value;
    }
  }
  return "From " + key + " outwards, " + first + " and " + pair.other->name + " part " +
         (resistance > 0 ? "after " + spoken_number(resistance) + " K/W: "
                         : "in the first rung: ") +
         parts->value.name + " is " + spoken_difference(*parts) + ".";
}

std::string says(const Difference& difference) {
  if (!difference.counts) {
    return "no difference";
  }
  if (difference.value.sense == Sense::neutral) {
    return "differs";
  }
  return difference.size.value < 0 ? "better" : "worse";
}

ResultTable table_of(const std::string& first, const ComparedPair& pair) {
  ResultTable table{.title = pair.other->name + " beside " + first,
                    .head = {"Value", first, pair.other->name, "Difference", "Says"},
                    .rows = {}};
  for (const Difference& difference : pair.differences) {
    table.rows.push_back({difference.value.name, difference.value.one, difference.value.other,
                          difference.size, says(difference)});
  }
  return table;
}

Json figures_of(const ComparedPair& pair) {
  Json json{
      {"name", pair.other->name}, {"verdict", text(pair.verdict)}, {"differences", Json::array()}};
  for (const Difference& difference : pair.differences) {
    json["differences"].push_back({{"name", difference.value.path},
                                   {"first", to_json(difference.value.one)},
                                   {"other", to_json(difference.value.other)},
                                   {"difference", to_json(difference.size)},
                                   {"probability", difference.probability},
                                   {"counts", difference.counts}});
  }
  return json;
}

std::vector<std::string> unlike_conditions(const ComparedRun& first, const ComparedRun& other) {
  std::vector<std::string> warnings;
  for (const ComparedRun::Condition& condition : first.conditions) {
    for (const ComparedRun::Condition& there : other.conditions) {
      if (there.name == condition.name && there.value != condition.value) {
        const auto said = [](const std::string& value) {
          return value.empty() ? std::string("not known") : "\"" + value + "\"";
        };
        warnings.push_back("The " + condition.name + " is not the same: " + said(condition.value) +
                           " in " + first.name + ", " + said(there.value) + " in " + other.name +
                           ". A difference may come from that.");
      }
    }
  }
  return warnings;
}

ComparedPair pair_of(const ComparedRun& first, const ComparedRun& other,
                     const ComparisonRules& rules) {
  ComparedPair pair;
  pair.other = &other;
  ComparedValues common = values_in_common(first.answer.figures, other.answer.figures, rules.keys);
  for (const ComparedValue& value : common.values) {
    const Difference difference = difference_of(value, rules.least);
    if (std::isfinite(difference.size.value)) {
      pair.differences.push_back(difference);
    }
  }
  pair.warnings = unlike_conditions(first, other);
  for (const std::string& warning : common.warnings) {
    pair.warnings.push_back(first.name + " and " + other.name + ": " + warning);
  }
  return pair;
}

}  // namespace

const char* text(Verdict verdict) {
  switch (verdict) {
    case Verdict::same:
      return "same";
    case Verdict::better:
      return "better";
    case Verdict::worse:
      return "worse";
    case Verdict::different:
      return "different";
    case Verdict::unknown:
      return "unknown";
  }
  return "";
}

Comparison compare(const std::vector<ComparedRun>& runs, const ComparisonRules& rules) {
  const ComparedRun& first = runs.front();
  std::vector<ComparedPair> pairs;
  for (std::size_t at = 1; at < runs.size(); ++at) {
    pairs.push_back(pair_of(first, runs[at], rules));
  }
  correct(pairs);
  Comparison comparison;
  Answer& answer = comparison.answer;
  Json of_runs = Json::array();
  for (ComparedPair& pair : pairs) {
    pair.verdict = verdict_of(pair.differences);
    if (pair.verdict == Verdict::unknown) {
      answer.sentences.push_back(first.name + " and " + pair.other->name +
                                 " have nothing in common that was decided in both: there is "
                                 "nothing to compare.");
    } else {
      answer.sentences.push_back(pair.verdict == Verdict::same
                                     ? same_sentence(first.name, pair)
                                     : changed_sentence(first.name, pair));
      answer.tables.push_back(table_of(first.name, pair));
    }
    if (const std::string parting = parting_sentence(first.name, pair); !parting.empty()) {
      answer.sentences.push_back(parting);
    }
    answer.warnings.insert(answer.warnings.end(), pair.warnings.begin(), pair.warnings.end());
    of_runs.push_back(figures_of(pair));
  }
  comparison.verdict = verdict_of(pairs);
  answer.decided = comparison.verdict != Verdict::unknown;
  answer.charts = charts_over_each_other(runs, rules.keys);
  answer.figures = {{"verdict", text(comparison.verdict)},
                    {"least", rules.least},
                    {"first", first.name},
                    {"runs", std::move(of_runs)}};
  return comparison;
}

}  // namespace lab
