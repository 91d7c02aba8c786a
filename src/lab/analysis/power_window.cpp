#include "lab/analysis/power_window.h"

#include <Eigen/Cholesky>
#include <Eigen/Core>
#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "lab/analysis/quantile.h"

// The lag tells most, and at every frequency. Of the amplitude only how it falls with the frequency
// says something, since nobody knows the watts of a load beforehand. Leakage lags as the
// temperature does, which is measured, so that its part can be told from that of the reading.
//
// A plain mean lags by half its window. But a counter that is brought up to date only when it is
// read, or every few milliseconds, makes a mean that is neither plain nor read at once. So lag and
// window are two parameters where there are frequencies enough. The window goes in as its square,
// which noise may make negative: then sin becomes sinh, and nothing breaks.

namespace lab {

namespace {

using Eigen::Index;

// A tone is not believed beyond a thousandth: the model does not know everything.
constexpr double kLeast = 1e-6;

double mean_of_square(double window_squared, double frequency_hz) {
  using std::numbers::pi;
  const double x2 = pi * pi * frequency_hz * frequency_hz * window_squared;
  if (std::abs(x2) < 1e-9) {
    return 1 - x2 / 6;
  }
  const double x = std::sqrt(std::abs(x2));
  return (x2 > 0 ? std::sin(x) : std::sinh(x)) / x;
}

std::complex<double> response(double window_squared, double lag_s, double frequency_hz) {
  return std::polar(1.0, -2 * std::numbers::pi * frequency_hz * lag_s) *
         mean_of_square(window_squared, frequency_hz);
}

// What is searched for. The linear part is solved for exactly.
struct Shape {
  double lag_s = 0;
  double window_squared = 0;
};

struct WindowFit {
  double squares = std::numeric_limits<double>::infinity();
  Eigen::VectorXd linear;
  Eigen::VectorXd model;  // real and imaginary part of each tone, over its standard error
};

WindowFit fit(const std::vector<PowerTone>& tones, const Shape& shape, Index parameters) {
  const auto rows = 2 * static_cast<Index>(tones.size());
  Eigen::MatrixXd model(rows, parameters);
  Eigen::VectorXd seen(rows);
  for (std::size_t at = 0; at < tones.size(); ++at) {
    const PowerTone& tone = tones[at];
    const double scale =
        1 / std::sqrt(std::max(tone.power_variance, kLeast * std::norm(tone.power)));
    const std::complex<double> read =
        scale * response(shape.window_squared, shape.lag_s, tone.frequency_hz);
    const auto row = 2 * static_cast<Index>(at);
    const auto put = [&](Index column, std::complex<double> value) {
      model(row, column) = value.real();
      model(row + 1, column) = value.imag();
    };
    put(0, read * tone.load);
    if (parameters > 1) {
      put(1, read * tone.heat_k);
    }
    seen[row] = scale * tone.power.real();
    seen[row + 1] = scale * tone.power.imag();
  }
  Eigen::MatrixXd squares = model.transpose() * model;
  squares.diagonal() *= 1 + 1e-12;
  WindowFit found;
  found.linear = squares.ldlt().solve(model.transpose() * seen);
  found.model = model * found.linear;
  found.squares = (seen - found.model).squaredNorm();
  return found;
}

// By how much the sum of squares falls short of its least at a shape: half of these second
// differences is the information about lag and window.
Eigen::Matrix2d information(const std::vector<PowerTone>& tones, const Shape& best,
                            const Shape& apart, Index parameters) {
  const auto at = [&](int lag, int window) {
    return fit(tones,
               {.lag_s = best.lag_s + lag * apart.lag_s,
                .window_squared = best.window_squared + window * apart.window_squared},
               parameters)
        .squares;
  };
  const double here = at(0, 0);
  Eigen::Matrix2d result;
  result(0, 0) = (at(1, 0) - 2 * here + at(-1, 0)) / (2 * apart.lag_s * apart.lag_s);
  result(1, 1) =
      (at(0, 1) - 2 * here + at(0, -1)) / (2 * apart.window_squared * apart.window_squared);
  result(0, 1) = result(1, 0) =
      (at(1, 1) - at(1, -1) - at(-1, 1) + at(-1, -1)) / (8 * apart.lag_s * apart.window_squared);
  return result;
}

// The least of a function with one minimum in [low, high]: golden section.
template <class Function>
double least(const Function& function, double low, double high) {
  constexpr double kPart = 0.6180339887498949;
  for (int round = 0; round < 50; ++round) {
    const double left = high - kPart * (high - low);
    const double right = low + kPart * (high - low);
    if (function(left) < function(right)) {
      high = right;
    } else {
      low = left;
    }
  }
  return (low + high) / 2;
}

}  // namespace

std::complex<double> window_response(double window_s, double lag_s, double frequency_hz) {
  return response(window_s * window_s, lag_s, frequency_hz);
}

PowerWindow power_window(const std::vector<PowerTone>& tones) {
  const bool leaks =
      tones.size() > 1 && std::any_of(tones.begin(), tones.end(),
                                      [](const auto& tone) { return std::norm(tone.heat_k) > 0; });
  const bool plain = tones.size() < 3;
  const Index parameters = leaks ? 2 : 1;
  double fastest_hz = 0;
  double freedom = 0;
  for (const PowerTone& tone : tones) {
    fastest_hz = std::max(fastest_hz, tone.frequency_hz);
    freedom += tone.freedom;
  }
  const auto plain_squares = [&](double window_s) {
    return fit(tones, {.lag_s = window_s / 2, .window_squared = window_s * window_s}, parameters)
        .squares;
  };
  // A window longer than nine tenths of the shortest period leaves too little of it to see.
  constexpr int kSteps = 90;
  const double step_s = 0.9 / fastest_hz / kSteps;
  double window_s = 0;
  for (int at = 0; at <= kSteps; ++at) {
    if (plain_squares(step_s * at) < plain_squares(window_s)) {
      window_s = step_s * at;
    }
  }
  // Below 0 is wrong, but where noise puts it shows that it may be 0.
  window_s = least(plain_squares, window_s - step_s, window_s + step_s);
  Shape best{.lag_s = window_s / 2, .window_squared = window_s * window_s};
  const double unit_s = 0.02 / fastest_hz;
  const Shape apart{.lag_s = 0.1 * unit_s, .window_squared = unit_s * unit_s};
  if (!plain) {
    const auto at_lag = [&](double lag_s) {
      return least(
          [&](double window_squared) {
            return fit(tones, {.lag_s = lag_s, .window_squared = window_squared}, parameters)
                .squares;
          },
          -0.2 / (fastest_hz * fastest_hz), 0.8 / (fastest_hz * fastest_hz));
    };
    best.lag_s = least(
        [&](double lag_s) {
          return fit(tones, {.lag_s = lag_s, .window_squared = at_lag(lag_s)}, parameters).squares;
        },
        best.lag_s - 2 * unit_s, best.lag_s + 2 * unit_s);
    best.window_squared = at_lag(best.lag_s);
  }
  const WindowFit found = fit(tones, best, parameters);
  PowerWindow result;
  result.watts = found.linear[0];
  result.watts_a_kelvin = leaks ? found.linear[1] : 0;
  // What the model leaves beyond the noise widens the intervals.
  const double left =
      2 * static_cast<double>(tones.size()) - static_cast<double>(parameters) - (plain ? 1.0 : 2.0);
  const double misfit = left > 0 ? std::max(1.0, found.squares / left) : 1.0;
  const double factor = two_sided_95(misfit > 1 ? std::min(freedom, left) : freedom);
  double lag_half_s = std::numeric_limits<double>::infinity();
  double low_squared = 0;
  double high_squared = std::numeric_limits<double>::infinity();
  if (plain) {
    const double information = (plain_squares(window_s + unit_s / 5) - 2 * found.squares +
                                plain_squares(window_s - unit_s / 5)) /
                               (2 * unit_s * unit_s / 25);
    if (information > 0) {
      const double half_s = factor * std::sqrt(misfit / information);
      lag_half_s = half_s / 2;
      low_squared = std::pow(std::max(0.0, window_s - half_s), 2);
      high_squared = std::pow(std::max(0.0, window_s + half_s), 2);
    }
  } else {
    const Eigen::Matrix2d known = information(tones, best, apart, parameters);
    const double determinant = known(0, 0) * known(1, 1) - known(0, 1) * known(0, 1);
    if (known(0, 0) > 0 && determinant > 0) {
      lag_half_s = factor * std::sqrt(misfit * known(1, 1) / determinant);
      const double half = factor * std::sqrt(misfit * known(0, 0) / determinant);
      low_squared = best.window_squared - half;
      high_squared = best.window_squared + half;
    }
  }
  const auto root = [](double square) { return std::sqrt(std::max(0.0, square)); };
  result.window = {.value = root(best.window_squared),
                   .low = root(low_squared),
                   .high = root(high_squared),
                   .unit = "s"};
  result.lag = {.value = std::max(0.0, best.lag_s),
                .low = std::max(0.0, best.lag_s - lag_half_s),
                .high = std::max(0.0, best.lag_s + lag_half_s),
                .unit = "s"};
  result.known = lag_half_s * fastest_hz < 0.025;  // 9 degrees of the highest frequency
  return result;
}

PowerWindow between(const PowerWindow& one, const PowerWindow& other) {
  const auto both = [](const Estimate& first, const Estimate& second) {
    return Estimate{.value = (first.value + second.value) / 2,
                    .low = std::min(first.low, second.low),
                    .high = std::max(first.high, second.high),
                    .unit = first.unit};
  };
  return {.window = both(one.window, other.window),
          .lag = both(one.lag, other.lag),
          .known = one.known && other.known,
          .watts = (one.watts + other.watts) / 2,
          .watts_a_kelvin = (one.watts_a_kelvin + other.watts_a_kelvin) / 2};
}

}  // namespace lab
