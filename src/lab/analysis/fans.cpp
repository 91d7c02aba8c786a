#include "lab/analysis/fans.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "lab/analysis/fan_step.h"
#include "lab/analysis/spoken_number.h"

namespace lab {

namespace {

using Json = nlohmann::ordered_json;

/// The samples of a stay, with instants from when its speed was asked for.
struct Shown {
  std::vector<double> since_s;
  std::vector<double> speeds_rpm;
  double before_rpm = 0;  // the last speed of the stay before
};

struct Stayed {
  std::optional<double> asked_rpm;
  Shown shown;
  FanStep step;
  SteadySpeed steady;
};

/// What one fan did.
struct FanResult {
  std::string fan;
  std::string speed;
  std::vector<Stayed> stays;
  std::optional<Stayed> down;
  std::optional<Stayed> up;
  std::optional<FanStop> stop;
  std::optional<double> start_asked_rpm;
  std::optional<Estimate> start;
  std::optional<Estimate> least_steady;
  bool steady_at_least = false;  // at the least speed that it was asked for
};

Shown shown_in(const Table& samples, const Column& speed, const FanStay& stay) {
  Shown shown;
  for (std::size_t row = stay.first_row; row < stay.end_row; ++row) {
    if (std::isfinite(speed.values[row])) {
      shown.since_s.push_back(samples.time_s[row] - stay.asked_s);
      shown.speeds_rpm.push_back(speed.values[row]);
    }
  }
  // Half a second before: one that has settled, and more than one sample.
  constexpr double kBefore_s = 0.5;
  double sum = 0;
  double count = 0;
  for (std::size_t row = 0; row < stay.end_row && samples.time_s[row] <= stay.asked_s; ++row) {
    if (samples.time_s[row] > stay.asked_s - kBefore_s && std::isfinite(speed.values[row])) {
      sum += speed.values[row];
      count += 1;
    }
  }
  shown.before_rpm = count > 0 ? sum / count : std::numeric_limits<double>::quiet_NaN();
  return shown;
}

void take_stop_and_start(const Stayed& stayed, bool still_before, FanResult& result) {
  if (stayed.asked_rpm == 0.0) {
    result.stop = fan_stop(stayed.shown.since_s, stayed.shown.speeds_rpm);
  } else if (still_before && !result.start_asked_rpm) {
    result.start_asked_rpm = stayed.asked_rpm.value_or(std::numeric_limits<double>::infinity());
    result.start = fan_start(stayed.shown.since_s, stayed.shown.speeds_rpm);
  }
}

void take_largest(const Stayed& stayed, std::optional<Stayed>& largest) {
  const auto way = [](const Stayed& one) {
    return std::abs(one.step.to_rpm.value - one.step.from_rpm);
  };
  if (!largest || way(stayed) > way(*largest)) {
    largest = stayed;
  }
}

FanResult result_of(const Table& samples, const FanRecord& record) {
  FanResult result;
  result.fan = record.fan;
  result.speed = record.speed;
  const Column* speed = samples.find(record.speed);
  if (speed == nullptr) {
    return result;
  }
  bool still = false;
  double least_asked = std::numeric_limits<double>::infinity();
  for (const FanStay& stay : record.stays) {
    Stayed stayed;
    stayed.asked_rpm = stay.asked_rpm;
    stayed.shown = shown_in(samples, *speed, stay);
    const Shown& shown = stayed.shown;
    const bool to_stop = stay.asked_rpm == 0.0;
    stayed.step = fan_step(shown.since_s, shown.speeds_rpm, shown.before_rpm);
    stayed.steady = steady_speed(shown.since_s, shown.speeds_rpm);
    const FanStep& step = stayed.step;
    constexpr double kClose = 0.02;
    if (step.known && step.to_rpm.high - step.to_rpm.low < kClose * step.to_rpm.value) {
      stayed.steady.rpm = step.to_rpm;  // the mean has not come there yet
    }
    take_stop_and_start(stayed, still, result);
    if (stayed.step.known && !to_stop && !still) {
      take_largest(stayed,
                   stayed.step.to_rpm.value < stayed.step.from_rpm ? result.down : result.up);
    }
    still = to_stop && result.stop->stands_still;
    if (!to_stop) {
      least_asked = std::min(least_asked, stay.asked_rpm.value_or(least_asked));
      if (stayed.steady.steady &&
          (!result.least_steady || stayed.steady.rpm.value < result.least_steady->value)) {
        result.least_steady = stayed.steady.rpm;
        result.steady_at_least = stay.asked_rpm && *stay.asked_rpm <= least_asked;
      }
    }
    result.stays.push_back(std::move(stayed));
  }
  return result;
}

Json step_figures(const std::optional<Stayed>& stayed) {
  if (!stayed) {
    return nullptr;
  }
  return {{"from", stayed->step.from_rpm},
          {"to", to_json(stayed->step.to_rpm)},
          {"time_constant", to_json(stayed->step.time_constant)},
          {"dead_time", to_json(stayed->step.dead_time)}};
}

Json asked_figure(const std::optional<double>& asked_rpm) {
  return asked_rpm && std::isfinite(*asked_rpm) ? Json(*asked_rpm) : Json(nullptr);
}

Json figures_of(const FanResult& result) {
  Json json{{"speed", result.speed},
            {"down", step_figures(result.down)},
            {"up", step_figures(result.up)},
            {"stop", nullptr},
            {"start", nullptr},
            {"least_steady_speed", nullptr},
            {"speeds", Json::array()}};
  if (result.stop) {
    json["stop"] = {{"stands_still", result.stop->stands_still}};
    if (result.stop->stands_still) {
      json["stop"]["speed"] = to_json(result.stop->speed_rpm);
      json["stop"]["after"] = to_json(result.stop->after_s);
    }
  }
  if (result.start_asked_rpm) {
    json["start"] = {{"asked", asked_figure(result.start_asked_rpm)},
                     {"turns", result.start.has_value()}};
    if (result.start) {
      json["start"]["delay"] = to_json(*result.start);
    }
  }
  if (result.least_steady) {
    json["least_steady_speed"] = to_json(*result.least_steady);
  }
  for (const Stayed& stayed : result.stays) {
    json["speeds"].push_back({{"asked", asked_figure(stayed.asked_rpm)},
                              {"speed", to_json(stayed.steady.rpm)},
                              {"steady", stayed.steady.steady}});
  }
  return json;
}

std::string spoken(const Estimate& estimate, const char* unit) {
  return spoken_value(estimate) + " " + unit + " (" + spoken_interval(estimate) + ")";
}

std::string sentence_of(const FanResult& result) {
  std::string text = result.fan + ":";
  const auto way = [&](const char* name, const Stayed& stayed) {
    text += std::string(" it goes ") + name + " with a time constant of " +
            spoken(stayed.step.time_constant, "s") + " after " +
            spoken(stayed.step.dead_time, "s") + ";";
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
    text += std::string(result.steady_at_least ? " it is steady down to "
                                               : " it is not steady below ") +
            spoken_value(*result.least_steady) + " RPM" +
            (result.steady_at_least ? ", the least that it was asked for" : "") + ";";
  }
  if (result.stop) {
    text += result.stop->stands_still ? " told to stop, it stands still from " +
                                            spoken(result.stop->speed_rpm, "RPM") + " on;"
                                      : std::string(" told to stop, it turns on;");
  }
  if (result.start_asked_rpm) {
    text += result.start ? " from standstill it turns after " + spoken(*result.start, "s") + ";"
                         : std::string(" from standstill it does not begin to turn;");
  }
  text.back() = '.';
  return text;
}

ResultTable table_of(const std::vector<FanResult>& results) {
  ResultTable table{
      .title = "Fans",
      .head = {"Fan", "Time constant, down", "Dead time, down", "Time constant, up",
               "Dead time, up", "Least steady speed", "Stands still from", "Turns after"},
      .rows = {}};
  for (const FanResult& result : results) {
    std::vector<ResultTable::Cell> row{result.fan};
    const auto add = [&](const std::optional<Estimate>& estimate) {
      if (estimate) {
        row.emplace_back(*estimate);
      } else {
        row.emplace_back("");
      }
    };
    for (const auto* stayed : {&result.down, &result.up}) {
      add(*stayed ? std::optional((*stayed)->step.time_constant) : std::nullopt);
      add(*stayed ? std::optional((*stayed)->step.dead_time) : std::nullopt);
    }
    add(result.least_steady);
    add(result.stop && result.stop->stands_still ? std::optional(result.stop->speed_rpm)
                                                 : std::nullopt);
    add(result.start);
    table.rows.push_back(row);
  }
  return table;
}

void add_curves(const FanResult& result, const Stayed& stayed, const char* way, Chart& chart) {
  Series measured{.name = result.fan + " " + way,
                  .style = Series::Style::points,
                  .x = stayed.shown.since_s,
                  .y = stayed.shown.speeds_rpm,
                  .low = {},
                  .high = {}};
  Series fitted{
      .name = result.fan + " " + way + " fitted", .x = {}, .y = {}, .low = {}, .high = {}};
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

void judge(const FanResult& result, std::vector<std::string>& warnings) {
  if (!result.down || !result.up) {
    warnings.push_back(result.fan +
                       ": a step was not seen whole: the fan did not follow, or its speed is read "
                       "too seldom. Hold each speed longer with --hold.");
  }
  if (!result.least_steady) {
    warnings.push_back(result.fan + ": at no speed was it steady.");
  }
}

}  // namespace

Answer analyse_fans(const Table& samples, const std::vector<FanRecord>& fans) {
  Answer answer;
  std::vector<FanResult> results;
  Chart steps{.title = "Steps",
              .x_label = "time after the speed was asked for, s",
              .y_label = "RPM",
              .series = {},
              .note = "Points are measured, lines are the exponentials through them."};
  answer.figures["fans"] = Json::object();
  bool any = false;
  for (const FanRecord& fan : fans) {
    const FanResult result = result_of(samples, fan);
    any = any || result.down || result.up;
    answer.figures["fans"][fan.fan] = figures_of(result);
    answer.sentences.push_back(sentence_of(result));
    judge(result, answer.warnings);
    if (result.down) {
      add_curves(result, *result.down, "down", steps);
    }
    if (result.up) {
      add_curves(result, *result.up, "up", steps);
    }
    results.push_back(result);
  }
  answer.decided = any;
  if (!any) {
    answer.sentences.insert(answer.sentences.begin(),
                            "No fan was seen to follow. Only root may hold fans: call this with "
                            "sudo.");
  }
  answer.tables = {table_of(results)};
  if (!steps.series.empty()) {
    answer.charts = {steps};
  }
  return answer;
}

}  // namespace lab
