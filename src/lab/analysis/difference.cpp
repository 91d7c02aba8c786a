#include "lab/analysis/difference.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>

namespace lab {

namespace {

constexpr double kFamily = 0.05;
constexpr double kNormal95 = 1.959964;
constexpr double kTurn = 360;

// What a difference is said in, and its factor from the unit of the values.
struct Measure {
  const char* unit = "%";
  double scale = 1;
};

Measure measure_of(const ComparedValue& value) {
  if (value.one.unit == "degC") {
    return {.unit = "K", .scale = 1};
  }
  if (value.one.unit == "deg") {
    return {.unit = "deg", .scale = 1};
  }
  // Of nothing there is no percent: then the other value is the whole.
  const double whole =
      value.one.value != 0 ? std::abs(value.one.value) : std::abs(value.other.value);
  return {.unit = "%", .scale = whole > 0 ? 100 / whole : 1};
}

}  // namespace

Difference difference_of(const ComparedValue& value, double least) {
  const Measure measure = measure_of(value);
  double by = value.other.value - value.one.value;
  if (value.one.unit == "deg") {
    by = std::remainder(by, kTurn);
  }
  by *= measure.scale;
  // On each side, the first may be off one way and the other one the other way.
  const double down =
      std::hypot(value.other.value - value.other.low, value.one.high - value.one.value) *
      measure.scale;
  const double up =
      std::hypot(value.other.high - value.other.value, value.one.value - value.one.low) *
      measure.scale;
  Difference difference;
  difference.value = value;
  difference.size = {.value = by, .low = by - down, .high = by + up, .unit = measure.unit};
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
void judge_together(const std::vector<Difference*>& differences) {
  std::vector<Difference*> all;
  std::copy_if(differences.begin(), differences.end(), std::back_inserter(all),
               [](const Difference* difference) {
                 return difference->value.sense != ComparedValue::Sense::condition;
               });
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

}  // namespace lab
