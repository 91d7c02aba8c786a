#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "lab/data/answer.h"
#include "lab/folder/run.h"

namespace lab {

/// How a curve is told from others: one of kColours colours, and of dash patterns (0: none) where
/// colours do not suffice. A key has the same ink in all charts.
struct Ink {
  static constexpr int kColours = 8;
  static constexpr int kDashes = 4;
  int colour = 0;
  int dash = 0;
};

/// A stretch of the time axis that has a name.
struct NamedStretch {
  double begin = 0;
  double end = 0;
  std::string name;
};

/// A chart and what belongs to its drawing, for the report and for picture files.
struct Figure {
  Chart chart;
  std::vector<Ink> inks;             ///< one for each series
  std::string unit;                  ///< of the values, if they have one in common
  bool over_time = false;            ///< x is the run's time: all of these are zoomed together
  bool of_samples = false;           ///< it shows samples, not an answer
  std::vector<NamedStretch> phases;  ///< of the run, where x is its time
  double samples_in_a_pair = 1;      ///< samples that two points stand for; 1: each is drawn
};

/// The charts of an answer, then those of the samples over time. Time is in seconds, minutes or
/// hours, shares in percent. Each series of the samples has at most about `most_points` points.
std::vector<Figure> figures(const Run& run, const Answer& answer, std::size_t most_points);

}  // namespace lab
