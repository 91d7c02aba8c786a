#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "lab/data/estimate.h"

namespace lab {

/// Rows of texts and estimates under a head, as a report and a terminal show them.
struct ResultTable {
  using Cell = std::variant<std::string, Estimate>;
  std::string title;
  std::vector<std::string> head;
  std::vector<std::vector<Cell>> rows;  ///< each as long as the head
};

/// A curve of a chart.
struct Series {
  enum class Style { line, points, steps };
  std::string name;
  Style style = Style::line;
  std::vector<double> x;
  std::vector<double> y;    ///< NaN: a gap
  std::vector<double> low;  ///< a band around y, of points a bar; or empty
  std::vector<double> high;
};

/// A picture that belongs to an answer, beside those of the samples over time.
struct Chart {
  enum class Scale { linear, logarithmic };
  std::string title;
  std::string x_label;  ///< with its unit
  std::string y_label;
  Scale x_scale = Scale::linear;
  Scale y_scale = Scale::linear;
  /// What stands at x = 0, 1, ... instead of numbers. Written so that charts need not name it.
  std::vector<std::string> x_names = {};  // NOLINT(readability-redundant-member-init)
  bool over_time = false;  ///< x is the run's time in s: zoomed together with the samples
  std::vector<Series> series;
  std::string note;  ///< what to look at, in a sentence; may be empty
};

/// What an analysis found. The same table always gives the same answer.
// NOLINTNEXTLINE(bugprone-exception-escape): json that is null allocates nothing
struct Answer {
  bool decided = true;                 ///< whether the data could answer the question
  std::vector<std::string> sentences;  ///< the answer in words, most important first
  std::vector<ResultTable> tables;
  std::vector<Chart> charts;
  std::vector<std::string> warnings;  ///< what limits the answer: its cause and its remedy
  nlohmann::ordered_json figures;     ///< an object: its members become those of result.json
};

/// The value; null if there is none, or none that is finite.
nlohmann::ordered_json json_number(double value);
nlohmann::ordered_json json_number(const std::optional<double>& value);

/// {"value", "low", "high", "unit"}; an infinite bound is null.
nlohmann::ordered_json to_json(const Estimate& estimate);

}  // namespace lab
