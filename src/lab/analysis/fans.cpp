#include "lab/analysis/fans.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "lab/analysis/fan_step.h"
#include "lab/analysis/fans_words.h"

namespace lab {

namespace {

using Json = nlohmann::ordered_json;

ShownSpeeds shown_in(const Table& samples, const Column& speed, const FanStay& stay) {
  ShownSpeeds shown;
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
  const std::vector<double>& time_s = samples.time_s;
  const auto first =
      std::upper_bound(time_s.begin(), time_s.end(), stay.asked_s - kBefore_s) - time_s.begin();
  for (auto row = static_cast<std::size_t>(first);
       row < stay.end_row && time_s[row] <= stay.asked_s; ++row) {
    if (std::isfinite(speed.values[row])) {
      sum += speed.values[row];
      count += 1;
    }
  }
  shown.before_rpm = count > 0 ? sum / count : std::numeric_limits<double>::quiet_NaN();
  return shown;
}

void take_stop_and_start(const FanStayed& stayed, bool still_before, FanResult& result) {
  if (stayed.asked_rpm == 0.0) {
    result.stop = fan_stop(stayed.shown.since_s, stayed.shown.speeds_rpm);
  } else if (still_before && !result.start_asked_rpm) {
    result.start_asked_rpm = stayed.asked_rpm.value_or(std::numeric_limits<double>::infinity());
    result.start = fan_start(stayed.shown.since_s, stayed.shown.speeds_rpm);
  }
}

void take_largest(const FanStayed& stayed, std::optional<FanStayed>& largest) {
  const auto way = [](const FanStayed& one) {
    return std::abs(one.step.to_rpm.value - one.step.from_rpm);
  };
  if (!largest || way(stayed) > way(*largest)) {
    largest = stayed;
  }
}

void extend(const std::vector<double>& speeds, double& least, double& most) {
  for (const double speed : speeds) {
    least = std::min(least, speed);
    most = std::max(most, speed);
  }
}

/// Why no step of any fan was seen.
std::string nothing_seen(const std::vector<FanResult>& results) {
  if (std::any_of(results.begin(), results.end(), held_too_briefly)) {
    return "The fans did not come to the speeds that they were asked for: each was held too "
           "briefly. Hold them longer with --hold.";
  }
  if (std::any_of(results.begin(), results.end(), [](const FanResult& one) { return one.held; })) {
    return "The fans were held, and none was seen to follow.";
  }
  return "No fan was seen to follow. Only root may hold fans: call this with sudo.";
}

FanResult result_of(const Table& samples, const FanRecord& record) {
  FanResult result;
  result.fan = record.fan;
  result.speed = record.speed;
  result.held = record.held;
  const Column* speed = samples.find(record.speed);
  if (speed == nullptr) {
    return result;
  }
  bool still = false;
  double least_asked = std::numeric_limits<double>::infinity();
  double slowest = std::numeric_limits<double>::infinity();
  double fastest = -slowest;
  for (const FanStay& stay : record.stays) {
    FanStayed stayed;
    stayed.asked_rpm = stay.asked_rpm;
    stayed.shown = shown_in(samples, *speed, stay);
    const ShownSpeeds& shown = stayed.shown;
    const bool to_stop = stay.asked_rpm == 0.0;
    extend(shown.speeds_rpm, slowest, fastest);
    stayed.step = fan_step(shown.since_s, shown.speeds_rpm, shown.before_rpm);
    stayed.steady = steady_speed(shown.since_s, shown.speeds_rpm);
    const FanStep& step = stayed.step;
    constexpr double kClose = 0.02;
    const bool seen_whole =
        step.known && step.to_rpm.high - step.to_rpm.low < kClose * step.to_rpm.value;
    if (seen_whole) {
      stayed.steady.rpm = step.to_rpm;  // the mean has not come there yet
    }
    stayed.arrived = seen_whole || !stayed.steady.moving;
    stayed.steady.steady = stayed.steady.steady && stayed.arrived;
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
  constexpr double kMoved = 0.1;  // of the fastest: no fan that is left alone
  result.moved = fastest - slowest > kMoved * fastest;
  return result;
}

Json step_figures(const std::optional<FanStayed>& stayed) {
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
    if (result.stop->slowing) {
      json["stop"]["stands_still"] = nullptr;
    }
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
  for (const FanStayed& stayed : result.stays) {
    json["speeds"].push_back({{"asked", asked_figure(stayed.asked_rpm)},
                              {"speed", to_json(stayed.steady.rpm)},
                              {"steady", stayed.steady.steady}});
  }
  return json;
}

}  // namespace

Answer analyse_fans(const Table& samples, const std::vector<FanRecord>& fans) {
  Answer answer;
  answer.decided = false;
  std::vector<FanResult> results;
  answer.figures["fans"] = Json::object();
  for (const FanRecord& fan : fans) {
    const FanResult result = result_of(samples, fan);
    answer.decided = answer.decided || result.down || result.up;
    answer.figures["fans"][fan.fan] = figures_of(result);
    answer.sentences.push_back(fan_sentence(result));
    const std::vector<std::string> warnings = judge_fan_result(result);
    answer.warnings.insert(answer.warnings.end(), warnings.begin(), warnings.end());
    results.push_back(result);
  }
  if (!answer.decided) {
    answer.sentences.insert(answer.sentences.begin(), nothing_seen(results));
  }
  answer.tables = fans_tables(results);
  const Chart steps = fans_chart(results);
  if (!steps.series.empty()) {
    answer.charts = {steps};
  }
  return answer;
}

}  // namespace lab
