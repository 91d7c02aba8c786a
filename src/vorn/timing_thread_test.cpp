#include "vorn/timing_thread.h"

#include <unistd.h>

#include <chrono>
#include <functional>
#include <limits>
#include <thread>

#include "support/settings_fixture.h"
#include "vorn/run_sleep.h"
#include "vorn/settings.h"

namespace {

using std::chrono::milliseconds;

/// Waits until `condition` holds. False after ten seconds.
bool eventually(const std::function<bool()>& condition) {
  for (int tries = 0; tries < 10000; ++tries) {
    if (condition()) {
      return true;
    }
    std::this_thread::sleep_for(milliseconds(1));
  }
  return false;
}

class TimingThread : public SettingsFixture {
 protected:
  ~TimingThread() override { end(); }

  static void start() { ASSERT_EQ(spawn_timing(), 0); }

  static void end() {
    params.terminate = true;
    end_run_sleeps();
    timing_thread.join();
  }
};

TEST_F(TimingThread, SwitchesTheLoadAtTheEndOfEveryInterval) {
  frequency = 50.0;
  start();
  for (int period = 0; period < 3; ++period) {
    EXPECT_TRUE(eventually([] { return !params.active; }));
    EXPECT_TRUE(eventually([]() -> bool { return params.active; }));
  }
}

TEST_F(TimingThread, SpendsTheFirstIntervalInTheStateItStartsWith) {
  frequency = 0.5;
  params.active = false;
  start();
  std::this_thread::sleep_for(milliseconds(50));
  EXPECT_FALSE(params.active);
}

TEST_F(TimingThread, AnIntervalOfNoLengthIsOverAtOnce) {
  frequency = 0.1;
  sinusoid = 0.1;  // one slot of ten seconds, at level 0
  start();
  EXPECT_TRUE(eventually([] { return !params.active; }));
}

TEST_F(TimingThread, LeavesASleepWithoutSwitchingWhenTheRunEnds) {
  frequency = 0.01;
  start();
  std::this_thread::sleep_for(milliseconds(20));
  end();
  EXPECT_TRUE(params.active);
}

// Its test of `terminate` may lie before the end of the run, and its switch after.
TEST_F(TimingThread, DoesNotSwitchOnceTheRunHasEnded) {
  frequency = 1000.0;
  pthread_mutex_lock(&params.mutex);
  start();
  std::this_thread::sleep_for(milliseconds(100));  // it has tested, and waits for the lock
  params.terminate = true;
  params.active = true;
  pthread_mutex_unlock(&params.mutex);
  timing_thread.join();
  EXPECT_TRUE(params.active);
}

TEST_F(TimingThread, EndsAlthoughEveryIntervalHasNoLength) {
  frequency = 1e6;
  start();
  std::this_thread::sleep_for(milliseconds(20));
  end();
}

TEST_F(TimingThread, EndsAlthoughTheScheduleIsEmpty) {
  frequency = 10.0;
  sinusoid = std::numeric_limits<double>::infinity();
  start();
  std::this_thread::sleep_for(milliseconds(20));
  end();
}

TEST_F(TimingThread, SleepsOnWhenTheUserIdChanges) {
  frequency = 0.01;
  start();
  std::this_thread::sleep_for(milliseconds(20));
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(seteuid(geteuid()), 0);
  }
  std::this_thread::sleep_for(milliseconds(20));
  EXPECT_TRUE(params.active);
}

using TimingThreadDeathTest = TimingThread;

TEST_F(TimingThreadDeathTest, NeedsAFrequency) {
  EXPECT_DEATH(spawn_timing(),
               "Assertion failed: \\(using_timing_thread\\(\\)\\), function spawn_timing, "
               "file src/vorn\\.");
}

}  // namespace
