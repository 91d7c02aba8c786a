#include "waveform_analysis.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace {

constexpr double kTellable = 0.1;  // of a slot: shorter phases are taken for their neighbours
// Others' use that spoils a phase: seconds, and part of the phase. Interrupts are others too.
constexpr double kDisturbance = 100e-6;
constexpr double kDisturbancePart = 0.005;
constexpr double kTogether = 500e-6;  // seconds: holes no further apart are one phase, at most

/// Holes so close together that they are one phase, without those too short to be a phase at all
/// (interrupts, the waveform's own thread).
std::vector<Interval> phases(const std::vector<Interval>& holes, double shortest) {
  const double together = std::min(shortest, kTogether);
  std::vector<Interval> merged;
  for (const Interval& hole : holes) {
    if (!merged.empty() && hole.start - merged.back().end < together) {
      merged.back().end = hole.end;
      merged.back().explained += hole.explained;
    } else {
      merged.push_back(hole);
    }
  }
  std::erase_if(merged, [shortest](const Interval& phase) { return phase.length() < shortest; });
  return merged;
}

/// Which slot, counted from the first phase's, each phase belongs to. Counted from phase to phase,
/// so that a waveform that runs slow does not lose count.
std::vector<std::size_t> slots_of(const std::vector<Interval>& on, double slot) {
  std::vector<std::size_t> index = {0};
  for (std::size_t i = 1; i < on.size(); ++i) {
    const double slots = std::rint((on[i].start - on[i - 1].start) / slot);
    index.push_back(index.back() + static_cast<std::size_t>(std::max(slots, 1.0)));
  }
  return index;
}

bool tellable(const Slot& slot) {
  return std::min(slot.on, slot.off) >= kTellable * slot.length();
}

bool disturbed(const Interval& phase) {
  return std::abs(phase.length() - phase.explained) >=
         std::max(kDisturbance, kDisturbancePart * phase.length());
}

/// A run of consecutive phases, by their numbers: from `begin` up to, not including, `end`.
struct Stretch {
  std::size_t begin;
  std::size_t end;
};

std::vector<double> errors_from(const std::vector<Interval>& on,
                                const std::vector<std::size_t>& index,
                                const std::vector<Slot>& wave, Stretch stretch, std::size_t first) {
  std::vector<double> errors;
  for (std::size_t i = stretch.begin; i < stretch.end; ++i) {
    const Slot& slot = wave[(first + index[i]) % wave.size()];
    if (tellable(slot) && !disturbed(on[i])) {
      errors.push_back(on[i].length() - slot.on);
    }
  }
  return errors;
}

double mean_absolute(const std::vector<double>& values) {
  double sum = 0.0;
  for (const double value : values) {
    sum += std::abs(value);
  }
  return values.empty() ? std::numeric_limits<double>::max()
                        : sum / static_cast<double>(values.size());
}

/// The errors of a stretch, with the wave's beginning laid where it fits best.
std::vector<double> best_errors(const std::vector<Interval>& on,
                                const std::vector<std::size_t>& index,
                                const std::vector<Slot>& wave, Stretch stretch) {
  std::vector<double> best;
  for (std::size_t first = 0; first < wave.size(); ++first) {
    std::vector<double> errors = errors_from(on, index, wave, stretch, first);
    if (best.empty() || (!errors.empty() && mean_absolute(errors) < mean_absolute(best))) {
      best = std::move(errors);
    }
  }
  return best;
}

/// All errors. Fitted anew every few phases: others who run between two of them make the count of
/// slots miss one, and all after it would be compared with their neighbours.
std::vector<double> all_errors(const std::vector<Interval>& on,
                               const std::vector<std::size_t>& index,
                               const std::vector<Slot>& wave) {
  constexpr std::size_t kStretch = 20;
  std::vector<double> all;
  const std::size_t end = on.size() - 1;  // the first and last may be cut off
  for (std::size_t begin = 1; begin < end; begin += kStretch) {
    const Stretch stretch{begin, std::min(begin + kStretch, end)};
    const std::vector<double> errors = best_errors(on, index, wave, stretch);
    all.insert(all.end(), errors.begin(), errors.end());
  }
  return all;
}

/// The part of `window` that lies in holes.
double used(const std::vector<Interval>& holes, Interval window) {
  double sum = 0.0;
  auto hole = std::lower_bound(holes.begin(), holes.end(), window.start,
                               [](const Interval& h, double t) { return h.end <= t; });
  for (; hole != holes.end() && hole->start < window.end; ++hole) {
    sum += std::min(hole->end, window.end) - std::max(hole->start, window.start);
  }
  return sum;
}

}  // namespace

Measured analyse(const std::vector<Interval>& holes, const std::vector<Slot>& wave) {
  Measured measured{};
  const double slot = wave.front().length();
  const std::vector<Interval> on = phases(holes, kTellable * slot * 0.5);
  if (on.size() < 3) {
    return measured;
  }
  double on_time = 0.0;
  double on_used = 0.0;
  double off_time = 0.0;
  double off_used = 0.0;
  for (std::size_t i = 1; i + 1 < on.size(); ++i) {
    const Interval off{on[i].end, on[i + 1].start, 0.0};
    on_time += on[i].length();
    on_used += used(holes, on[i]);
    off_time += off.length();
    off_used += used(holes, off);
  }
  const std::vector<std::size_t> index = slots_of(on, slot);
  const double found = on.back().start - on.front().start;
  measured.duty = on_time / (on_time + off_time);
  measured.frequency_error = static_cast<double>(index.back()) * slot / found - 1.0;
  measured.on_errors = all_errors(on, index, wave);
  measured.disturbed = static_cast<double>(std::count_if(on.begin(), on.end(), disturbed)) /
                       static_cast<double>(on.size());
  measured.on_load = on_used / on_time;
  measured.off_load = off_used / off_time;
  return measured;
}

double percentile_of_absolute(std::vector<double> values, double part) {
  if (values.empty()) {
    return 0.0;
  }
  for (double& value : values) {
    value = std::abs(value);
  }
  std::sort(values.begin(), values.end());
  const auto rank = static_cast<std::size_t>(std::ceil(part * static_cast<double>(values.size())));
  return values[std::clamp<std::size_t>(rank, 1, values.size()) - 1];
}
