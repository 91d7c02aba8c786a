#include "lab/analysis/fan_step.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include "lab/analysis/column_statistics.h"
#include "lab/analysis/exponential_fit.h"
#include "lab/analysis/quantile.h"
#include "lab/analysis/sensor_truth.h"

namespace lab {

namespace {

constexpr std::size_t kFewest = 6;
constexpr std::size_t kMost = 2000;  // a minute and a half at 20 Hz: no fan takes as long
constexpr double kTurning_rpm = 1;   // less is a fan that stands still

/// The new measurements from where the speed has left the one before by a tenth of its way.
std::vector<FitPoint> points_of(std::span<const double> since_s, std::span<const double> speeds_rpm,
                                const SensorTruth& sensor, double before_rpm, double way) {
  constexpr double kTenth = 0.1;
  std::vector<FitPoint> points;
  for (std::size_t at = 0; at < since_s.size(); ++at) {
    const double gone = (speeds_rpm[at] - before_rpm) / way;
    const bool begun = !points.empty() || gone > kTenth;
    if (points.size() < kMost && std::isfinite(speeds_rpm[at]) && since_s[at] > 0 && begun &&
        sensor.fresh[at]) {
      points.push_back({since_s[at], speeds_rpm[at]});
    }
  }
  return points;
}

double dead_time_of(const ExponentialFit& fit, double before_rpm) {
  return fit.tau_s * std::log(fit.height / (before_rpm - fit.last));
}

void widen(Estimate& estimate, double value, double half) {
  estimate.low = std::min(estimate.low, value - half);
  estimate.high = std::max(estimate.high, value + half);
}

Estimate none(double value, const char* unit) {
  return {value, kInfinite, -kInfinite, unit};
}

/// How far the straight line through the speeds rises from the first instant to the last, in RPM.
double rise_of_line(std::span<const double> since_s, std::span<const double> speeds_rpm) {
  const auto count = static_cast<double>(since_s.size());
  const double middle_s = std::accumulate(since_s.begin(), since_s.end(), 0.0) / count;
  double product = 0;
  double square = 0;
  for (std::size_t at = 0; at < since_s.size(); ++at) {
    const double from_middle_s = since_s[at] - middle_s;
    product += from_middle_s * speeds_rpm[at];
    square += from_middle_s * from_middle_s;
  }
  return square > 0 ? product / square * (since_s.back() - since_s.front()) : 0;
}

double last_mean(std::span<const double> speeds_rpm) {
  const std::size_t tenth = std::max<std::size_t>(1, speeds_rpm.size() / 10);
  double sum = 0;
  for (const double speed : speeds_rpm.last(tenth)) {
    sum += speed;
  }
  return sum / static_cast<double>(tenth);
}

}  // namespace

FanStep fan_step(std::span<const double> since_s, std::span<const double> speeds_rpm,
                 double before_rpm) {
  FanStep step;
  step.from_rpm = before_rpm;
  constexpr double kLeastWay = 0.05;
  constexpr double kLeastWay_rpm = 20;
  const double way = speeds_rpm.empty() ? 0 : last_mean(speeds_rpm) - before_rpm;
  if (!(std::abs(way) > std::max(kLeastWay_rpm, kLeastWay * std::abs(before_rpm)))) {
    return step;
  }
  const SensorTruth sensor = sensor_truth(since_s, speeds_rpm);
  const std::vector<FitPoint> points = points_of(since_s, speeds_rpm, sensor, before_rpm, way);
  if (points.size() < kFewest) {
    return step;
  }
  const double length_s = points.back().since_s - points.front().since_s;
  constexpr double kShortest = 0.01;
  const std::vector<ExponentialFit> fits = fit_exponentials(points, kShortest * length_s, length_s);
  const ExponentialFit best = best_of(fits);
  constexpr double kUnknowns = 3;
  const auto count = static_cast<double>(points.size());
  const double raise = inflation(points, best);
  const double variance = best.squares / (count - kUnknowns) * raise;
  const double factor = two_sided_95(std::max(1.0, count / raise - kUnknowns));
  step.to_rpm = none(best.last, "RPM");
  step.time_constant = none(best.tau_s, "s");
  step.dead_time = none(dead_time_of(best, before_rpm), "s");
  for (const ExponentialFit& fit : fits) {
    if (fit.squares > best.squares + factor * factor * variance) {
      continue;
    }
    // Where it comes to rest, the sensor may stand half of its step away.
    widen(step.to_rpm, fit.last, factor * std::sqrt(variance * fit.gain) + sensor.step / 2);
    // The grid is fine near the best: half a step of it is what it leaves.
    widen(step.time_constant, fit.tau_s, 0.001 * fit.tau_s);
    const double height_error = factor * std::sqrt(variance * fit.height_gain);
    // The keys of a sample are read one after the other, within that time.
    constexpr double kInstant_s = 0.002;
    widen(step.dead_time, dead_time_of(fit, before_rpm),
          kInstant_s + fit.tau_s * height_error / std::abs(fit.height));
  }
  step.known = std::isfinite(step.dead_time.value) && best.tau_s < length_s / 1.5;
  return step;
}

FanStop fan_stop(std::span<const double> since_s, std::span<const double> speeds_rpm) {
  FanStop stop;
  std::size_t turned = speeds_rpm.size();
  for (std::size_t at = 0; at < speeds_rpm.size(); ++at) {
    if (speeds_rpm[at] >= kTurning_rpm) {
      turned = at;
    }
  }
  if (turned + 1 >= speeds_rpm.size()) {
    // It turned to the end, or never.
    const SteadySpeed last = steady_speed(since_s, speeds_rpm);
    stop.slowing = last.moving && speeds_rpm.back() < last.rpm.value;
    return stop;
  }
  stop.stands_still = true;
  // Between two samples it went on as it did between the two before.
  const double speed = speeds_rpm[turned];
  const double before = turned > 0 ? speeds_rpm[turned - 1] : speed;
  const double least = before > speed ? speed * speed / before : speed;
  stop.speed_rpm = {(speed + least) / 2, least, speed, "RPM"};
  stop.after_s = {(since_s[turned] + since_s[turned + 1]) / 2, since_s[turned], since_s[turned + 1],
                  "s"};
  return stop;
}

std::optional<Estimate> fan_start(std::span<const double> since_s,
                                  std::span<const double> speeds_rpm) {
  for (std::size_t at = 0; at < speeds_rpm.size(); ++at) {
    if (since_s[at] > 0 && speeds_rpm[at] >= kTurning_rpm) {
      const double still_s = at > 0 ? std::max(0.0, since_s[at - 1]) : 0;
      return Estimate{(still_s + since_s[at]) / 2, still_s, since_s[at], "s"};
    }
  }
  return std::nullopt;
}

SteadySpeed steady_speed(std::span<const double> since_s, std::span<const double> speeds_rpm) {
  SteadySpeed result;
  const std::size_t half = speeds_rpm.size() / 2;
  const auto last = speeds_rpm.subspan(half);
  if (last.size() < kFewest) {
    return result;
  }
  Column column{.name = "", .unit = "RPM", .source = "", .values = {last.begin(), last.end()}};
  const auto times = since_s.subspan(half);
  const ColumnStatistics statistics = column_statistics({times.begin(), times.end()}, column);
  constexpr double kUnsteady = 0.05;  // of the speed: what a tachometer's own steps stay below
  result.rpm = statistics.mean;
  result.steady = statistics.minimum >= kTurning_rpm &&
                  statistics.deviation < kUnsteady * statistics.mean.value;
  result.moving = std::abs(rise_of_line(times, last)) > kUnsteady * statistics.mean.value;
  return result;
}

}  // namespace lab
