#include "lab/analysis/comparison.h"

#include <algorithm>
#include <cmath>

#include "lab/analysis/comparison_charts.h"
#include "lab/analysis/comparison_words.h"
#include "lab/analysis/spoken_number.h"

namespace lab {

namespace {

using Json = nlohmann::ordered_json;
using Sense = ComparedValue::Sense;

Verdict verdict_of(const std::vector<Difference>& differences) {
  const bool comparable = std::any_of(
      differences.begin(), differences.end(),
      [](const Difference& difference) { return difference.value.sense != Sense::condition; });
  if (!comparable) {
    return Verdict::unknown;
  }
  bool better = false;
  bool worse = false;
  bool any = false;
  for (const Difference& difference : differences) {
    if (!difference.counts) {
      continue;
    }
    any = true;
    if (difference.decides()) {
      (difference.better() ? better : worse) = true;
    }
  }
  if (better != worse) {
    return better ? Verdict::better : Verdict::worse;
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

Json figures_of(const ComparedPair& pair) {
  Json json{
      {"name", pair.other->name}, {"verdict", text(pair.verdict)}, {"differences", Json::array()}};
  for (const Difference& difference : pair.differences) {
    json["differences"].push_back(
        {{"name", difference.value.path},
         {"first", to_json(difference.value.one)},
         {"other", to_json(difference.value.other)},
         {"difference", to_json(difference.size)},
         {"probability", difference.value.sense == Sense::condition ? Json(nullptr)
                                                                    : Json(difference.probability)},
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

// A temperature before the run that is another one for certain.
bool beyond_chance(const Difference& difference, double least) {
  constexpr double kAlone = 0.05;
  return difference.value.sense == Sense::condition && std::abs(difference.size.value) > least &&
         difference.probability <= kAlone;
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
  for (const Difference& difference : pair.differences) {
    if (beyond_chance(difference, rules.least)) {
      pair.warnings.push_back("The " + difference.value.name + " is " +
                              spoken_difference(difference) + " in " + other.name + " than in " +
                              first.name +
                              ": another room, or what was before the run. A difference "
                              "may come from that.");
    }
  }
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
  std::vector<Difference*> differences;
  for (ComparedPair& pair : pairs) {
    for (Difference& difference : pair.differences) {
      differences.push_back(&difference);
    }
  }
  judge_together(differences);
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
      answer.tables.push_back(difference_table(first.name, pair));
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
