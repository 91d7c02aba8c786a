#include "lab_days.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

#include "lab/fakes/fake_two_nodes.h"
#include "lab/fakes/fake_waveform.h"

namespace lab {

namespace {

constexpr double kDay_s = 86400;
constexpr double kEvery_s = 0.1;
constexpr double kTwoPi = 6.283185307179586;

/// Two more temperatures, and noise on all four.
StepInput day_under(const std::function<double(double)>& load) {
  StepInput input = TwoNodes().record(load, kDay_s, kEvery_s);
  for (const char* name : {"TC1D", "TC1P"}) {
    input.temperatures.push_back(input.temperatures[input.temperatures.size() - 2]);
    input.temperatures.back().name = name;
  }
  std::mt19937_64 random(1);
  disturb(input, 0.2, 0, random);
  return input;
}

Column load_column(std::string_view name, const std::vector<double>& time_s,
                   const std::function<double(double)>& load) {
  Column column{.name = std::string(name), .unit = "", .source = "", .values = {}};
  for (const double instant_s : time_s) {
    column.values.push_back(load(instant_s - kEvery_s / 2));
  }
  return column;
}

/// The samples of a run under this load.
Table table_of(const StepInput& record, const std::function<double(double)>& load) {
  Table table{.time_s = record.time_s, .columns = {}};
  table.columns.push_back(
      {.name = record.heat_name, .unit = "W", .source = "", .values = record.heat});
  table.columns.insert(table.columns.end(), record.temperatures.begin(), record.temperatures.end());
  table.columns.push_back(load_column(kAskedColumn, record.time_s, load));
  table.columns.push_back(load_column(kDeliveredColumn, record.time_s, load));
  return table;
}

}  // namespace

StepInput stepping_day(double period_s) {
  return day_under(
      [=](double time_s) { return std::fmod(time_s, period_s) < period_s / 2 ? 0.0 : 1.0; });
}

BodeInput swinging_day(Swings swings) {
  constexpr double kSettled_s = 600;
  constexpr double kIdle_s = 5;
  constexpr double kMean = 0.45;
  std::vector<Swing> all;
  for (const double times : {1, 2, 4, 7, 14, 27, 53, 103, 200}) {
    const double frequency_hz = 0.01 * times;
    if (swings == Swings::at_once && !all.empty()) {
      all.front().frequencies_hz.push_back(frequency_hz);
    } else {
      all.push_back({.begin_s = 0, .end_s = 0, .frequencies_hz = {frequency_hz}});
    }
  }
  const double each_s = (kDay_s - kSettled_s) / static_cast<double>(all.size());
  for (std::size_t at = 0; at < all.size(); ++at) {
    all[at].begin_s = kSettled_s + static_cast<double>(at) * each_s;
    all[at].end_s = all[at].begin_s + each_s;
  }
  const double depth = swings == Swings::at_once ? 0.045 : 0.4;
  const auto load = [&](double time_s) {
    if (time_s < kSettled_s) {
      return time_s < kIdle_s ? 0 : kMean;
    }
    const auto place = static_cast<std::size_t>((time_s - kSettled_s) / each_s);
    const Swing& swing = all[std::min(place, all.size() - 1)];
    double sum = kMean;
    for (const double frequency_hz : swing.frequencies_hz) {
      sum += depth * std::cos(kTwoPi * frequency_hz * time_s);
    }
    return sum;
  };
  const StepInput record = day_under(load);
  return {.time_s = record.time_s,
          .heat = record.heat,
          .heat_name = record.heat_name,
          .loads = {load_column(kAskedColumn, record.time_s, load).values},
          .keys = record.temperatures,
          .beside = {},
          .swings = all,
          .carrier_hz = 103.7,
          .predicted = {},
          .predicted_from = {}};
}

SweepInput sweeping_day() {
  constexpr double kStay_s = 600;
  constexpr std::array kDuties{0.0, 0.25, 0.5, 0.75, 1.0};
  const auto point_at = [&](double time_s) {
    return static_cast<std::size_t>(std::max(0.0, time_s) / kStay_s) % kDuties.size();
  };
  const auto load = [&](double time_s) { return kDuties[point_at(time_s)]; };
  SweepInput input;
  input.samples = table_of(day_under(load), load);
  input.power = "PC0C";
  input.error = 0.01;
  for (const double duty : kDuties) {
    input.points.push_back({.name = std::to_string(duty), .number = duty});
  }
  const std::vector<double>& time_s = input.samples.time_s;
  for (std::size_t row = 0; row < time_s.size(); ++row) {
    if (row % static_cast<std::size_t>(kStay_s / kEvery_s) == 0) {
      input.visits.push_back({.point = point_at(time_s[row]), .first_row = row, .end_row = row});
    }
    input.visits.back().end_row = row + 1;
    if (row % 10 == 0) {
      input.work.push_back({.time_s = time_s[row], .operations = 1e9 * time_s[row]});
    }
  }
  return input;
}

FansDay day_of_fans(double stay_s) {
  constexpr std::array kAsked{5200.0, 1600.0, 1130.0, 800.0, 0.0, 800.0};
  constexpr double kTau_s = 1.5;
  constexpr double kStops_rpm = 60;
  FansDay day;
  const auto rows = static_cast<std::size_t>(kDay_s / kEvery_s);
  for (std::size_t row = 0; row <= rows; ++row) {
    day.samples.time_s.push_back(kEvery_s * static_cast<double>(row));
  }
  std::mt19937_64 random(1);
  std::normal_distribution<double> noise(0, 2);
  std::array<double, 3> speed_rpm{5200, 5200, 5200};
  for (const char* number : {"F0", "F1", "F2"}) {
    day.samples.columns.push_back(
        {.name = std::string(number) + "Ac", .unit = "RPM", .source = "", .values = {}});
    day.fans.push_back(
        {.fan = std::string(number) + "Tg", .speed = day.samples.columns.back().name, .stays = {}});
  }
  for (std::size_t row = 0; row <= rows; ++row) {
    const double time_s = day.samples.time_s[row];
    const auto stay = static_cast<std::size_t>(time_s / stay_s);
    const std::size_t fan = stay / kAsked.size() % day.fans.size();
    const double asked_rpm = kAsked[stay % kAsked.size()];
    std::vector<FanStay>& stays = day.fans[fan].stays;
    if (stays.empty() || time_s >= stays.back().asked_s + stay_s) {
      stays.push_back(
          {.asked_rpm = asked_rpm, .asked_s = time_s, .first_row = row, .end_row = row});
    }
    stays.back().end_row = row + 1;
    for (std::size_t at = 0; at < speed_rpm.size(); ++at) {
      const double wanted_rpm = at == fan ? asked_rpm : kAsked.front();
      speed_rpm[at] = wanted_rpm + (speed_rpm[at] - wanted_rpm) * std::exp(-kEvery_s / kTau_s);
      speed_rpm[at] = wanted_rpm == 0 && speed_rpm[at] < kStops_rpm ? 0 : speed_rpm[at];
      day.samples.columns[at].values.push_back(
          speed_rpm[at] > 0 ? std::round(speed_rpm[at] + noise(random)) : 0);
    }
  }
  return day;
}

ProveInput proving_day() {
  constexpr double kStep_s = 30;
  constexpr double kSquare_hz = 2.5;
  // The square wave is in the record alone: the analysis takes edges from there, and steps from the
  // samples.
  const auto load = [](double time_s) { return std::fmod(time_s, 60) < kStep_s ? 0.1 : 0.9; };
  ProveInput input;
  input.samples = table_of(day_under(load), load);
  input.carrier_hz = kSquare_hz;
  input.rate_hz = 1 / kEvery_s;
  const FakeWaveform wave{.carrier_hz = kSquare_hz,
                          .periods = static_cast<int>(kDay_s * kSquare_hz),
                          .noise_us = 20,
                          .kept_away = 0.01};
  input.square = wave.add_to(input.stimulus);
  input.floor = input.square;
  input.floor_on_s = 0.0005;
  for (const int thread : {0, 1}) {
    input.stimulus.threads.push_back({.number = thread, .policy = "fifo", .priority = 31});
  }
  for (const double time_s : input.samples.time_s) {
    input.stimulus.samples.push_back(
        {.instant_ns = wave.begin_ns + std::llround(1e9 * time_s), .elapsed_s = time_s + 1e-4});
  }
  const int steps = static_cast<int>(kDay_s / kStep_s) - 1;
  for (int step = 1; step < steps; ++step) {
    input.steps.push_back({.time_s = step * kStep_s, .before_s = kStep_s, .after_s = kStep_s});
  }
  return input;
}

Table replayed_day() {
  // Another utilisation every quarter of a minute.
  constexpr double kHeld_s = 15;
  std::mt19937_64 random(3);
  std::uniform_real_distribution<double> any(0, 1);
  std::vector<double> utilisation(static_cast<std::size_t>(kDay_s / kHeld_s) + 1);
  std::generate(utilisation.begin(), utilisation.end(), [&] { return any(random); });
  const auto load = [&](double time_s) {
    return utilisation[static_cast<std::size_t>(std::max(0.0, time_s) / kHeld_s)];
  };
  return table_of(day_under(load), load);
}

}  // namespace lab
