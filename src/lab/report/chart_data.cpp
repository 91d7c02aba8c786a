#include "lab/report/chart_data.h"

#include <map>
#include <nlohmann/json.hpp>

#include "lab/report/base64.h"
#include "lab/report/clean_text.h"

namespace lab {

namespace {

using nlohmann::ordered_json;

class Arrays {
 public:
  std::size_t index(std::string base64) {
    const auto [entry, is_new] = known_.try_emplace(std::move(base64), known_.size());
    if (is_new) {
      texts_.push_back(&entry->first);
    }
    return entry->second;
  }

  ordered_json json() const {
    ordered_json all = ordered_json::array();
    for (const std::string* text : texts_) {
      all.push_back(*text);
    }
    return all;
  }

 private:
  std::map<std::string, std::size_t> known_;
  std::vector<const std::string*> texts_;
};

const char* style_name(Series::Style style) {
  switch (style) {
    case Series::Style::line:
      return "line";
    case Series::Style::points:
      return "points";
    case Series::Style::steps:
      return "steps";
  }
  return "";
}

ordered_json series_json(const Series& series, Arrays& arrays) {
  ordered_json json{{"style", style_name(series.style)},
                    {"x", arrays.index(base64_doubles(series.x))},
                    {"y", arrays.index(base64_floats(series.y))}};
  if (!series.low.empty() && series.low.size() == series.high.size()) {
    json["low"] = arrays.index(base64_floats(series.low));
    json["high"] = arrays.index(base64_floats(series.high));
  }
  return json;
}

/// A "<" could end the script element that the text stands in.
std::string without_angle(const std::string& json) {
  std::string safe;
  for (const char c : json) {
    if (c == '<') {
      safe += "\\u003c";
    } else {
      safe += c;
    }
  }
  return safe;
}

}  // namespace

std::string chart_data(const std::vector<Figure>& figures) {
  Arrays arrays;
  ordered_json all = ordered_json::array();
  for (const Figure& figure : figures) {
    ordered_json series = ordered_json::array();
    for (const Series& each : figure.chart.series) {
      series.push_back(series_json(each, arrays));
    }
    ordered_json phases = ordered_json::array();
    for (const NamedStretch& phase : figure.phases) {
      phases.push_back(
          {{"begin", phase.begin}, {"end", phase.end}, {"name", clean_text(phase.name)}});
    }
    ordered_json names = ordered_json::array();
    for (const std::string& name : figure.chart.x_names) {
      names.push_back(clean_text(name));
    }
    all.push_back({{"timed", figure.over_time},
                   {"xLog", figure.chart.x_scale == Chart::Scale::logarithmic},
                   {"xNames", std::move(names)},
                   {"yLog", figure.chart.y_scale == Chart::Scale::logarithmic},
                   {"unit", clean_text(figure.unit)},
                   {"phases", std::move(phases)},
                   {"series", std::move(series)}});
  }
  return without_angle(ordered_json{{"arrays", arrays.json()}, {"figures", std::move(all)}}.dump());
}

}  // namespace lab
