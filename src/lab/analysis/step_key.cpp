#include "lab/analysis/step_key.h"

#include <algorithm>
#include <cmath>

#include "lab/analysis/coarse_fit.h"
#include "lab/analysis/quantile.h"
#include "lab/analysis/stage_choice.h"
#include "lab/analysis/uncertainty.h"

namespace lab {

namespace {

// The mean of the new measurements of each row. Many of them share their slow errors, so a row of n
// does not count n times.
Observed observed_rows(const HeatCurve& curve, const std::vector<double>& values,
                       const std::vector<bool>& fresh) {
  const auto rows = static_cast<Eigen::Index>(curve.rows());
  Observed observed{Eigen::VectorXd::Zero(rows), Eigen::VectorXd::Zero(rows)};
  for (std::size_t row = 0; row < curve.rows(); ++row) {
    double sum = 0;
    double count = 0;
    for (std::size_t at = curve.first[row]; at < curve.first[row + 1]; ++at) {
      if (fresh[at]) {
        sum += values[at];
        count += 1;
      }
    }
    // A mean of some of a row's samples is not that of the row.
    if (count > 0 && 2 * count > static_cast<double>(curve.first[row + 1] - curve.first[row])) {
      observed.value[static_cast<Eigen::Index>(row)] = sum / count;
      observed.weight[static_cast<Eigen::Index>(row)] = std::sqrt(count);
    }
  }
  return observed;
}

Estimate additive(double value, double variance, double factor, const std::string& unit) {
  const double half = factor * std::sqrt(variance);
  return {.value = value, .low = value - half, .high = value + half, .unit = unit};
}

Estimate multiplicative(double value, double log_variance, double factor, const std::string& unit) {
  const double times = std::exp(factor * std::sqrt(log_variance));
  return {.value = value, .low = value / times, .high = value * times, .unit = unit};
}

void tell_estimates(const Uncertainty& uncertainty, const std::string& unit, KeyResult& result) {
  const Eigen::MatrixXd& covariance = uncertainty.covariance;
  const auto stages = static_cast<Eigen::Index>(result.fit.tau_s.size());
  result.covariance = covariance;
  result.factor = two_sided_95(uncertainty.freedom);
  const auto measured = static_cast<double>((result.observed.weight.array() > 0).count());
  result.residual_rms = std::sqrt(result.fit.squares * measured) / result.observed.weight.sum();
  result.moved = result.fit.fitted.maxCoeff() - result.fit.fitted.minCoeff();
  result.stages.clear();
  result.start = additive(result.fit.start, covariance(0, 0), result.factor, "degC");
  double sum = 0;
  for (Eigen::Index at = 0; at < stages; ++at) {
    const auto stage = static_cast<std::size_t>(at);
    const Eigen::Index log_tau = covariance.rows() - stages + at;
    sum += result.fit.resistance[stage];
    result.stages.push_back(
        {.resistance = additive(result.fit.resistance[stage], covariance(1 + at, 1 + at),
                                result.factor, unit),
         .time_constant = multiplicative(result.fit.tau_s[stage], covariance(log_tau, log_tau),
                                         result.factor, "s")});
  }
  result.resistance =
      additive(sum, covariance.block(1, 1, stages, stages).sum(), result.factor, unit);
}

// Half a 95 % interval is below a tenth.
bool well_known(const Estimate& time_constant) {
  return time_constant.high < 1.22 * time_constant.low;
}

bool near(double one_s, double other_s) {
  return std::abs(std::log(one_s / other_s)) < 0.7;
}

// The time constants that others know well and that are near none of these.
std::vector<double> lent(const KeyResult& result, const std::vector<double>& own_s,
                         const std::vector<KeyResult>& all) {
  std::vector<double> lent_s;
  for (const KeyResult& other : all) {
    for (const Stage& stage : other.stages) {
      const double tau_s = stage.time_constant.value;
      const auto is_near = [&](double there_s) { return near(there_s, tau_s); };
      if (&other != &result && well_known(stage.time_constant) &&
          std::none_of(own_s.begin(), own_s.end(), is_near) &&
          std::none_of(lent_s.begin(), lent_s.end(), is_near)) {
        lent_s.push_back(tau_s);
      }
    }
  }
  return lent_s;
}

}  // namespace

KeyResult fit_key(const StepInput& input, const Column& temperature, const HeatCurve& curve,
                  const StartGrid& grid, const std::string& unit) {
  KeyResult result;
  result.name = temperature.name;
  result.sensor = sensor_truth(input.time_s, temperature.values);
  result.observed = observed_rows(curve, temperature.values, result.sensor.fresh);
  const auto measured = static_cast<std::size_t>((result.observed.weight.array() > 0).count());
  if (measured < kFewestToFit || result.sensor.levels < 2) {
    result.decided = false;
    result.warnings.push_back(
        measured < kFewestToFit
            ? result.name + " has " + std::to_string(measured) +
                  " measurements, too few for a fit: record longer, or read it more often."
            : result.name +
                  " never changed: its sensor is too coarse for this rise, or stands "
                  "still. Use another key, or more heat.");
    return result;
  }
  const FosterStart start(curve, grid, result.observed);
  result.fit = input.structure ? choose_rungs(curve, result.observed, start)
                               : choose_stages(curve, result.observed, start);
  tell_estimates(uncertainty(result.fit, result.observed), unit, result);
  return result;
}

double first_rise(const KeyResult& result) {
  double sum = 0;
  for (std::size_t at = 0; at < result.fit.tau_s.size(); ++at) {
    sum += result.fit.resistance[at] / result.fit.tau_s[at];
  }
  return sum;
}

bool rises_late(const KeyResult& result, const std::vector<KeyResult>& all) {
  constexpr double kMuchSlower = 0.1;
  return !result.stages.empty() && std::any_of(all.begin(), all.end(), [&](const auto& other) {
    return first_rise(result) < kMuchSlower * first_rise(other);
  });
}

void lend_time_constants(const HeatCurve& curve, const std::string& unit, Lend lend,
                         std::vector<KeyResult>& results) {
  const std::vector<KeyResult> alone = results;
  for (std::size_t at = 0; at < results.size(); ++at) {
    if (lend == Lend::to_late_ones && !rises_late(alone[at], alone)) {
      continue;
    }
    std::vector<double> own_s;
    for (const Stage& stage : alone[at].stages) {
      if (well_known(stage.time_constant)) {
        own_s.push_back(stage.time_constant.value);
      }
    }
    const std::vector<double> lent_s = lent(alone[at], own_s, alone);
    if (own_s.empty() || lent_s.empty()) {
      continue;
    }
    const Start start = alone[at].fit.offset.empty() ? Start::settled : Start::unsettled;
    results[at].fit = foster_fit(curve, results[at].observed, own_s, start, lent_s);
    tell_estimates(uncertainty(results[at].fit, results[at].observed), unit, results[at]);
  }
}

void refine_key(const StepInput& input, const HeatCurve& curve, const std::string& unit,
                KeyResult& result) {
  const auto measured = static_cast<double>((result.observed.weight.array() > 0).count());
  const bool single = curve.rows() == input.time_s.size();
  const double step = result.sensor.step;
  if (result.stages.empty() || !single || step <= 0 ||
      result.fit.squares / measured >= step * step) {
    return;
  }
  CoarseFit coarse = coarse_fit(curve, result.observed, std::move(result.fit), step);
  result.fit = std::move(coarse.fit);
  tell_estimates(coarse.uncertainty, unit, result);
}

void name_lent_time_constants(std::vector<KeyResult>& results) {
  for (KeyResult& result : results) {
    for (std::size_t at = 0; at < result.stages.size(); ++at) {
      if (!result.fit.given[at]) {
        continue;
      }
      Estimate& lent = result.stages[at].time_constant;
      for (const KeyResult& other : results) {
        for (std::size_t there = 0; there < other.stages.size(); ++there) {
          const Estimate& found = other.stages[there].time_constant;
          if (!other.fit.given[there] && near(found.value, lent.value)) {
            lent = found;
          }
        }
      }
    }
  }
}

}  // namespace lab
