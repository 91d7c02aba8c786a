#include "lab/live/sparkline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <string_view>

namespace lab {

namespace {

constexpr double kWindowS = 180;  ///< the last minutes that are worth a look during a run

/// Enough for a mean that the eye takes for exact.
constexpr std::size_t kRowsOfCell = 32;

constexpr int kSteps = 8;
using Steps = std::array<std::string_view, kSteps>;
constexpr Steps kRising = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr Steps kRisingAscii = {"_", ".", "-", "=", "+", "*", "%", "#"};
constexpr Steps kFilling = {" ", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};

}  // namespace

double cell_span_s(double elapsed_s, double sample_interval_s, int cells) {
  constexpr double kSpans[] = {0.5, 1, 2, 5, 10, 20, 30, 60, 120, 300, 600, 1200, 1800, 3600};
  // A cell that is a little longer than the interval has a sample in spite of jitter. The factor
  // keeps the usual intervals away from the spans, where an interval that varies would pick now one
  // and now the next.
  constexpr double kIntervals = 1.4;
  const double wanted =
      std::max(std::min(elapsed_s, kWindowS) / std::max(1, cells), kIntervals * sample_interval_s);
  const double* span = std::lower_bound(std::begin(kSpans), std::end(kSpans), wanted);
  return span == std::end(kSpans) ? wanted : *span;
}

std::vector<double> cell_means(const std::vector<double>& time_s, const std::vector<double>& values,
                               double span_s, int cells) {
  const auto count = static_cast<std::size_t>(std::max(0, cells));
  std::vector<double> means(count, std::numeric_limits<double>::quiet_NaN());
  if (time_s.empty() || count == 0) {
    return means;
  }
  const double first_cell = std::floor(time_s.back() / span_s) - cells + 1;
  const auto begin = static_cast<std::size_t>(
      std::lower_bound(time_s.begin(), time_s.end(), first_cell * span_s) - time_s.begin());
  const std::size_t stride =
      std::max<std::size_t>(1, (time_s.size() - begin) / (count * kRowsOfCell));
  // The same rows are read in each frame, or a cell would change with the beginning of the window.
  std::vector<double> sums(count, 0);
  std::vector<int> measured(count, 0);
  for (std::size_t row = (begin + stride - 1) / stride * stride; row < time_s.size();
       row += stride) {
    const double place = std::floor(time_s[row] / span_s) - first_cell;
    if (!std::isnan(values[row]) && place >= 0 && place < cells) {
      sums[static_cast<std::size_t>(place)] += values[row];
      ++measured[static_cast<std::size_t>(place)];
    }
  }
  for (std::size_t cell = 0; cell < count; ++cell) {
    if (measured[cell] > 0) {
      means[cell] = sums[cell] / measured[cell];
    }
  }
  return means;
}

std::string sparkline(const std::vector<double>& values, Extent extent, double least_height,
                      Look look) {
  const double height = std::max(extent.most - extent.least, least_height);
  const double bottom = (extent.least + extent.most - height) / 2;
  // Rounding does not decide between two steps, or a value that stays would waver.
  constexpr double kRounding = 1e-6;
  std::string line;
  for (const double value : values) {
    const double step = std::floor((value - bottom) / height * kSteps + kRounding);
    if (!std::isfinite(step)) {
      line += ' ';
      continue;
    }
    const auto at = static_cast<std::size_t>(std::clamp(step, 0.0, kSteps - 1.0));
    line += look.utf8 ? kRising[at] : kRisingAscii[at];
  }
  return line;
}

std::string bar(double fraction, int columns, Look look) {
  const int inside = std::max(0, columns - 2);
  const double filled = std::isnan(fraction) ? 0 : std::clamp(fraction, 0.0, 1.0) * inside;
  const int eighths = static_cast<int>(std::lround(filled * kSteps));
  std::string line = look.utf8 ? "▕" : "[";
  for (int column = 0; column < inside; ++column) {
    const int part = std::clamp(eighths - column * kSteps, 0, kSteps);
    if (part == kSteps) {
      line += look.utf8 ? "█" : "#";
    } else if (look.utf8) {
      line += kFilling[static_cast<std::size_t>(part)];
    } else {
      line += part * 2 >= kSteps ? '#' : ' ';
    }
  }
  return line + (look.utf8 ? "▏" : "]");
}

}  // namespace lab
