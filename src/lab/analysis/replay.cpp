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

/// The seconds of a column, from the first sample on.
struct Seconds {
  std::vector<double> means;  ///< NaN where nothing was measured
  std::vector<double> rows;   ///< of each that were measured; the last second may be a part of one
};

Seconds seconds_of(const Table& samples, const Column* column) {
  Seconds seconds;
  std::vector<double>& sums = seconds.means;
  std::vector<double>& counts = seconds.rows;
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
  return seconds;
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

/// A second counts by its samples, so that the means are those of the samples and a part of a
/// second is no whole one.
Difference difference_of(const Table& samples, const Seconds& asked, const Seconds& delivered) {
  Difference found;
  double rows = 0;
  for (std::size_t at = 0; at < std::min(asked.means.size(), delivered.means.size()); ++at) {
    if (std::isfinite(asked.means[at]) && std::isfinite(delivered.means[at])) {
      const double weight = delivered.rows[at];
      const double off = delivered.means[at] - asked.means[at];
      found.asked += weight * asked.means[at];
      found.delivered += weight * delivered.means[at];
      found.rms += weight * off * off;
      found.most = std::max(found.most, std::abs(off));
      rows += weight;
    }
  }
  if (rows > 0 && samples.time_s.size() > 1) {
    found.asked /= rows;
    found.delivered /= rows;
    found.rms = std::sqrt(found.rms / rows);
    found.seconds = rows * (samples.time_s.back() - samples.time_s.front()) /
                    static_cast<double>(samples.time_s.size() - 1);
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
    const Follows found = follows(load, seconds_of(samples, &column).means);
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
  const Seconds asked = seconds_of(samples, samples.find(kAskedColumn));
  const Seconds delivered = seconds_of(samples, samples.find(kDeliveredColumn));
  const Difference difference = difference_of(samples, asked, delivered);
  answer.figures["replay"] = {{"seconds", difference.seconds},
                              {"asked", difference.asked},
                              {"delivered", difference.delivered},
                              {"difference_rms", difference.rms},
                              {"difference_most", difference.most}};
  if (!(difference.seconds > 0)) {
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
  tell_responses(samples, delivered.means, answer);
  answer.charts.push_back(
      {.title = "Utilisation, asked for and delivered",
       .x_label = "time, s",
       .y_label = "% of all processors",
       .series = {series_of("asked", asked.means), series_of("delivered", delivered.means)},
       .note = "Means over whole seconds."});
}

}  // namespace lab
