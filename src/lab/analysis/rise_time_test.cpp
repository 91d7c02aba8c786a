#include "lab/analysis/rise_time.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>

namespace lab {
namespace {

/// A reading that is sampled at `rate_hz` and goes the way `response` after each step, up and down
/// in turn. The steps do not lie on the samples.
struct Recorded {
  std::vector<double> time_s;
  std::vector<double> values;
  std::vector<LoadStep> steps;

  Recorded(double rate_hz, const std::function<double(double since_s)>& response,
           double noise = 0) {
    constexpr double kEach_s = 1.03;
    for (int step = 1; step < 20; ++step) {
      steps.push_back({.time_s = step * kEach_s, .before_s = kEach_s, .after_s = kEach_s});
    }
    std::mt19937_64 random(1);
    std::normal_distribution<double> normal(0, 1);
    for (int row = 0; row < 20 * kEach_s * rate_hz; ++row) {
      const double now_s = row / rate_hz;
      double value = 20;
      for (std::size_t step = 0; step < steps.size() && steps[step].time_s <= now_s; ++step) {
        const double way = response(now_s - steps[step].time_s);
        value += step % 2 == 0 ? 30 * way : -30 * way;
      }
      time_s.push_back(now_s);
      values.push_back(value + noise * normal(random));
    }
  }
};

// A mean over w: a ramp, of which nine tenths less one tenth are 0.8 w, and the middle lies at w/2.
TEST(RiseTime, OfAMeanOverAWindowIsEightTenthsOfIt) {
  const Recorded record(50, [](double since_s) { return std::clamp(since_s / 0.1, 0.0, 1.0); });
  const auto rise = rise_time(record.time_s, record.values, record.steps);
  ASSERT_TRUE(rise.has_value());
  EXPECT_NEAR(rise->rise_s, 0.08, 0.003);
  EXPECT_NEAR(rise->delay_s, 0.05, 0.002);
  EXPECT_EQ(rise->steps, 19U);
}

// One pole: ln 9 time constants, and half of the way after ln 2 of them.
TEST(RiseTime, OfOnePoleIsTwoAndAFifthOfItsTimeConstant) {
  const Recorded record(
      100, [](double since_s) { return 1 - std::exp(-since_s / 0.08); }, 0.3);
  const auto rise = rise_time(record.time_s, record.values, record.steps);
  ASSERT_TRUE(rise.has_value());
  EXPECT_NEAR(rise->rise_s, 0.08 * std::log(9), 0.01);
  EXPECT_NEAR(rise->delay_s, 0.08 * std::log(2), 0.004);
}

TEST(RiseTime, OfANoiseThatDoesNotFollowIsNotKnown) {
  const Recorded record(
      50, [](double) { return 0; }, 1);
  EXPECT_FALSE(rise_time(record.time_s, record.values, record.steps).has_value());
  const Recorded still(50, [](double) { return 0; });
  EXPECT_FALSE(rise_time(still.time_s, still.values, still.steps).has_value());
}

}  // namespace
}  // namespace lab
