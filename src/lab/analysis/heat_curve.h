#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace lab {

/// A stretch of constant heat. Temperatures are looked at `count` times in it, at even distances,
/// the last time at its end.
struct HeatSpan {
  double step_s = 0;  ///< from one look to the next; the span takes count * step_s
  int count = 1;
  double heat = 0;       ///< mean over the span
  bool observed = true;  ///< false: ends between two samples, where only the heat changes
};

/// The heat of a record, cut into rows. A row is a sample, or in a long record the mean of samples
/// between which nothing happens fast.
struct HeatCurve {
  double before = 0;               ///< the heat at which the record begins
  double range = 0;                ///< from about the least heat to about the most
  std::vector<HeatSpan> spans;     ///< the observed ones are the rows, in their order
  std::vector<double> time_s;      ///< of each row, from the first sample on: mean of its samples
  std::vector<std::size_t> first;  ///< sample with which each row begins; one more at the end
  double widest_fast_s = 0;        ///< length of the row right after a change of heat, at most

  std::size_t rows() const { return time_s.size(); }
};

/// The heat curve of readings that are means since the sample before, `delay_s` late. Readings that
/// are missing (NaN) are taken to be those of the next one that is there. At most `most_rows` rows,
/// unless the heat changes more often. Requires: time_s ascends, as long as heat, not empty, a
/// finite heat.
HeatCurve heat_curve(std::span<const double> time_s, std::span<const double> heat, double delay_s,
                     std::size_t most_rows);

/// A lasting change of heat from one level to another.
struct HeatStep {
  double time_s = 0;    ///< from the first sample on
  double change = 0;    ///< level behind it less the level before it
  double length_s = 0;  ///< until the next one, or to the end
};

/// The changes of heat by more than a third of its range, in their order.
std::vector<HeatStep> heat_steps(const HeatCurve& curve);

}  // namespace lab
