#include "SpinLoop/SpinLoop.h"

#include <gtest/gtest.h>

#include <memory>

#include "Workload/workload_params.h"
#include "support/workload_runner.h"

namespace {

std::unique_ptr<Workload> make_spin() {
  return std::unique_ptr<Workload>(SpinLoopFactory().make(0, 63));
}

TEST(SpinLoop, ReturnsAtOnceIfTheRunHasEnded) {
  workload_params ended{false, PTHREAD_MUTEX_INITIALIZER, PTHREAD_COND_INITIALIZER, true};
  make_spin()->run(&ended);
}

TEST(SpinLoop, KeepsRunningWhileTheWaveformIsOff) {
  WorkloadRunner spin(make_spin, false);
  EXPECT_TRUE(spin.uses_processor(0.02));
}

TEST(SpinLoopDeathTest, ANullParameterBlockFailsTheAssertion) {
  EXPECT_DEATH(make_spin()->run(nullptr),
               "Assertion failed: \\(params\\), function run, file src/SpinLoop, line 20\\.");
}

TEST(SpinLoopFactory, IsCalledSpin) {
  SpinLoopFactory factory;
  EXPECT_EQ(factory.name(), "spin");
  EXPECT_EQ(factory.description(), "minimal spin loop");
}

TEST(SpinLoopFactory, SaysThatItIgnoresTheWaveform) {
  EXPECT_FALSE(SpinLoopFactory().follows_waveform());
}

}  // namespace
