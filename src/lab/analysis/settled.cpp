#include "lab/analysis/settled.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "lab/analysis/quantile.h"

namespace lab {

namespace {

constexpr int kSettledParts = 24;  // thirds of eight: enough to see their noise

struct Line {
  double slope = 0;        // a part
  double deviation = 0;    // of the parts' means from the line
  double independent = 0;  // how many of the means are
};

// Source: n (1 - rho) / (1 + rho), as in noise.h, for the few values that there are here.
Line line_through(const std::vector<double>& means) {
  const auto count = static_cast<double>(means.size());
  const double middle = (count - 1) / 2;
  double sum = 0;
  double moment = 0;
  double squares = 0;
  for (std::size_t at = 0; at < means.size(); ++at) {
    const double x = static_cast<double>(at) - middle;
    sum += means[at];
    moment += x * means[at];
    squares += x * x;
  }
  Line line{.slope = moment / squares};
  double variance = 0;
  double neighbours = 0;
  double last = 0;
  for (std::size_t at = 0; at < means.size(); ++at) {
    const double off = means[at] - sum / count - line.slope * (static_cast<double>(at) - middle);
    variance += off * off;
    neighbours += off * last;
    last = off;
  }
  const double rho = variance > 0 ? std::clamp(neighbours / variance, 0.0, 0.8) : 0;
  line.deviation = std::sqrt(variance / (count - 2));
  line.independent = count * (1 - rho) / (1 + rho);
  return line;
}

}  // namespace

SettledWatch::SettledWatch(double stretch_s, double allowed, double step)
    : part_s_(stretch_s / kSettledParts),
      allowed_(std::max(allowed, step / 2)),
      coarse_(allowed < step / 2) {}

void SettledWatch::add(double time_s, double value) {
  if (!std::isfinite(value)) {
    return;
  }
  const double index = std::floor(time_s / part_s_);
  if (parts_.empty() || index > parts_.back().index) {
    parts_.push_back({.index = index});
  }
  parts_.back().sum += value;
  parts_.back().count += 1;
  // One more than needed: the last one is not complete.
  while (parts_.front().index < index - kSettledParts) {
    parts_.pop_front();
  }
}

Settledness SettledWatch::judge() const {
  Settledness result{.to_come = std::numeric_limits<double>::infinity(), .coarse = coarse_};
  std::vector<double> means;
  for (const Part& part : parts_) {
    if (part.index < parts_.back().index) {
      means.push_back(part.sum / part.count);
    }
  }
  // A sensor that is read seldom may leave parts empty; what there is must span the stretch.
  if (means.size() < kSettledParts / 2 ||
      parts_.back().index - parts_.front().index < kSettledParts) {
    return result;
  }
  result.known = true;
  const Line line = line_through(means);
  result.drift = line.slope * static_cast<double>(means.size());
  const std::size_t third = means.size() / 3;
  const auto mean_of_third = [&](std::size_t which) {
    double sum = 0;
    for (std::size_t at = means.size() - (3 - which) * third;
         at < means.size() - (2 - which) * third; ++at) {
      sum += means[at];
    }
    return sum / static_cast<double>(third);
  };
  const double before = mean_of_third(1) - mean_of_third(0);
  const double last = mean_of_third(2) - mean_of_third(1);
  const double error = two_sided_95(line.independent - 2) * line.deviation *
                       std::sqrt(2 / std::max(1.0, line.independent / 3));
  // A ratio of two differences is only as good as they are: below, half is assumed.
  double ratio = 0.5;
  if (std::abs(before) > error) {
    ratio = std::clamp(last / before, 0.5, 0.95);
  }
  result.to_come = (std::abs(last) + error) * ratio / (1 - ratio);
  result.settled = result.to_come <= allowed_;
  return result;
}

Settledness judge_settled(std::span<const double> time_s, std::span<const double> values,
                          double allowed, double step) {
  if (time_s.size() < 2) {
    return {.to_come = std::numeric_limits<double>::infinity()};
  }
  const double stretch_s = time_s.back() - time_s.front();
  SettledWatch watch(stretch_s, allowed, step);
  double last = 0;
  for (std::size_t at = 0; at < time_s.size(); ++at) {
    watch.add(time_s[at] - time_s.front(), values[at]);
    last = std::isfinite(values[at]) ? values[at] : last;
  }
  watch.add(stretch_s * (1 + 0.5 / kSettledParts),
            last);  // begins a part, which completes the one before
  return watch.judge();
}

}  // namespace lab
