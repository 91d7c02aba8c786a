#include <cmath>

#include "lab/analysis/bode_curve.h"
#include "lab/analysis/bode_words.h"

namespace lab {

namespace {

// The predicted curve goes a little beyond the frequencies that were measured.
constexpr double kBeyond = 1.5;

struct Curves {
  Series amplitude;
  Series phase;
};

Series series(const std::string& name, Series::Style style) {
  return {.name = name, .style = style, .x = {}, .y = {}, .low = {}, .high = {}};
}

// A phase by the turn that is nearest to the one before, so that its curve does not jump.
double beside(double degrees, const std::vector<double>& before) {
  constexpr double kTurn = 360;
  return before.empty() ? degrees : before.back() + std::remainder(degrees - before.back(), kTurn);
}

// A key that shows nothing at a frequency has a gap there.
Curves measured(const BodeResult& result, std::size_t key) {
  Curves curves{series(result.keys[key].name + " measured", Series::Style::points),
                series(result.keys[key].name + " measured", Series::Style::points)};
  for (const BodePoint& point : result.points) {
    const KeyPoint& seen = point.keys[key];
    if (!seen.decided) {
      continue;
    }
    const auto add = [&](Series& to, const Estimate& estimate) {
      to.x.push_back(point.frequency_hz);
      to.y.push_back(estimate.value);
      to.low.push_back(estimate.low);
      to.high.push_back(estimate.high);
    };
    add(curves.amplitude, seen.amplitude);
    const double turned = beside(seen.phase.value, curves.phase.y) - seen.phase.value;
    add(curves.phase, {.value = seen.phase.value + turned,
                       .low = seen.phase.low + turned,
                       .high = seen.phase.high + turned,
                       .unit = seen.phase.unit});
  }
  return curves;
}

Curves predicted(const std::string& name, const std::vector<KnownStage>& stages, double from_hz,
                 double to_hz) {
  Curves curves{series(name, Series::Style::line), series(name, Series::Style::line)};
  constexpr int kPoints = 200;
  for (int at = 0; at <= kPoints; ++at) {
    const double frequency_hz =
        from_hz * std::pow(to_hz / from_hz, static_cast<double>(at) / kPoints);
    const std::complex<double> response = stages_response(stages, frequency_hz);
    curves.amplitude.x.push_back(frequency_hz);
    curves.amplitude.y.push_back(std::abs(response));
    curves.phase.x.push_back(frequency_hz);
    curves.phase.y.push_back(beside(std::arg(response) * kDegrees, curves.phase.y));
  }
  return curves;
}

}  // namespace

std::vector<Chart> bode_charts(const BodeInput& input, const BodeResult& result,
                               const KnownStages& stages, const std::string& predicted_from) {
  Chart amplitude{.title = "Amplitude",
                  .x_label = "frequency, Hz",
                  .y_label = input.heat_is_power ? "amplitude for each watt" : "for full load",
                  .x_scale = Chart::Scale::logarithmic,
                  .y_scale = Chart::Scale::logarithmic,
                  .series = {},
                  .note =
                      "How far a key swings for each watt that swings. A shoulder is a stage; "
                      "the bars are the intervals of the points."};
  Chart phase{.title = "Phase",
              .x_label = "frequency, Hz",
              .y_label = "phase, degrees",
              .x_scale = Chart::Scale::logarithmic,
              .series = {},
              .note = "Negative where the key lags behind the heat."};
  for (std::size_t key = 0; key < result.keys.size(); ++key) {
    Curves points = measured(result, key);
    if (points.amplitude.x.empty()) {
      continue;
    }
    amplitude.series.push_back(std::move(points.amplitude));
    phase.series.push_back(std::move(points.phase));
    if (const auto found = stages.find(result.keys[key].name); found != stages.end()) {
      Curves curves =
          predicted(result.keys[key].name + " as the stages of " + predicted_from + " predict it",
                    found->second, result.points.front().frequency_hz / kBeyond,
                    result.points.back().frequency_hz * kBeyond);
      amplitude.series.push_back(std::move(curves.amplitude));
      phase.series.push_back(std::move(curves.phase));
    }
  }
  if (amplitude.series.empty()) {
    return {};
  }
  return {amplitude, phase};
}

}  // namespace lab
