#include "lab/analysis/step_fits.h"

#include <algorithm>
#include <cmath>

#include "lab/analysis/noise.h"
#include "lab/analysis/reading_span.h"
#include "lab/analysis/uncertainty.h"

namespace lab {

namespace {

// A likelihood so many times smaller, as a logarithm, is that of something else: one in twenty.
constexpr double kToldApart = 3;

StepFits fitted(const StepInput& record) {
  StepFits fits{.curve = curve_of(record), .results = {}};
  const StartGrid grid(fits.curve);
  const std::string unit = record.heat_is_power ? "K/W" : "K";
  for (const Column& temperature : record.temperatures) {
    fits.results.push_back(fit_key(record, temperature, fits.curve, grid, unit));
  }
  lend_time_constants(fits.curve, unit, record.structure ? Lend::to_late_ones : Lend::to_all,
                      fits.results);
  for (KeyResult& result : fits.results) {
    refine_key(record, fits.curve, unit, result);
  }
  name_lent_time_constants(fits.results);
  return fits;
}

double residual_count(const KeyResult& result) {
  return static_cast<double>((result.observed.weight.array() > 0).count());
}

// The logarithm of what a temperature leaves unexplained, a mean of squares.
double unexplained(const KeyResult& result) {
  return std::log(std::max(result.fit.squares, 1e-300) / residual_count(result));
}

// Which temperatures have stages depends on their sensors alone, and is the same in all fits.
double unexplained(const StepFits& fits) {
  double sum = 0;
  for (const KeyResult& result : fits.results) {
    sum += result.stages.empty() ? 0 : residual_count(result) * unexplained(result);
  }
  return sum;
}

// Whether some temperature shows that the heat was not that of `other`.
bool told_apart(const StepFits& chosen, const StepFits& other) {
  for (std::size_t key = 0; key < chosen.results.size(); ++key) {
    const KeyResult& result = chosen.results[key];
    if (result.stages.empty()) {
      continue;
    }
    const Eigen::VectorXd residuals =
        weighted_rows(result.observed.value - result.fit.fitted, result.observed);
    const double count = effective_count(residual_count(result), noise_of(residuals));
    if (count / 2 * (unexplained(other.results[key]) - unexplained(result)) > kToldApart) {
      return true;
    }
  }
  return false;
}

void widen(Estimate& estimate, const Estimate& other) {
  estimate.low = std::min(estimate.low, other.low);
  estimate.high = std::max(estimate.high, other.high);
}

void widen(KeyResult& result, const KeyResult& other) {
  if (result.stages.empty() || other.stages.empty()) {
    return;
  }
  widen(result.resistance, other.resistance);
  widen(result.start, other.start);
  if (result.stages.size() != other.stages.size()) {
    return;  // which of them would be which
  }
  for (std::size_t stage = 0; stage < result.stages.size(); ++stage) {
    widen(result.stages[stage].resistance, other.stages[stage].resistance);
    widen(result.stages[stage].time_constant, other.stages[stage].time_constant);
  }
}

}  // namespace

HeatCurve curve_of(const StepInput& record) {
  return heat_curve(record.time_s, record.heat, record.heat_delay_s, record.most_rows);
}

StepFits fit_step(const StepInput& record) {
  std::vector<StepFits> all{fitted(record)};
  const double period_s = reading_period(record.time_s);
  // A delay that is known says what the readings are.
  if (record.heat_is_power && record.heat_delay_s <= 0 && period_s > 0) {
    for (const ReadingSpan span : {ReadingSpan::period_or_more, ReadingSpan::last_period}) {
      StepInput other = record;
      other.heat = since_before(record.time_s, record.heat, span, period_s);
      all.push_back(fitted(other));
    }
  }
  const auto chosen = std::min_element(
      all.begin(), all.end(),
      [](const StepFits& one, const StepFits& two) { return unexplained(one) < unexplained(two); });
  for (const StepFits& other : all) {
    if (&other == &*chosen || told_apart(*chosen, other)) {
      continue;
    }
    for (std::size_t key = 0; key < chosen->results.size(); ++key) {
      widen(chosen->results[key], other.results[key]);
    }
  }
  return std::move(*chosen);
}

}  // namespace lab
