#pragma once

#include <string>
#include <vector>

#include "lab/data/answer.h"

namespace lab {

/// An axis of a drawn chart: what it spans, and where numbers stand at it.
class Axis {
 public:
  /// Spans the values that the scale can show, and some space beyond them if asked for. An axis
  /// without such values spans 0 to 1, or 1 to 10.
  enum class Margin { none, some };
  Axis(Chart::Scale scale, Margin margin, const std::vector<double>& values);

  /// 0 at the low end of the axis, 1 at the high one; not finite for what the scale cannot show.
  double place(double value) const;

  struct Tick {
    double value;
    std::string text;  ///< empty: a line without a number
  };
  /// About `most` numbers, at multiples of 1, 2 or 5 times a power of ten; at powers of ten, or
  /// parts of them, on a logarithmic axis.
  std::vector<Tick> ticks(int most) const;

 private:
  std::vector<Tick> linear_ticks(double low, double high, int most) const;
  std::vector<Tick> decade_ticks(int most) const;

  bool logarithmic_;
  double low_ = 0;  ///< of the value, or of its logarithm
  double high_ = 1;
};

}  // namespace lab
