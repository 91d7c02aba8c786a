#include "machines/simulated/power.h"

#include <gtest/gtest.h>

namespace simulated {
namespace {

TEST(Power, IdlePackageUsesIdlePowerAndLeakage) {
  EXPECT_DOUBLE_EQ(package_power_w(0, 0, 50), 14);
  EXPECT_DOUBLE_EQ(package_power_w(0, 7, 50), 14);
}

TEST(Power, FullLoadAtPState0AddsTheDynamicPower) {
  EXPECT_DOUBLE_EQ(package_power_w(1, 0, 50), 84);
  EXPECT_DOUBLE_EQ(package_power_w(0.5, 0, 50), 49);
}

TEST(Power, LeakageDoublesEvery30Degrees) {
  EXPECT_DOUBLE_EQ(leakage_w(50), 4);
  EXPECT_DOUBLE_EQ(leakage_w(80), 8);
  EXPECT_DOUBLE_EQ(leakage_w(20), 2);
}

TEST(Power, DynamicPowerFollowsFrequencyAndVoltageSquared) {
  EXPECT_DOUBLE_EQ(dynamic_scale(0), 1);
  EXPECT_NEAR(dynamic_scale(3), 2300.0 / 3200.0 * (1.15 / 1.30) * (1.15 / 1.30), 1e-12);
  EXPECT_NEAR(dynamic_scale(7), 1100.0 / 3200.0 * (0.95 / 1.30) * (0.95 / 1.30), 1e-12);
}

TEST(Power, EveryPStateIsSlowerAndUsesLessThanTheOneBefore) {
  ASSERT_GE(kPStates.size(), 8U);
  for (std::size_t i = 1; i < kPStates.size(); ++i) {
    EXPECT_LT(kPStates[i].frequency_mhz, kPStates[i - 1].frequency_mhz);
    EXPECT_LT(kPStates[i].voltage_v, kPStates[i - 1].voltage_v);
    EXPECT_LT(dynamic_scale(i), dynamic_scale(i - 1));
  }
}

}  // namespace
}  // namespace simulated
