#include "lab/questions/sweep_plan.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <random>

#include "lab/plan/plan_error.h"
#include "lab/questions/heat.h"

namespace lab {

namespace {

constexpr double kDrift = 0.1;  // what is still to come is extrapolated, with its error

std::optional<double> number_in(const std::string& text) {
  double value = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  return result.ec == std::errc() && result.ptr == end && std::isfinite(value)
             ? std::optional(value)
             : std::nullopt;
}

std::string text_of(double value) {
  std::array<char, 32> text{};
  const auto result = std::to_chars(text.data(), text.data() + text.size(), value);
  return {text.data(), result.ptr};
}

bool is_whole_number(const std::optional<double>& number, double least, double most) {
  return number && *number == std::floor(*number) && *number >= least && *number <= most;
}

bool fits(SweptSetting over, const std::string& point) {
  constexpr double kMostRpm = 100000;
  constexpr double kMostPState = 255;
  const std::optional<double> number = number_in(point);
  switch (over) {
    case SweptSetting::fans:
      return point == "maximum" || is_whole_number(number, 1, kMostRpm);
    case SweptSetting::duty:
      return number && *number >= 0 && *number <= 1;
    case SweptSetting::pstate:
      return is_whole_number(number, 0, kMostPState);
    case SweptSetting::load:
      return !point.empty();
  }
  return false;
}

const char* what_fits(SweptSetting over) {
  switch (over) {
    case SweptSetting::fans:
      return "speeds in RPM or \"maximum\"";
    case SweptSetting::duty:
      return "duties from 0 to 1";
    case SweptSetting::pstate:
      return "numbers of P-states";
    case SweptSetting::load:
      return "loads";
  }
  return "";
}

Phase phase_at(SweptSetting over, const std::string& point, double duty, double at_most_s) {
  Phase phase;
  phase.name = point;
  phase.drive.duty = duty;
  phase.duration_s = at_most_s;
  phase.until_settled = true;
  phase.drift = kDrift;
  const std::optional<double> number = number_in(point);
  switch (over) {
    case SweptSetting::fans:
      phase.name = number ? point + " RPM" : point;
      phase.fans = number ? Fans{Fans::Hold::speed, static_cast<int>(*number)}
                          : Fans{Fans::Hold::maximum, 0};
      break;
    case SweptSetting::duty:
      phase.name = "duty " + point;
      phase.drive.duty = *number;
      break;
    case SweptSetting::pstate:
      phase.name = "P-state " + point;
      phase.pstate = static_cast<int>(*number);
      break;
    case SweptSetting::load:
      phase.load = point;
      break;
  }
  return phase;
}

/// The point that a phase stays at.
SweptPoint point_of(SweptSetting over, const Plan& plan, const Phase& phase) {
  SweptPoint point;
  point.idle = over != SweptSetting::duty && phase.drive.duty == 0;
  const Fans fans = fans_of(plan, phase);
  const std::optional<int> pstate = pstate_of(plan, phase);
  switch (over) {
    case SweptSetting::fans:
      point.name = fans.hold == Fans::Hold::speed     ? std::to_string(fans.rpm)
                   : fans.hold == Fans::Hold::maximum ? "maximum"
                                                      : "automatic";
      break;
    case SweptSetting::duty:
      point.name = text_of(phase.drive.duty);
      break;
    case SweptSetting::pstate:
      point.name = pstate ? std::to_string(*pstate) : "automatic";
      break;
    case SweptSetting::load:
      point.name = phase.load.value_or(plan.load);
      break;
  }
  point.number = number_in(point.name);
  return point;
}

bool same(const SweptPoint& one, const SweptPoint& other) {
  return one.name == other.name && one.idle == other.idle;
}

/// Numbers go up, and what has none comes behind them, by its name.
bool before(const SweptPoint& one, const SweptPoint& other) {
  constexpr double kLast = 1e9;
  const double first = one.number.value_or(kLast);
  const double second = other.number.value_or(kLast);
  if (first == kLast && second == kLast && one.idle != other.idle) {
    return one.idle;  // what the loads are compared with
  }
  return first != second ? first < second : one.name < other.name;
}

void add_visits(const Run& run, SweptSetting over, SweepInput& input) {
  const Column* phases = run.samples.find(kPhaseColumn);
  if (phases == nullptr) {
    return;
  }
  const std::vector<double>& values = phases->values;
  for (std::size_t begin = 0; begin < values.size();) {
    std::size_t end = begin + 1;
    while (end < values.size() && values[end] == values[begin]) {
      ++end;
    }
    const double index = values[begin];
    if (index >= 0 && index < static_cast<double>(run.plan.phases.size())) {
      const SweptPoint point =
          point_of(over, run.plan, run.plan.phases[static_cast<std::size_t>(index)]);
      const auto found = std::find_if(input.points.begin(), input.points.end(),
                                      [&](const SweptPoint& one) { return same(one, point); });
      input.visits.push_back({static_cast<std::size_t>(found - input.points.begin()), begin, end});
    }
    begin = end;
  }
}

}  // namespace

std::vector<std::string> listed_points(SweptSetting over, const std::string& text) {
  std::vector<std::string> points;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t comma = std::min(text.find(',', begin), text.size());
    const std::string point = text.substr(begin, comma - begin);
    if (!fits(over, point)) {
      throw PlanError("--at takes " + std::string(what_fits(over)) +
                      " with commas between, and not \"" + point + "\"");
    }
    points.push_back(point);
    begin = comma + 1;
  }
  if (points.size() < 2) {
    throw PlanError("--at names one point, " + points.front() + ": a sweep takes two or more");
  }
  return points;
}

