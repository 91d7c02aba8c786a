#include "BlockingSpinLoop/BlockingSpinLoop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>

#include "Workload/workload_params.h"
#include "support/workload_runner.h"

namespace {

using std::chrono::milliseconds;

std::unique_ptr<Workload> make_bspin() {
  return std::unique_ptr<Workload>(BlockingSpinLoopFactory().make(0, 63));
}

TEST(BlockingSpinLoop, ReturnsWithoutTheLockIfTheRunHasEnded) {
  workload_params ended{false, PTHREAD_MUTEX_INITIALIZER, PTHREAD_COND_INITIALIZER, true};
  pthread_mutex_lock(&ended.mutex);  // taking it again would never return
  make_bspin()->run(&ended);
  pthread_mutex_unlock(&ended.mutex);
}

TEST(BlockingSpinLoop, UsesNoProcessorWhileTheWaveformIsOff) {
  WorkloadRunner bspin(make_bspin, false);
  std::this_thread::sleep_for(milliseconds(50));  // to its wait
  const double before = bspin.processor_time();
  std::this_thread::sleep_for(milliseconds(200));
  EXPECT_LT(bspin.processor_time() - before, 0.001);
}

TEST(BlockingSpinLoop, RunsOnWhenABroadcastFindsTheWaveformOn) {
  WorkloadRunner bspin(make_bspin, false);
  bspin.switch_to(true);
  EXPECT_TRUE(bspin.uses_processor(0.02));
}

TEST(BlockingSpinLoop, BlocksAgainWhenTheWaveformGoesOff) {
  WorkloadRunner bspin(make_bspin, true);
  ASSERT_TRUE(bspin.uses_processor(0.02));
  bspin.switch_to(false);
  std::this_thread::sleep_for(milliseconds(50));
  const double before = bspin.processor_time();
  std::this_thread::sleep_for(milliseconds(200));
  EXPECT_LT(bspin.processor_time() - before, 0.001);
}

TEST(BlockingSpinLoopDeathTest, ANullParameterBlockFailsTheAssertion) {
  EXPECT_DEATH(
      make_bspin()->run(nullptr),
      "Assertion failed: \\(params\\), function run, file src/BlockingSpinLoop, line 21\\.");
}

TEST(BlockingSpinLoopFactory, IsCalledBspin) {
  BlockingSpinLoopFactory factory;
  EXPECT_EQ(factory.name(), "bspin");
  EXPECT_EQ(factory.description(), "blocking spin loop");
}

TEST(BlockingSpinLoopFactory, SaysThatItFollowsTheWaveform) {
  EXPECT_TRUE(BlockingSpinLoopFactory().follows_waveform());
}

}  // namespace
