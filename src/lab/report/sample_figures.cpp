#include "lab/report/sample_figures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string_view>

#include "lab/report/number_text.h"
#include "lab/report/thinning.h"
#include "lab/report/time_axis.h"

namespace lab {

namespace {

/// What is drawn together.
struct Kind {
  std::string title;
  std::string quantity;
  std::string unit;   ///< of the columns
  std::string drawn;  ///< of the axis
  double factor = 1;
  std::vector<const Column*> columns;
};

bool is_share(const Column& column) {
  return column.name == kAskedColumn || column.name == kDeliveredColumn ||
         column.name == kOthersColumn;
}

Kind kind_of(const std::string& unit) {
  struct Known {
    const char* unit;
    const char* title;
    const char* quantity;
  };
  static constexpr std::array<Known, 6> kKnown{{
      {"degC", "Temperatures", "temperature"},
      {"W", "Power", "power"},
      {"RPM", "Fans", "speed"},
      {"V", "Voltages", "voltage"},
      {"A", "Currents", "current"},
      {"Hz", "Frequencies", "frequency"},
  }};
  for (const Known& known : kKnown) {
    if (unit == known.unit) {
      return {.title = known.title,
              .quantity = known.quantity,
              .unit = unit,
              .drawn = unit_text(unit),
              .columns = {}};
    }
  }
  return {.title = "In " + unit, .quantity = "value", .unit = unit, .drawn = unit, .columns = {}};
}

/// Temperatures, power, load and fans first. A column without a unit has a chart of its own.
std::vector<Kind> kinds(const Table& samples) {
  Kind load{.title = "Load",
            .quantity = "processor time",
            .unit = {},
            .drawn = "%",
            .factor = 100,
            .columns = {}};
  std::vector<Kind> by_unit{kind_of("degC"), kind_of("W"), load, kind_of("RPM")};
  constexpr std::size_t kLoad = 2;
  for (const Column& column : samples.columns) {
    if (column.name == kPhaseColumn) {
      continue;
    }
    if (is_share(column)) {
      // What was asked lies dashed above what was delivered, so that both are seen.
      std::vector<const Column*>& shares = by_unit[kLoad].columns;
      shares.insert(column.name == kAskedColumn ? shares.end() : shares.begin(), &column);
      continue;
    }
    auto kind = column.unit.empty()
                    ? by_unit.end()
                    : std::find_if(by_unit.begin(), by_unit.end(),
                                   [&](const Kind& each) { return each.unit == column.unit; });
    if (kind == by_unit.end()) {
      by_unit.push_back(column.unit.empty() ? Kind{.title = column.name,
                                                   .quantity = "value",
                                                   .unit = {},
                                                   .drawn = {},
                                                   .columns = {}}
                                            : kind_of(column.unit));
      kind = std::prev(by_unit.end());
    }
    kind->columns.push_back(&column);
  }
  return by_unit;
}

bool has_values(const Column& column) {
  return std::any_of(column.values.begin(), column.values.end(),
                     [](double value) { return !std::isnan(value); });
}

std::string series_name(const Column& column) {
  if (column.name == kOthersColumn) {
    return "others (not of this run)";
  }
  return column.source.empty() || is_share(column) ? column.name
                                                   : column.name + ", " + column.source;
}

/// The time axis that all of them share.
struct Times {
  TimeUnit unit;
  std::vector<std::size_t> gaps;
  Thinning thinning;
  std::vector<double> x;
  std::vector<NamedStretch> phases;
};

Times times(const Run& run, std::size_t most_points) {
  const std::vector<double>& time_s = run.samples.time_s;
  const TimeUnit unit = time_unit(time_s.empty() ? 0 : time_s.back() - time_s.front());
  const std::vector<std::size_t> after = gaps(time_s);
  // The nothing that stands in a gap is a bucket of its own, or it would be lost among values.
  std::vector<std::size_t> breaks;
  for (std::size_t i = 0; i < after.size(); ++i) {
    breaks.push_back(after[i] + i);
    breaks.push_back(after[i] + i + 1);
  }
  Times times{.unit = unit,
              .gaps = after,
              .thinning = Thinning(time_s.size() + after.size(), most_points, breaks),
              .x = {},
              .phases = phases_in(run.samples, run.plan)};
  times.x = times.thinning.positions(with_instants(time_s, after));
  for (double& x : times.x) {
    x /= unit.seconds;
  }
  for (NamedStretch& phase : times.phases) {
    phase.begin /= unit.seconds;
    phase.end /= unit.seconds;
  }
  return times;
}

Series series_of(const Column& column, const Kind& kind, const Times& times) {
  Series series{.name = series_name(column),
                .style = column.name == kAskedColumn ? Series::Style::steps : Series::Style::line,
                .x = times.x,
                .y = times.thinning.values(with_nothing(column.values, times.gaps)),
                .low = {},
                .high = {}};
  for (double& y : series.y) {
    y *= kind.factor;
  }
  return series;
}

}  // namespace

std::vector<Figure> sample_figures(const Run& run, std::size_t most_points, Inks& inks) {
  const Times shared = times(run, most_points);
  std::vector<Figure> figures;
  for (const Kind& kind : kinds(run.samples)) {
    Figure figure;
    figure.chart.title = kind.title + " over time";
    figure.chart.x_label = "time, " + shared.unit.name;
    figure.chart.y_label = kind.drawn.empty() ? kind.quantity : kind.quantity + ", " + kind.drawn;
    for (const Column* column : kind.columns) {
      if (has_values(*column)) {
        figure.chart.series.push_back(series_of(*column, kind, shared));
      }
    }
    if (figure.chart.series.empty()) {
      continue;
    }
    figure.inks = inks.of(figure.chart.series);
    figure.unit = kind.drawn;
    figure.over_time = true;
    figure.of_samples = true;
    figure.phases = shared.phases;
    figure.samples_in_a_pair = shared.thinning.rows_in_a_bucket();
    figures.push_back(std::move(figure));
  }
  return figures;
}

}  // namespace lab
