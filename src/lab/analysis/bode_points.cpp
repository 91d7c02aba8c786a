#include "lab/analysis/bode_points.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "lab/analysis/aliases.h"
#include "lab/analysis/lock_in.h"
#include "lab/analysis/quantile.h"
#include "lab/analysis/rounding_bias.h"
#include "lab/analysis/spoken_number.h"

namespace lab {

namespace {

// A held value shows nothing of what is faster than two fifths of its sensor's rate.
constexpr double kOfSensorRate = 0.4;

// Power may follow the load later than the processors' time says, and its reading seem later by as
// much: a kernel that counts 250 ticks a second knows of the time of a running thread 2 ms late in
// the mean, and so does every machine that is calculated from it.
constexpr double kAccounting_s = 0.003;

// The rows of a swing that are counted.
struct Counted {
  std::size_t begin = 0;
  std::size_t end = 0;
  double length_s = 0;
};

// Whole periods up to the end of the swing. What is before them is waited for: half a period, and
// some seconds for what is fast in a machine.
Counted counted_rows(const BodeInput& input, const Swing& swing) {
  const double base_hz = common_hz(swing.frequencies_hz);
  const double length_s = swing.end_s - swing.begin_s;
  const double wait_s = std::min(std::max(0.5 / base_hz, kFastParts_s), length_s / 4);
  double periods = std::floor((length_s - wait_s) * base_hz);
  constexpr double kFew = 2;
  if (periods < kFew) {
    periods = std::floor(length_s * base_hz);
  }
  Counted counted{.length_s = periods / base_hz};
  const auto row_at = [&](double instant_s) {
    return static_cast<std::size_t>(
        std::upper_bound(input.time_s.begin(), input.time_s.end(), instant_s) -
        input.time_s.begin());
  };
  counted.end = row_at(swing.end_s);
  counted.begin = periods < kFew ? counted.end : row_at(swing.end_s - counted.length_s);
  return counted;
}

// The column with what a slow sensor only repeats left out.
std::vector<double> new_values(const Column& column, const SensorTruth& sensor) {
  std::vector<double> values = column.values;
  if (sensor.slow()) {
    for (std::size_t at = 0; at < values.size(); ++at) {
      if (!sensor.fresh[at]) {
        values[at] = std::numeric_limits<double>::quiet_NaN();
      }
    }
  }
  return values;
}

// All that was found in one swing.
struct Locked {
  const Swing* swing = nullptr;
  Counted counted;
  LockedIn heat{};
  std::vector<LockedIn> loads{};  // no tones: not known
  std::vector<LockedIn> keys{};   // in the order of the input's
};

std::vector<Locked> lock_in_all(const BodeInput& input,
                                const std::vector<std::vector<double>>& values,
                                std::vector<std::string>& warnings) {
  std::vector<Locked> all;
  for (const Swing& swing : input.swings) {
    Locked locked{.swing = &swing, .counted = counted_rows(input, swing)};
    const Counted& counted = locked.counted;
    if (counted.begin == counted.end) {
      warnings.push_back("At " + spoken_hertz(swing.frequencies_hz.front()) + " only " +
                         spoken_number(swing.end_s - swing.begin_s) +
                         " s were recorded, less than two periods: left out. Record longer.");
      continue;
    }
    const auto part = [&](const std::vector<double>& whole) {
      return std::span<const double>(whole).subspan(counted.begin, counted.end - counted.begin);
    };
    std::vector<std::span<const double>> series{part(input.heat)};
    for (const std::vector<double>& load : input.loads) {
      series.push_back(part(load));
    }
    for (const std::vector<double>& column : values) {
      series.push_back(part(column));
    }
    std::vector<LockedIn> found = lock_in(part(input.time_s), series, swing.frequencies_hz);
    auto next = found.begin();
    locked.heat = std::move(*next++);
    for (std::size_t load = 0; load < input.loads.size(); ++load) {
      locked.loads.push_back(std::move(*next++));
    }
    locked.keys.assign(std::make_move_iterator(next), std::make_move_iterator(found.end()));
    if (!locked.heat.tones.empty()) {
      all.push_back(std::move(locked));
    }
  }
  return all;
}

// The temperature that swings most: it is nearest to what leaks.
std::optional<std::size_t> hottest(const BodeInput& input, const std::vector<Locked>& all) {
  std::optional<std::size_t> found;
  double most = 0;
  for (std::size_t key = 0; key < input.keys.size(); ++key) {
    double sum = 0;
    for (const Locked& locked : all) {
      for (const Tone& tone : locked.keys[key].tones) {
        sum += std::abs(tone.value);
      }
    }
    if (input.keys[key].unit == "degC" && sum > most) {
      most = sum;
      found = key;
    }
  }
  return found;
}

// What one kind of load says of the power's reading.
std::optional<PowerWindow> window_by(const BodeInput& input, const std::vector<Locked>& all,
                                     std::size_t which, double step_s) {
  std::vector<PowerTone> tones;
  const std::optional<std::size_t> heated = hottest(input, all);
  for (const Locked& locked : all) {
    const std::vector<Tone>& loads = locked.loads[which].tones;
    for (std::size_t at = 0; at < loads.size(); ++at) {
      const double frequency_hz = locked.swing->frequencies_hz[at];
      const std::complex<double> load =
          loads[at].value / window_response(step_s, step_s / 2, frequency_hz);
      constexpr double kLeastLoad = 0.005;
      if (std::abs(load) < kLeastLoad) {
        continue;
      }
      const bool hot = heated && !locked.keys[*heated].tones.empty();
      tones.push_back({.frequency_hz = frequency_hz,
                       .power = locked.heat.tones[at].value,
                       .power_variance = locked.heat.tones[at].variance,
                       .freedom = locked.heat.tones[at].freedom,
                       .load = load,
                       .heat_k = hot ? locked.keys[*heated].tones[at].value : 0.0});
    }
  }
  return tones.empty() ? std::nullopt : std::optional(power_window(tones));
}

// Where the data do not tell it, the window is taken to be one distance of two samples, give or
// take what machines do.
PowerWindow window_of(const BodeInput& input, const std::vector<Locked>& all, double step_s) {
  std::optional<PowerWindow> found;
  for (std::size_t which = 0; which < input.loads.size(); ++which) {
    const std::optional<PowerWindow> one = window_by(input, all, which, step_s);
    found = found && one ? between(*found, *one) : one ? one : found;
  }
  constexpr double kOrdinary_s = 0.2;
  const double most_s = std::max(2 * step_s, kOrdinary_s);
  if (found && found->known && found->lag.high - found->lag.low < most_s / 2) {
    return *found;
  }
  PowerWindow ordinary;
  ordinary.window = {.value = step_s, .low = 0, .high = most_s, .unit = "s"};
  ordinary.lag = {.value = step_s / 2, .low = 0, .high = most_s / 2, .unit = "s"};
  return ordinary;
}

// How far something else than noise may put the ratio off: relative, and in radians.
struct Systematic {
  double amplitude = 0;
  double phase = 0;
  double late = 0;  // in radians, as probable at its end as anywhere
};

KeyPoint key_point(const Tone& tone, const Tone& heat, std::complex<double> correction,
                   const Systematic& systematic, const std::string& unit) {
  KeyPoint point{.there = true};
  point.swing = std::abs(tone.value);
  const std::complex<double> ratio = tone.value / heat.value * correction;
  const double factor = two_sided_95(std::min(tone.freedom, heat.freedom));
  const double noise = factor * std::sqrt(tone.variance / std::norm(tone.value) +
                                          heat.variance / std::norm(heat.value));
  const double size = std::abs(ratio);
  const double amplitude_half = std::hypot(noise, systematic.amplitude);
  const double phase_half = std::hypot(noise, systematic.phase) + systematic.late;
  point.amplitude = {.value = size,
                     .low = std::max(0.0, size * (1 - amplitude_half)),
                     .high = size * (1 + amplitude_half),
                     .unit = unit};
  const double phase = std::arg(ratio) * kDegrees;
  const double half = phase_half < 1 ? std::asin(phase_half) * kDegrees : 180.0;
  point.phase = {.value = phase, .low = phase - half, .high = phase + half, .unit = "deg"};
  constexpr double kSeen = 0.5;
  point.decided = amplitude_half < kSeen && phase_half < kSeen;
  return point;
}

double mean_step(const std::vector<double>& time_s) {
  return (time_s.back() - time_s.front()) / static_cast<double>(time_s.size() - 1);
}

}  // namespace

BodeResult bode_points(const BodeInput& input) {
  BodeResult result;
  result.mean_step_s = mean_step(input.time_s);
  std::vector<std::vector<double>> values;
  for (const Column& column : input.keys) {
    BodeKey key{
        .name = column.name,
        .unit = (column.unit == "degC" ? "K" : column.unit) + (input.heat_is_power ? "/W" : ""),
        .highest_hz = kInfinite,
        .sensor = sensor_truth(input.time_s, column.values)};
    if (key.sensor.slow()) {
      key.highest_hz = kOfSensorRate / *key.sensor.update_interval_s;
    }
    values.push_back(new_values(column, key.sensor));
    result.keys.push_back(std::move(key));
  }
  const std::vector<Locked> all = lock_in_all(input, values, result.warnings);
  if (input.heat_is_power) {
    result.window = window_of(input, all, result.mean_step_s);
  } else {
    // The load is the mean since the sample before, by its definition.
    const double step_s = result.mean_step_s;
    const double late_s = step_s / 2;
    result.window.window = {.value = step_s, .low = step_s, .high = step_s, .unit = "s"};
    result.window.lag = {.value = late_s, .low = late_s, .high = late_s, .unit = "s"};
    result.window.known = true;
  }
  const Estimate& window = result.window.window;
  const Estimate& lag = result.window.lag;
  const double accounting_s = input.heat_is_power ? kAccounting_s : 0;
  const double lag_half_s = std::max(lag.high - lag.value, lag.value - lag.low);
  for (const Locked& locked : all) {
    for (std::size_t at = 0; at < locked.heat.tones.size(); ++at) {
      const double frequency_hz = locked.swing->frequencies_hz[at];
      const Tone& heat = locked.heat.tones[at];
      BodePoint point{.frequency_hz = frequency_hz,
                      .periods = std::round(locked.counted.length_s * frequency_hz),
                      .heat = std::abs(heat.value)};
      const std::complex<double> response = window_response(window.value, lag.value, frequency_hz);
      const auto part_left = [&](double window_s) {
        return std::abs(window_response(window_s, 0, frequency_hz)) / std::abs(response);
      };
      const double by_window =
          std::max(std::abs(1 - part_left(window.high)), std::abs(part_left(window.low) - 1));
      for (std::size_t key = 0; key < input.keys.size(); ++key) {
        const LockedIn& found = locked.keys[key];
        if (found.tones.empty() || result.keys[key].sensor.levels < 2) {
          point.keys.emplace_back();
          continue;
        }
        const BodeKey& about = result.keys[key];
        // A slow sensor measured at some time since the sample before.
        const double late_s = about.sensor.slow() ? result.mean_step_s / 2 : 0;
        const double angle = 2 * std::numbers::pi * frequency_hz;
        // Rounding by itself leaves a twelfth of its step squared.
        const double rounding = about.sensor.step * about.sensor.step / 12;
        const double dither = found.residual_rms * found.residual_rms - rounding;
        const double bias = rounding_bias(std::abs(found.tones[at].value), about.sensor.step,
                                          std::sqrt(std::max(0.0, dither))) /
                            std::abs(found.tones[at].value);
        const Systematic systematic{.amplitude = std::hypot(bias, by_window),
                                    .phase = std::hypot(bias, angle * lag_half_s),
                                    .late = angle * (late_s + accounting_s)};
        KeyPoint seen = key_point(found.tones[at], heat, response * std::polar(1.0, angle * late_s),
                                  systematic, about.unit);
        seen.decided = seen.decided && frequency_hz <= about.highest_hz;
        point.keys.push_back(std::move(seen));
      }
      result.points.push_back(std::move(point));
    }
  }
  std::sort(result.points.begin(), result.points.end(), [](const auto& one, const auto& other) {
    return one.frequency_hz < other.frequency_hz;
  });
  return result;
}

}  // namespace lab
