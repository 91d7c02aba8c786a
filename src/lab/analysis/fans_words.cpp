#include "lab/analysis/fans_words.h"

#include <algorithm>
#include <cmath>

#include "lab/analysis/spoken_number.h"

namespace lab {

namespace {

void add_curves(const FanResult& result, const FanStayed& stayed, const char* way, Chart& chart) {
  Series measured{.name = result.speed + " " + way,
                  .style = Series::Style::points,
                  .x = stayed.shown.since_s,
                  .y = stayed.shown.speeds_rpm,
                  .low = {},
                  .high = {}};
  Series fitted{
      .name = result.speed + " " + way + " fitted", .x = {}, .y = {}, .low = {}, .high = {}};
  const double tau_s = stayed.step.time_constant.value;
  const double to_rpm = stayed.step.to_rpm.value;
  for (const double since_s : stayed.shown.since_s) {
    const double begun_s = since_s - stayed.step.dead_time.value;
    if (begun_s >= 0) {
      fitted.x.push_back(since_s);
      fitted.y.push_back(to_rpm + (stayed.step.from_rpm - to_rpm) * std::exp(-begun_s / tau_s));
    }
  }
  chart.series.push_back(fitted);
  chart.series.push_back(measured);
}

}  // namespace

bool held_too_briefly(const FanResult& result) {
  return result.moved && std::none_of(result.stays.begin(), result.stays.end(),
                                      [](const FanStayed& stayed) { return stayed.arrived; });
}

std::string fan_sentence(const FanResult& result) {
  std::string text = result.fan + ":";
  const auto way = [&](const char* name, const FanStayed& stayed) {
    text += std::string(" it goes ") + name + " with a time constant of " +
            spoken_value(stayed.step.time_constant) + " s";
    if (stayed.step.dead_time.low > 0) {
      text += ", " + spoken_value(stayed.step.dead_time) + " s late";
    }
    text += ";";
  };
  if (result.down) {
    way("down", *result.down);
  }
  if (result.up) {
    way("up", *result.up);
  }
  if (!result.down && !result.up) {
    text += " no step of it was seen;";
  }
  if (result.least_steady) {
    const bool slower_unseen =
        std::any_of(result.stays.begin(), result.stays.end(), [&](const FanStayed& stayed) {
          return !stayed.arrived && stayed.asked_rpm && *stayed.asked_rpm > 0 &&
                 *stayed.asked_rpm < result.least_steady->low;
        });
    text += std::string(result.steady_at_least || slower_unseen ? " it is steady down to "
                                                                : " it is not steady below ") +
            spoken_value(*result.least_steady) + " RPM" +
            (result.steady_at_least ? ", the least that it was asked for"
             : slower_unseen        ? ", and had no time to come to less"
                                    : "") +
            ";";
  }
  if (result.stop) {
    text += result.stop->stands_still ? " told to stop, it stands still from " +
                                            spoken_value(result.stop->speed_rpm) + " RPM on;"
            : result.stop->slowing ? std::string(" told to stop, it was still getting slower;")
                                   : std::string(" told to stop, it turns on;");
  }
  if (result.start_asked_rpm) {
    text += result.start ? " from standstill it turns after " + spoken_value(*result.start) + " s;"
                         : std::string(" from standstill it does not begin to turn;");
  }
  text.back() = '.';
  return text;
}

std::vector<ResultTable> fans_tables(const std::vector<FanResult>& results) {
  ResultTable steps{
      .title = "Steps", .head = {"Fan", "From", "To", "Time constant", "Dead time"}, .rows = {}};
  ResultTable slow{.title = "Slow fans",
                   .head = {"Fan", "Least steady speed", "Stands still from", "Turns after"},
                   .rows = {}};
  for (const FanResult& result : results) {
    for (const auto* stayed : {&result.down, &result.up}) {
      if (*stayed) {
        const FanStep& step = (*stayed)->step;
        steps.rows.push_back({result.fan, spoken_number(step.from_rpm, 4) + " RPM", step.to_rpm,
                              step.time_constant, step.dead_time});
      }
    }
    std::vector<ResultTable::Cell> row{result.fan};
    const auto add = [&](const std::optional<Estimate>& estimate) {
      if (estimate) {
        row.emplace_back(*estimate);
      } else {
        row.emplace_back("");
      }
    };
    add(result.least_steady);
    add(result.stop && result.stop->stands_still ? std::optional(result.stop->speed_rpm)
                                                 : std::nullopt);
    add(result.start);
    slow.rows.push_back(row);
  }
  return {steps, slow};
}

Chart fans_chart(const std::vector<FanResult>& results) {
  Chart steps{.title = "Steps",
              .x_label = "time after the speed was asked for, s",
              .y_label = "RPM",
              .series = {},
              .note = "Points are measured, lines are the exponentials through them."};
  for (const FanResult& result : results) {
    if (result.down) {
      add_curves(result, *result.down, "down", steps);
    }
    if (result.up) {
      add_curves(result, *result.up, "up", steps);
    }
  }
  return steps;
}

std::vector<std::string> judge_fan_result(const FanResult& result) {
  std::vector<std::string> warnings;
  if (!result.down || !result.up) {
    warnings.push_back(result.fan +
                       (held_too_briefly(result)
                            ? ": no speed was held for as long as it takes to come there. Hold "
                              "each longer with --hold."
                            : ": a step was not seen whole: the fan did not follow, or its speed "
                              "is read too seldom. Hold each speed longer with --hold."));
  }
  if (!result.least_steady && !held_too_briefly(result)) {
    warnings.push_back(result.fan + ": at no speed was it steady.");
  }
  return warnings;
}

}  // namespace lab
