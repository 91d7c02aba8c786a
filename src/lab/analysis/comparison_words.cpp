#include "lab/analysis/comparison_words.h"

#include <algorithm>
#include <cmath>

#include "lab/analysis/spoken_number.h"

namespace lab {

namespace {

using Sense = ComparedValue::Sense;

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
  if (best != nullptr) {
    return best;
  }
  const auto other = std::find_if(
      differences.begin(), differences.end(),
      [](const Difference& difference) { return difference.value.sense != Sense::condition; });
  return other == differences.end() ? nullptr : &*other;
}

std::string says(const Difference& difference) {
  if (difference.value.sense == Sense::condition) {
    return "a condition: decides nothing";
  }
  if (!difference.counts) {
    return "no difference";
  }
  if (difference.value.sense == Sense::neutral) {
    return "differs";
  }
  return difference.better() ? "better" : "worse";
}

}  // namespace

std::string spoken_difference(const Difference& difference) {
  const Estimate& size = difference.size;
  Estimate positive = size;
  if (size.value < 0) {
    positive = {.value = -size.value, .low = -size.high, .high = -size.low, .unit = size.unit};
  }
  return spoken_value(positive) + " " + size.unit + (size.value < 0 ? " lower" : " higher") + " (" +
         spoken_interval(positive) + ")";
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
  constexpr std::size_t kMost = 4;  // the table has them all
  std::string list;
  std::size_t count = 0;
  for (const Difference& difference : pair.differences) {
    if (difference.counts && (difference.decides() || pair.verdict == Verdict::different)) {
      if (++count <= kMost) {
        list += (list.empty() ? "" : ", ") + difference.value.name + " is " +
                spoken_difference(difference);
      }
    }
  }
  if (count > kMost) {
    list += ", and " + std::to_string(count - kMost) + " more";
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

ResultTable difference_table(const std::string& first, const ComparedPair& pair) {
  ResultTable table{.title = pair.other->name + " beside " + first,
                    .head = {"Value", first, pair.other->name, "Difference", "Says"},
                    .rows = {}};
  for (const Difference& difference : pair.differences) {
    table.rows.push_back({difference.value.name, difference.value.one, difference.value.other,
                          difference.size, says(difference)});
  }
  return table;
}

}  // namespace lab
