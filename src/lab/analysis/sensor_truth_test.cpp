#include "lab/analysis/sensor_truth.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace lab {
namespace {

// A temperature that rises and falls by 20 K, seen by a sensor.
struct Seen {
  std::vector<double> time_s;
  std::vector<double> values;

  Seen(double every_s, double update_s, double step, double noise) {
    std::mt19937_64 random(4);
    std::normal_distribution<double> normal(0, noise);
    double shown = 40;
    double next_s = 0;
    for (int at = 0; at * every_s < 200; ++at) {
      const double now_s = at * every_s;
      while (update_s <= 0 || next_s <= now_s + 1e-9) {
        const double measured_s = update_s > 0 ? next_s : now_s;
        shown = 40 - 10 * std::cos(measured_s / 16) + (noise > 0 ? normal(random) : 0);
        shown = step > 0 ? step * std::round(shown / step) : shown;
        if (update_s <= 0) {
          break;
        }
        next_s += update_s;
      }
      time_s.push_back(now_s);
      values.push_back(shown);
    }
  }
};

TEST(SensorTruth, FindsTheStep) {
  for (const double step : {1.0, 0.5, 0.125, 1.0 / 256}) {
    const Seen seen(0.1, 0, step, 0.2);
    EXPECT_NEAR(sensor_truth(seen.time_s, seen.values).step, step, 1e-3 * step);
  }
}

TEST(SensorTruth, FindsTheStepOfValuesThatWereRoundedWhenWritten) {
  Seen seen(0.1, 0, 1.0 / 256, 0.2);
  for (double& value : seen.values) {
    value = std::round(value * 1e4) / 1e4;
  }
  EXPECT_NEAR(sensor_truth(seen.time_s, seen.values).step, 1.0 / 256, 1e-5);
}

TEST(SensorTruth, FindsAFineStepAcrossGapsOfManySteps) {
  Seen seen(0.1, 0, 1.0 / 256, 0.2);
  for (double& value : seen.values) {
    value += value > 40 ? 2.5 : 0;  // 640 steps
    value = std::round(value * 1e4) / 1e4;
  }
  EXPECT_NEAR(sensor_truth(seen.time_s, seen.values).step, 1.0 / 256, 1e-5);
}

TEST(SensorTruth, OfASmoothColumnHasNoStep) {
  const Seen seen(0.1, 0, 0, 0.2);
  const SensorTruth truth = sensor_truth(seen.time_s, seen.values);
  EXPECT_EQ(truth.step, 0);
  EXPECT_NEAR(*truth.update_interval_s, 0.1, 1e-9);
  EXPECT_FALSE(truth.slow());
}

TEST(SensorTruth, FindsHowOftenASlowSensorMeasures) {
  for (const double update_s : {0.5, 1.0, 2.0}) {
    for (const double step : {0.0, 0.125}) {
      const Seen seen(0.1, update_s, step, 0.3);
      const SensorTruth truth = sensor_truth(seen.time_s, seen.values);
      ASSERT_TRUE(truth.slow()) << update_s;
      EXPECT_NEAR(*truth.update_interval_s, update_s, 0.02 * update_s);
      const auto fresh = std::count(truth.fresh.begin(), truth.fresh.end(), true);
      EXPECT_NEAR(static_cast<double>(fresh), 200 / update_s, 0.03 * 200 / update_s);
    }
  }
}

TEST(SensorTruth, DoesNotTakeACoarseSensorForASlowOne) {
  const Seen still(0.1, 0, 1, 0);
  const SensorTruth truth = sensor_truth(still.time_s, still.values);
  EXPECT_FALSE(truth.slow());
  EXPECT_EQ(std::count(truth.fresh.begin(), truth.fresh.end(), false), 0);
}

TEST(SensorTruth, DoesNotTellTheIntervalOfASensorThatHardlyChanges) {
  std::vector<double> time_s;
  std::vector<double> values;
  for (int at = 0; at < 100; ++at) {
    time_s.push_back(at);
    values.push_back(at > 50 ? 31 : 30);
  }
  const SensorTruth truth = sensor_truth(time_s, values);
  EXPECT_FALSE(truth.update_interval_s);
  EXPECT_EQ(truth.levels, 2U);
  EXPECT_EQ(truth.step, 1);
}

TEST(SensorTruth, WhatWasNotReadIsNoMeasurement) {
  Seen seen(0.1, 0, 0, 0.2);
  seen.values[7] = NAN;
  const SensorTruth truth = sensor_truth(seen.time_s, seen.values);
  EXPECT_FALSE(truth.fresh[7]);
  EXPECT_TRUE(truth.fresh[8]);
}

}  // namespace
}  // namespace lab
