#include "lab/analysis/sweep_points.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include "lab/analysis/quantile.h"

namespace lab {

namespace {

constexpr double kClear = 10;   // times its noise: a change that tells its time constant by itself
constexpr double kTelling = 4;  // a change that tells one at all
constexpr double kSameWay = 2;  // times its own misfit: more, and another one is not its own
constexpr double kStill_K = 0.1;  // nobody waits for less

std::span<const double> part(const std::vector<double>& values, const SweepVisit& visit) {
  return std::span(values).subspan(visit.first_row, visit.end_row - visit.first_row);
}

/// The last two thirds of a visit, which its values are of.
SweepVisit late(const SweepVisit& visit) {
  return {visit.point, visit.first_row + (visit.end_row - visit.first_row) / 3, visit.end_row};
}

/// What each key comes to in one visit.
std::vector<SettledValue> settled_values(const Table& samples,
                                         const std::vector<const Column*>& keys,
                                         const SweepVisit& visit) {
  const auto time_s = part(samples.time_s, visit);
  std::vector<SettledValue> values;
  const SettledValue* clearest = nullptr;
  values.reserve(keys.size());
  for (const Column* key : keys) {
    values.push_back(settled_value(time_s, part(key->values, visit), key->unit, std::nullopt,
                                   key->unit == "degC" ? kStill_K : 0));
  }
  for (std::size_t at = 0; at < keys.size(); ++at) {
    const bool better = clearest == nullptr || values[at].clearness > clearest->clearness;
    const bool tells =
        values[at].settled && values[at].clearness > kTelling && values[at].constants.best_s > 0;
    if (keys[at]->unit == "degC" && tells && better) {
      clearest = &values[at];
    }
  }
  if (clearest == nullptr) {
    return values;
  }
  const TimeConstants constants = clearest->constants;
  for (std::size_t at = 0; at < keys.size(); ++at) {
    const bool unclear = values[at].clearness < kClear;
    if (&values[at] == clearest || (!unclear && values[at].settled)) {
      continue;
    }
    const SettledValue shared =
        settled_value(time_s, part(keys[at]->values, visit), keys[at]->unit, constants);
    if (unclear || shared.misfit <= kSameWay * values[at].misfit) {
      values[at] = shared;
    }
  }
  return values;
}

double mean(std::span<const double> values) {
  double sum = 0;
  double count = 0;
  for (const double value : values) {
    if (std::isfinite(value)) {
      sum += value;
      count += 1;
    }
  }
  return sum / count;
}

double done_at(const std::vector<WorkCount>& work, double time_s) {
  const auto after =
      std::lower_bound(work.begin(), work.end(), time_s,
                       [](const WorkCount& done, double instant) { return done.time_s < instant; });
  if (after == work.begin() || after == work.end()) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  const WorkCount& before = *std::prev(after);
  const double share = (time_s - before.time_s) / (after->time_s - before.time_s);
  return before.operations + share * (after->operations - before.operations);
}

/// Operations for each joule between two instants.
double each_joule(const SweepInput& input, const Column& watts, double from_s, double to_s) {
  const std::vector<double>& time_s = input.samples.time_s;
  const auto row = [&](double instant_s) {
    return static_cast<std::size_t>(std::lower_bound(time_s.begin(), time_s.end(), instant_s) -
                                    time_s.begin());
  };
  const double mean_w = mean(part(watts.values, {0, row(from_s), row(to_s)}));
  return (done_at(input.work, to_s) - done_at(input.work, from_s)) / (mean_w * (to_s - from_s));
}

/// How far the mean of what was done for each joule may be off, by how it goes from one part of the
/// time to the next: caches and memory are shared with others. 0: it cannot be told.
double scatter(const SweepInput& input, const Column& watts, double from_s, double to_s) {
  constexpr int kParts = 8;
  constexpr double kShortest_s = 3;  // the work is counted once a second
  const double part_s = (to_s - from_s) / kParts;
  if (part_s < kShortest_s) {
    return 0;
  }
  double sum = 0;
  double squares = 0;
  for (int at = 0; at < kParts; ++at) {
    const double each = each_joule(input, watts, from_s + at * part_s, from_s + (at + 1) * part_s);
    sum += each;
    squares += each * each;
  }
  const double variance = std::max(0.0, squares - sum * sum / kParts) / (kParts - 1);
  return std::isfinite(variance) ? two_sided_95(kParts - 1) * std::sqrt(variance / kParts) : 0;
}

/// Operations for each joule over the last two thirds of a visit. Its error is that of the power,
/// and its own scatter.
std::optional<Estimate> efficiency(const SweepInput& input, const SweepVisit& visit,
                                   const KeyAtPoint& power) {
  const Column* watts = input.samples.find(input.power);
  const Column* delivered = input.samples.find(kDeliveredColumn);
  constexpr double kIdle = 0.01;
  if (delivered == nullptr || !(mean(part(delivered->values, late(visit))) > kIdle)) {
    return std::nullopt;
  }
  const std::size_t begin = late(visit).first_row;
  if (watts == nullptr || input.work.size() < 2 || visit.end_row < begin + 2) {
    return std::nullopt;
  }
  // The record counts once a second: between two counts the load is what it is at the point.
  const double from_s = input.samples.time_s[begin];
  const double to_s = std::min(input.samples.time_s[visit.end_row - 1], input.work.back().time_s);
  const double each = each_joule(input, *watts, from_s, to_s);
  if (!(each > 0) || !std::isfinite(each)) {
    return std::nullopt;
  }
  const double of_power = each * (power.value.high - power.value.low) / 2 / power.value.value;
  const double half = std::hypot(of_power, scatter(input, *watts, from_s, to_s));
  return Estimate{each, each - half, each + half, "1/J"};
}

}  // namespace

const char* text(SweptSetting over) {
  switch (over) {
    case SweptSetting::fans:
      return "rpm";
    case SweptSetting::duty:
      return "duty";
    case SweptSetting::pstate:
      return "pstate";
    case SweptSetting::load:
      return "load";
  }
  return "";
}

std::vector<const Column*> swept_keys(const Table& samples) {
  std::vector<const Column*> keys;
  for (const Column& column : samples.columns) {
    if (!column.unit.empty()) {
      keys.push_back(&column);
    }
  }
  return keys;
}

Estimate together(const std::vector<Estimate>& estimates) {
  double weights = 0;
  double sum = 0;
  for (const Estimate& one : estimates) {
    const double error = std::max((one.high - one.low) / 2 / kIntervalFactor, 1e-12);
    weights += 1 / (error * error);
    sum += one.value / (error * error);
  }
  if (estimates.size() == 1 || !(weights > 0)) {
    return estimates.front();
  }
  const double value = sum / weights;
  const bool exact = std::all_of(estimates.begin(), estimates.end(), [&](const Estimate& one) {
    return one.low == one.high && one.value == estimates.front().value;
  });
  if (exact) {
    return estimates.front();  // one that never moves
  }
  double squares = 0;
  for (const Estimate& one : estimates) {
    const double error = std::max((one.high - one.low) / 2 / kIntervalFactor, 1e-12);
    squares += (one.value - value) * (one.value - value) / (error * error);
  }
  const double more = squares / static_cast<double>(estimates.size() - 1);
  const double half = kIntervalFactor * std::sqrt(std::max(1.0, more) / weights);
  return {value, value - half, value + half, estimates.front().unit};
}

std::vector<PointResult> measured_points(const SweepInput& input) {
  const std::vector<const Column*> keys = swept_keys(input.samples);
  std::vector<PointResult> results(input.points.size());
  std::vector<std::vector<std::vector<Estimate>>> found(
      input.points.size(), std::vector<std::vector<Estimate>>(keys.size()));
  std::vector<std::vector<Estimate>> work(input.points.size());
  const Column* delivered = input.samples.find(kDeliveredColumn);
  for (PointResult& result : results) {
    result.keys.resize(keys.size());
  }
  for (const SweepVisit& visit : input.visits) {
    PointResult& result = results[visit.point];
    const std::vector<SettledValue> values = settled_values(input.samples, keys, visit);
    ++result.visits;
    if (delivered != nullptr) {
      result.delivered += mean(part(delivered->values, late(visit)));
    }
    for (std::size_t at = 0; at < keys.size(); ++at) {
      if (values[at].settled) {
        found[visit.point][at].push_back(values[at].value);
      } else if (!result.keys[at].settled) {
        result.keys[at].value = values[at].value;
      }
      result.keys[at].settled = !found[visit.point][at].empty();
      if (values[at].settled && values[at].foretold) {
        result.keys[at].foretold = std::max(result.keys[at].foretold, std::abs(values[at].to_come));
      }
      if (keys[at]->name == input.power && values[at].settled) {
        if (const auto each = efficiency(input, visit, {values[at].value, true})) {
          work[visit.point].push_back(*each);
        }
      }
    }
  }
  for (std::size_t point = 0; point < results.size(); ++point) {
    PointResult& result = results[point];
    result.delivered = delivered != nullptr && result.visits > 0
                           ? result.delivered / static_cast<double>(result.visits)
                           : std::numeric_limits<double>::quiet_NaN();
    for (std::size_t at = 0; at < keys.size(); ++at) {
      if (!found[point][at].empty()) {
        result.keys[at].value = together(found[point][at]);
      }
    }
    if (!work[point].empty()) {
      result.operations_per_joule = together(work[point]);
    }
  }
  return results;
}

}  // namespace lab
