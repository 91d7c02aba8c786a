#include "lab/analysis/structure.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "lab/analysis/impedance_curve.h"
#include "lab/analysis/spoken_number.h"
#include "lab/analysis/time_constant_spectrum.h"

namespace lab {

namespace {

constexpr const char* kNoStructure = "a transfer impedance, which has no structure function.";

std::string why_away(const KeyResult& result, const std::vector<KeyResult>& all) {
  double sum = 0;
  for (const double resistance : result.fit.resistance) {
    sum += std::abs(resistance);
  }
  constexpr double kRounding = 1e-3;
  for (const Stage& stage : result.stages) {
    if (stage.resistance.high < 0 && -stage.resistance.value > kRounding * sum) {
      return result.name + ": it begins to rise late (its stage of " +
             spoken_value(stage.time_constant) +
             " s is negative), so it is away from the heat. What it shows is " + kNoStructure;
    }
  }
  if (rises_late(result, all)) {
    const auto quickest =
        std::max_element(all.begin(), all.end(), [](const KeyResult& one, const KeyResult& other) {
          return first_rise(one) < first_rise(other);
        });
    return result.name + ": at first it rises less than a tenth as quickly as " + quickest->name +
           ", so it is away from the heat. What it shows is " + kNoStructure;
  }
  return "";
}

// The stages that a ladder is made of: without those that were only lent, and are nothing here.
std::vector<Eigen::Index> stages_that_count(const KeyResult& result) {
  std::vector<Eigen::Index> found;
  for (std::size_t at = 0; at < result.stages.size(); ++at) {
    const Estimate& resistance = result.stages[at].resistance;
    if (resistance.value > 0 && !(result.fit.given[at] && resistance.low <= 0)) {
      found.push_back(static_cast<Eigen::Index>(at));
    }
  }
  return found;
}

// The logarithms of all resistances, then of all capacitances.
Eigen::VectorXd log_ladder(const std::vector<FosterStage>& stages) {
  const std::vector<Rung> ladder = ladder_of(stages);
  const auto count = static_cast<Eigen::Index>(ladder.size());
  Eigen::VectorXd logs(2 * count);
  for (Eigen::Index at = 0; at < count; ++at) {
    logs[at] = std::log(ladder[static_cast<std::size_t>(at)].resistance);
    logs[count + at] = std::log(ladder[static_cast<std::size_t>(at)].capacitance);
  }
  return logs;
}

Estimate told(double log_value, double variance, double factor, const char* unit) {
  const double value = std::exp(log_value);
  const double times = std::exp(factor * std::sqrt(std::max(variance, 0.0)));
  return {.value = value, .low = value / times, .high = value * times, .unit = unit};
}

std::vector<RungEstimate> ladder_estimates(const KeyResult& result) {
  const std::vector<Eigen::Index> chosen = stages_that_count(result);
  const auto count = static_cast<Eigen::Index>(chosen.size());
  const auto all = static_cast<Eigen::Index>(result.stages.size());
  std::vector<FosterStage> stages;
  std::vector<Eigen::Index> parameters;
  for (const Eigen::Index at : chosen) {
    const auto stage = static_cast<std::size_t>(at);
    stages.push_back(
        {.resistance = result.fit.resistance[stage], .tau_s = result.fit.tau_s[stage]});
    parameters.push_back(1 + at);
  }
  for (const Eigen::Index at : chosen) {
    parameters.push_back(result.covariance.rows() - all + at);
  }
  const Eigen::VectorXd logs = log_ladder(stages);
  Eigen::MatrixXd slopes(2 * count, 2 * count);
  constexpr double kStep = 1e-5;
  for (Eigen::Index at = 0; at < count; ++at) {
    const auto stage = static_cast<std::size_t>(at);
    std::vector<FosterStage> moved = stages;
    const double step = kStep * moved[stage].resistance;
    moved[stage].resistance += step;
    slopes.col(at) = (log_ladder(moved) - logs) / step;
    moved = stages;
    moved[stage].tau_s *= std::exp(kStep);
    slopes.col(count + at) = (log_ladder(moved) - logs) / kStep;
  }
  const Eigen::MatrixXd covariance =
      slopes * result.covariance(parameters, parameters) * slopes.transpose();
  std::vector<RungEstimate> ladder;
  for (Eigen::Index at = 0; at < count; ++at) {
    ladder.push_back({.resistance = told(logs[at], covariance(at, at), result.factor, "K/W"),
                      .capacitance = told(logs[count + at], covariance(count + at, count + at),
                                          result.factor, "J/K")});
  }
  return ladder;
}

void judge_ladder(const KeyResult& result, Structure& structure) {
  structure.decided = result.decided;
  RungEstimate& last = structure.ladder.back();
  if (!result.decided) {
    last.resistance.high = last.capacitance.high = kInfinite;
  }
  double widest = 1;
  std::size_t where = 0;
  for (std::size_t at = 0; at < structure.ladder.size(); ++at) {
    const RungEstimate& rung = structure.ladder[at];
    for (const Estimate* element : {&rung.resistance, &rung.capacitance}) {
      if (std::isfinite(element->high) && element->high / element->low > widest) {
        widest = element->high / element->low;
        where = at;
      }
    }
  }
  constexpr double kWide = 1.5;  // a fifth to either side
  if (widest > kWide) {
    structure.warnings.push_back(
        structure.name + ": rung " + std::to_string(where + 1) +
        " of its ladder is known only to within a factor of " + spoken_number(widest, 2) +
        ". Stages that are not a factor of ten apart need less noise: repeat the step, or use more "
        "heat.");
  }
}

void add_spectrum(const KeyResult& result, const HeatCurve& curve, Structure& structure) {
  const std::vector<ImpedancePoint> points = measured_impedance(result, curve);
  double left = 0;
  double count = 0;
  Eigen::VectorXd gradient;
  for (const ImpedancePoint& point : points) {
    const double z = fitted_impedance(result, point.time_s, gradient);
    left += point.count * (point.impedance - z) * (point.impedance - z);
    count += point.count;
  }
  // As near as the stages come, and no nearer than is seen in a picture.
  constexpr double kAsNear = 1.1;
  constexpr double kSeen = 1e-3;
  const double seen = kSeen * result.resistance.value;
  structure.spectrum = time_constant_spectrum(points, kAsNear * left + count * seen * seen);
  if (structure.spectrum.empty()) {
    structure.warnings.push_back(
        structure.name +
        ": no spectrum without a negative part comes as near to the measurement as the stages do, "
        "so none is drawn: something beside the heat moves this temperature.");
    return;
  }
  std::vector<FosterStage> stages;
  constexpr double kNothing = 1e-7;
  for (const FosterStage& stage : structure.spectrum) {
    if (stage.resistance > kNothing * result.resistance.value) {
      stages.push_back(stage);
    }
  }
  structure.fine = ladder_of(stages);
}

}  // namespace

std::vector<Structure> structures(const std::vector<KeyResult>& results, const HeatCurve& curve) {
  std::vector<Structure> all;
  for (const KeyResult& result : results) {
    if (result.stages.empty()) {
      continue;
    }
    Structure structure;
    structure.name = result.name;
    structure.away = why_away(result, results);
    structure.decided = structure.away.empty();
    if (structure.decided) {
      structure.ladder = ladder_estimates(result);
      judge_ladder(result, structure);
      add_spectrum(result, curve, structure);
    }
    all.push_back(std::move(structure));
  }
  return all;
}

const Structure* most_direct(const std::vector<Structure>& structures) {
  const Structure* best = nullptr;
  for (const Structure& structure : structures) {
    if (!structure.ladder.empty() &&
        (best == nullptr ||
         structure.ladder.front().capacitance.value < best->ladder.front().capacitance.value)) {
      best = &structure;
    }
  }
  return best;
}

}  // namespace lab
