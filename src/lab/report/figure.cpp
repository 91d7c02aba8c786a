#include "lab/report/figure.h"

#include <algorithm>
#include <iterator>

#include "lab/report/inks.h"
#include "lab/report/sample_figures.h"
#include "lab/report/thinning.h"
#include "lab/report/time_axis.h"

namespace lab {

namespace {

/// Points of one series of an answer, which is a few hundred points as a rule.
constexpr std::size_t kMostOfAnswer = 20000;

std::vector<std::string> keys(const Table& samples) {
  std::vector<std::string> names;
  for (const Column& column : samples.columns) {
    if (column.name != kPhaseColumn && column.name != kAskedColumn &&
        column.name != kDeliveredColumn && column.name != kOthersColumn) {
      names.push_back(column.name);
    }
  }
  return names;
}

/// Gives a chart of an answer the time axis of the samples.
void draw_over_time(const Run& run, Figure& figure) {
  const std::vector<double>& time_s = run.samples.time_s;
  const TimeUnit unit = time_unit(time_s.empty() ? 0 : time_s.back() - time_s.front());
  figure.over_time = true;
  figure.chart.x_label = "time, " + unit.name;
  for (Series& series : figure.chart.series) {
    for (double& x : series.x) {
      x /= unit.seconds;
    }
  }
  figure.phases = phases_in(run.samples, run.plan);
  for (NamedStretch& phase : figure.phases) {
    phase.begin /= unit.seconds;
    phase.end /= unit.seconds;
  }
}

}  // namespace

std::vector<Figure> figures(const Run& run, const Answer& answer, std::size_t most_points) {
  Inks inks(keys(run.samples));
  std::vector<Figure> all;
  for (const Chart& chart : answer.charts) {
    Figure figure;
    figure.chart = chart;
    for (Series& series : figure.chart.series) {
      series = thinned(series, kMostOfAnswer);
    }
    figure.inks = inks.of(chart.series);
    if (chart.over_time) {
      draw_over_time(run, figure);
    }
    all.push_back(std::move(figure));
  }
  std::vector<Figure> samples = sample_figures(run, most_points, inks);
  all.insert(all.end(), std::make_move_iterator(samples.begin()),
             std::make_move_iterator(samples.end()));
  return all;
}

}  // namespace lab
