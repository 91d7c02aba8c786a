#include "lab/analysis/replay.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "lab/analysis/spoken_number.h"

// Everything is compared as means over whole seconds: within one, the carrier and the instants of
// the samples would show, and nothing of the utilisation.

namespace lab {

namespace {

/// Means over whole seconds; NaN where nothing was measured.
std::vector<double> seconds_of(const Table& samples, const Column* column) {
  std::vector<double> sums;
  std::vector<double> counts;
  for (std::size_t row = 0; column != nullptr && row < samples.time_s.size(); ++row) {
    const auto second =
        static_cast<std::size_t>(std::max(0.0, samples.time_s[row] - samples.time_s.front()));
    if (second >= sums.size()) {
      sums.resize(second + 1, 0);
      counts.resize(second + 1, 0);
    }
    if (std::isfinite(column->values[row])) {
      sums[second] += column->values[row];
      counts[second] += 1;
    }
  }
  for (std::size_t second = 0; second < sums.size(); ++second) {
    sums[second] = counts[second] > 0 ? sums[second] / counts[second]
                                      : std::numeric_limits<double>::quiet_NaN();
  }
  return sums;
}

/// The correlation of `response` with what `cause` was `lag` seconds before; NaN if one stood
/// still. Source: the sample correlation coefficient (Pearson's).
double correlation(const std::vector<double>& cause, const std::vector<double>& response,
                   std::size_t lag) {
  double count = 0;
  double sum_x = 0;
  double sum_y = 0;
  double xx = 0;
  double yy = 0;
  double xy = 0;
  for (std::size_t at = lag; at < std::min(response.size(), cause.size() + lag); ++at) {
    const double x = cause[at - lag];
    const double y = response[at];
    if (std::isfinite(x) && std::isfinite(y)) {
      count += 1;
      sum_x += x;
      sum_y += y;
      xx += x * x;
      yy += y * y;
      xy += x * y;
    }
  }
  const double spread = (count * xx - sum_x * sum_x) * (count * yy - sum_y * sum_y);
  return count > 2 && spread > 1e-12 * (count * xx) * (count * yy)
             ? (count * xy - sum_x * sum_y) / std::sqrt(spread)
             : std::numeric_limits<double>::quiet_NaN();
}

struct Follows {
  double correlation = std::numeric_limits<double>::quiet_NaN();
  std::size_t lag_s = 0;
};

/// The lag, up to a minute and a third of the run, at which the response goes best with the load.
Follows follows(const std::vector<double>& load, const std::vector<double>& response) {
  constexpr std::size_t kLongest = 60;
  Follows best;
  for (std::size_t lag = 0; lag <= std::min(kLongest, response.size() / 3); ++lag) {
    const double found = correlation(load, response, lag);
    if (std::isfinite(found) &&
        !(std::abs(found) <= std::abs(best.correlation))) {  // the first one beats NaN
      best = {.correlation = found, .lag_s = lag};
    }
  }
  return best;
}

struct Difference {
  double asked = 0;
  double delivered = 0;
  double rms = 0;
  double most = 0;
  double seconds = 0;
};

Difference difference_of(const std::vector<double>& asked, const std::vector<double>& delivered) {
  Difference found;
  for (std::size_t at = 0; at < std::min(asked.size(), delivered.size()); ++at) {
    if (std::isfinite(asked[at]) && std::isfinite(delivered[at])) {
      const double off = delivered[at] - asked[at];
      found.asked += asked[at];
      found.delivered += delivered[at];
      found.rms += off * off;
      found.most = std::max(found.most, std::abs(off));
      found.seconds += 1;
    }
  }
  if (found.seconds > 0) {
    found.asked /= found.seconds;
    found.delivered /= found.seconds;
    found.rms = std::sqrt(found.rms / found.seconds);
  }
  return found;
}

Series series_of(const char* name, const std::vector<double>& seconds) {
  Series series{
      .name = name, .style = Series::Style::steps, .x = {}, .y = {}, .low = {}, .high = {}};
  for (std::size_t second = 0; second < seconds.size(); ++second) {
    series.x.push_back(static_cast<double>(second));
    series.y.push_back(100 * seconds[second]);
  }
  return series;
}

std::string percent(double part) {
  return spoken_number(100 * part, 3) + " %";
}

/// How powers and temperatures follow the load.
void tell_responses(const Table& samples, const std::vector<double>& load, Answer& answer) {
  ResultTable table{.title = "Responses to the load",
                    .head = {"Key", "Correlation", "Best at a lag of"},
                    .rows = {}};
  nlohmann::ordered_json& figures = answer.figures["replay"]["responses"];
  figures = nlohmann::ordered_json::object();
  for (const Column& column : samples.columns) {
    if (column.unit != "W" && column.unit != "degC") {
      continue;
    }
    const Follows found = follows(load, seconds_of(samples, &column));
    if (!std::isfinite(found.correlation)) {
      figures[column.name] = {{"correlation", nullptr}, {"lag", nullptr}};
      continue;
    }
    figures[column.name] = {{"correlation", found.correlation}, {"lag", found.lag_s}};
    table.rows.push_back(
        {column.name, spoken_number(found.correlation, 3), std::to_string(found.lag_s) + " s"});
  }
  if (!table.rows.empty()) {
    answer.tables.insert(answer.tables.begin(), std::move(table));
  }
}

}  // namespace

void tell_replay(const Table& samples, Answer& answer) {
  const std::vector<double> asked = seconds_of(samples, samples.find(kAskedColumn));
  const std::vector<double> delivered = seconds_of(samples, samples.find(kDeliveredColumn));
  const Difference difference = difference_of(asked, delivered);
  answer.figures["replay"] = {{"seconds", difference.seconds},
                              {"asked", difference.asked},
                              {"delivered", difference.delivered},
                              {"difference_rms", difference.rms},
                              {"difference_most", difference.most}};
  if (difference.seconds < 1) {
    answer.decided = false;
    answer.sentences.insert(answer.sentences.begin(), "Nothing of the utilisation was played.");
    return;
  }
  answer.sentences.insert(
      answer.sentences.begin(),
      "Of the utilisation, " + percent(difference.delivered) + " on average was delivered, and " +
          percent(difference.asked) + " asked for; second by second they differ by " +
          percent(difference.rms) + " (rms), at most " + percent(difference.most) + ".");
  constexpr double kBad = 0.05;
  if (difference.rms > kBad) {
    answer.warnings.push_back(
        "The load did not follow the utilisation: " + percent(difference.rms) +
        " of difference (rms over seconds). Leave the processors to the run.");
  }
  tell_responses(samples, delivered, answer);
  answer.charts.push_back({.title = "Utilisation, asked for and delivered",
                           .x_label = "time, s",
                           .y_label = "% of all processors",
                           .series = {series_of("asked", asked), series_of("delivered", delivered)},
                           .note = "Means over whole seconds."});
}

}  // namespace lab