std::vector<std::string> speeds_of(const std::vector<MachineKey>& keys) {
  double least = 0;
  double most = 0;
  for (const MachineKey& key : keys) {
    if (key.unit == "RPM" && key.value && key.name.ends_with("Mn")) {
      least = std::max(least, *key.value);
    }
    if (key.unit == "RPM" && key.value && key.name.ends_with("Mx")) {
      most = std::max(most, *key.value);
    }
  }
  if (!(least > 0) || !(most > least)) {
    return {"maximum"};
  }
  constexpr int kSpeeds = 6;
  constexpr double kRound = 10;
  std::vector<std::string> speeds;
  for (int at = 0; at < kSpeeds; ++at) {
    const double speed = least * std::pow(most / least, at / (kSpeeds - 1.0));
    speeds.push_back(text_of(std::round(speed / kRound) * kRound));
  }
  return speeds;
}

std::vector<std::string> numbers_of(std::size_t pstates) {
  constexpr std::size_t kMost = 8;
  const std::size_t count = std::min(pstates, kMost);
  std::vector<std::string> numbers;
  numbers.reserve(count);
  for (std::size_t at = 0; at < count; ++at) {
    const double place = count > 1 ? static_cast<double>(at) / static_cast<double>(count - 1) : 0;
    numbers.push_back(text_of(std::round(place * static_cast<double>(pstates - 1))));
  }
  return numbers;
}

std::vector<Phase> phases_of(SweptSetting over, const std::vector<std::string>& points, double duty,
                             double at_most_s) {
  std::vector<Phase> phases;
  if (over != SweptSetting::duty) {
    // With the fans at their highest, it cools soonest.
    const auto slower = [](const std::string& one, const std::string& other) {
      constexpr double kMaximum = 1e9;
      return number_in(one).value_or(kMaximum) < number_in(other).value_or(kMaximum);
    };
    const bool fans = over == SweptSetting::fans;
    phases.push_back(
        phase_at(over, fans ? *std::max_element(points.begin(), points.end(), slower) : points[0],
                 0, at_most_s));
    phases.back().name = "idle";
  }
  for (const std::string& point : points) {
    phases.push_back(phase_at(over, point, duty, at_most_s));
  }
  return phases;
}

void shuffle(std::vector<Phase>& phases, std::size_t first, unsigned seed) {
  // Fisher and Yates, written out: the library's own may differ from one to the next.
  std::mt19937 random(seed);
  for (std::size_t left = phases.size() - first; left > 1; --left) {
    std::swap(phases[first + left - 1], phases[first + random() % left]);
  }
}

SweptSetting swept_setting(const Plan& plan) {
  const auto any = [&](auto sets) {
    return std::any_of(plan.phases.begin(), plan.phases.end(), sets);
  };
  if (any([](const Phase& phase) { return phase.fans.has_value(); })) {
    return SweptSetting::fans;
  }
  if (any([](const Phase& phase) { return phase.pstate.has_value(); })) {
    return SweptSetting::pstate;
  }
  if (any([](const Phase& phase) { return phase.load.has_value(); })) {
    return SweptSetting::load;
  }
  return SweptSetting::duty;
}

SweepInput sweep_input(const Run& run) {
  SweepInput input;
  input.over = swept_setting(run.plan);
  for (const Phase& phase : run.plan.phases) {
    const SweptPoint point = point_of(input.over, run.plan, phase);
    const bool is_new = std::none_of(input.points.begin(), input.points.end(),
                                     [&](const SweptPoint& one) { return same(one, point); });
    if (is_new) {
      input.points.push_back(point);
    }
  }
  std::stable_sort(input.points.begin(), input.points.end(), before);
  add_visits(run, input.over, input);
  input.samples = run.samples;
  input.power = power_column(run);
  for (const WorkDone& done : run.delivery.work) {
    input.work.push_back({done.time_s, done.operations});
  }
  input.error = run.plan.error;
  return input;
}

}  // namespace lab
