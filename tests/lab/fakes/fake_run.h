#pragma once

#include <limits>
#include <string>
#include <vector>

#include "lab/live/frame.h"

namespace lab {

// A run of a test, and what the tests of the view share.

inline constexpr Look kBare{.utf8 = true, .colour = false};
inline constexpr Look kBareAscii{.utf8 = false, .colour = false};
inline constexpr double kNotMeasured = std::numeric_limits<double>::quiet_NaN();

/// A run that goes on, with a load and some keys, sampled once a second.
struct FakeRun {
  Table samples;
  std::vector<std::string> warnings;
  LiveState state;

  FakeRun() {
    for (const auto name : {kPhaseColumn, kAskedColumn, kDeliveredColumn, kOthersColumn}) {
      samples.columns.push_back(
          {.name = std::string(name), .unit = "", .source = "", .values = {}});
    }
    state.title = "step on simulated machine";
    state.phase = "load, 2 of 3";
    state.next = "idle for 60 s";
    state.samples = &samples;
    state.warnings = &warnings;
    state.left_s = 100;
  }
  FakeRun(const FakeRun&) = delete;
  FakeRun& operator=(const FakeRun&) = delete;

  void add_key(std::string name, std::string unit, std::string source = "") {
    samples.columns.push_back({.name = std::move(name),
                               .unit = std::move(unit),
                               .source = std::move(source),
                               .values = {}});
  }

  /// A sample of a full load, and of the keys.
  void sample(const std::vector<double>& keys) {
    const auto second = static_cast<double>(samples.time_s.size());
    std::vector<double> row = {1, 1, 0.9, 0.02};
    row.insert(row.end(), keys.begin(), keys.end());
    samples.time_s.push_back(second);
    for (std::size_t column = 0; column < samples.columns.size(); ++column) {
      samples.columns[column].values.push_back(row[column]);
    }
    state.elapsed_s = second;
  }

  std::vector<std::string> frame(Size size, Look look = kBare) const {
    Extremes extremes;
    extremes.take(samples);
    return compose(state, extremes, size, look);
  }
};

}  // namespace lab
