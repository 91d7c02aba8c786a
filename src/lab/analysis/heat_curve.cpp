#include "lab/analysis/heat_curve.h"

#include <algorithm>
#include <cmath>

namespace lab {

namespace {

std::vector<double> without_gaps(std::span<const double> heat) {
  std::vector<double> filled(heat.begin(), heat.end());
  for (std::size_t at = filled.size() - 1; at-- > 0;) {
    if (!std::isfinite(filled[at])) {
      filled[at] = filled[at + 1];
    }
  }
  for (std::size_t at = 1; at < filled.size(); ++at) {
    if (!std::isfinite(filled[at])) {
      filled[at] = filled[at - 1];
    }
  }
  return filled;
}

// A few outliers do not make a range.
double inner_range(std::vector<double> heat) {
  const auto tail = static_cast<std::ptrdiff_t>(heat.size() / 200);
  const auto least = heat.begin() + tail;
  std::nth_element(heat.begin(), least, heat.end());
  const double low = *least;
  const auto most = heat.end() - 1 - tail;
  std::nth_element(heat.begin(), most, heat.end());
  return *most - low;
}

// The readings hold for the time up to their instants, earlier by the delay.
class ShiftedHeat {
 public:
  ShiftedHeat(std::span<const double> time_s, std::span<const double> heat, double delay_s)
      : time_s_(time_s), heat_(heat), delay_s_(delay_s) {}

  // Adds the spans from one sample to the next, the last of them observed.
  void add(double from_s, double to_s, std::vector<HeatSpan>& spans) {
    while (at_ + 1 < heat_.size() && time_s_[at_] - delay_s_ <= from_s) {
      ++at_;
    }
    while (at_ + 1 < heat_.size() && time_s_[at_] - delay_s_ < to_s) {
      const double end_s = time_s_[at_] - delay_s_;
      spans.push_back({.step_s = end_s - from_s, .heat = heat_[at_], .observed = false});
      from_s = end_s;
      ++at_;
    }
    spans.push_back({.step_s = to_s - from_s, .heat = heat_[at_], .observed = true});
  }

 private:
  std::span<const double> time_s_;
  std::span<const double> heat_;
  double delay_s_;
  std::size_t at_ = 0;
};

// How far rows are widened: not beyond a part of the time since the heat last changed.
struct Widening {
  double part = 0;    // of that time
  double change = 0;  // of the range: more than that is a change
};

// The first sample of each row, and the number of samples at the end.
std::vector<std::size_t> cut(std::span<const double> time_s, std::span<const double> heat,
                             double range, Widening widening, double& widest_fast_s) {
  std::vector<std::size_t> first{0, 1};
  double event_s = time_s[0];
  double level_sum = heat[0];
  double level_count = 1;
  widest_fast_s = 0;
  for (std::size_t at = 1; at < time_s.size(); ++at) {
    const bool changed =
        level_count > 0 && std::abs(heat[at] - level_sum / level_count) > widening.change * range;
    if (changed) {
      event_s = time_s[at - 1];
      level_sum = level_count = 0;
    }
    level_sum += heat[at];
    level_count += 1;
    const std::size_t begin = first.back();
    const double step_s = time_s[at] - time_s[at - 1];
    const double width_s = time_s[at] - time_s[begin - 1];
    const double mean_step_s = width_s / static_cast<double>(at - begin + 1);
    const bool even = std::abs(step_s - mean_step_s) <= 0.2 * mean_step_s;
    const bool narrow = width_s <= widening.part * (time_s[begin - 1] - event_s);
    if (at > begin && (changed || !even || !narrow)) {
      first.push_back(at);
    }
    if (changed) {
      widest_fast_s = std::max(widest_fast_s, step_s);
    }
  }
  first.push_back(time_s.size());
  return first;
}

double level_at_the_start(std::span<const double> heat, double range) {
  double sum = heat[0];
  std::size_t count = 1;
  while (count < heat.size() &&
         std::abs(heat[count] - sum / static_cast<double>(count)) <= 0.15 * range) {
    sum += heat[count++];
  }
  return sum / static_cast<double>(count);
}

}  // namespace

HeatCurve heat_curve(std::span<const double> time_s, std::span<const double> heat, double delay_s,
                     std::size_t most_rows) {
  const std::vector<double> filled = without_gaps(heat);
  HeatCurve curve;
  curve.range = inner_range(filled);
  if (curve.range == 0) {  // exactly constant, but for the first reading: switched on there
    curve.range = std::abs(filled.back() - filled.front());
  }
  curve.before = level_at_the_start(filled, curve.range);
  if (time_s.size() == 1) {
    curve.first = {0, 1};
  } else {
    Widening widening{.part = time_s.size() > most_rows ? 0.1 : 0.0, .change = 0.1};
    curve.first = cut(time_s, filled, curve.range, widening, curve.widest_fast_s);
    while (time_s.size() > most_rows && curve.first.size() > most_rows && widening.change < 1) {
      widening = {.part = widening.part * 1.3, .change = widening.change * 1.1};
      curve.first = cut(time_s, filled, curve.range, widening, curve.widest_fast_s);
    }
  }
  ShiftedHeat shifted(time_s, filled, delay_s);
  std::vector<HeatSpan> pieces;
  curve.spans.push_back({.step_s = 0, .heat = curve.before});
  curve.time_s.push_back(0);
  for (std::size_t row = 1; row + 1 < curve.first.size(); ++row) {
    const std::size_t begin = curve.first[row];
    const std::size_t end = curve.first[row + 1];
    pieces.clear();
    double time_sum = 0;
    for (std::size_t at = begin; at < end; ++at) {
      shifted.add(time_s[at - 1], time_s[at], pieces);
      time_sum += time_s[at] - time_s[0];
    }
    curve.time_s.push_back(time_sum / static_cast<double>(end - begin));
    if (end - begin == 1) {
      curve.spans.insert(curve.spans.end(), pieces.begin(), pieces.end());
      continue;
    }
    const double width_s = time_s[end - 1] - time_s[begin - 1];
    double energy = 0;
    for (const HeatSpan& piece : pieces) {
      energy += piece.heat * piece.step_s;
    }
    curve.spans.push_back({.step_s = width_s / static_cast<double>(end - begin),
                           .count = static_cast<int>(end - begin),
                           .heat = energy / width_s});
  }
  return curve;
}

std::vector<HeatStep> heat_steps(const HeatCurve& curve) {
  std::vector<HeatStep> steps;
  double level = curve.before;
  double level_s = 0;
  double now_s = 0;
  for (const HeatSpan& span : curve.spans) {
    const double length_s = span.step_s * span.count;
    if (std::abs(span.heat - level) > curve.range / 3 && curve.range > 0) {
      // A sample that holds the edge itself is part of the edge: two changes in a row are one.
      if (!steps.empty() && now_s - steps.back().time_s <= 1.5 * length_s) {
        steps.back().change += span.heat - level;
      } else {
        steps.push_back({.time_s = now_s, .change = span.heat - level});
      }
      level = span.heat;
      level_s = length_s;
    } else if (level_s + length_s > 0) {
      level += (span.heat - level) * length_s / (level_s + length_s);
      level_s += length_s;
    }
    now_s += length_s;
  }
  // A dip of one sample is there and back.
  std::erase_if(steps,
                [&](const HeatStep& step) { return std::abs(step.change) <= curve.range / 3; });
  for (std::size_t at = 0; at < steps.size(); ++at) {
    steps[at].length_s = (at + 1 < steps.size() ? steps[at + 1].time_s : now_s) - steps[at].time_s;
  }
  return steps;
}

}  // namespace lab
