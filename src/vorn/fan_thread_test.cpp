#include "vorn/fan_thread.h"

#include <chrono>
#include <thread>

#include "support/interruption.h"
#include "support/machine_fixture.h"
#include "vorn/settings.h"

namespace {

using Words = std::vector<unsigned>;
using Clock = std::chrono::steady_clock;

class FanThread : public MachineFixture {
 protected:
  FanThread() { fans = {"F0Tg", "F1Tg"}; }
  ~FanThread() override {
    params.terminate = true;
    fan_thread.join();
  }

  /// Runs the thread until F0Tg was written `count` times. Returns what was written.
  Words first_speeds(std::size_t count) {
    EXPECT_EQ(spawn_fan(), 0);
    for (int tries = 0; tries < 10000 && written_to("F0Tg").size() < count; ++tries) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    Words speeds = written_to("F0Tg");
    speeds.resize(count);
    return speeds;
  }
};

TEST_F(FanThread, HalfAPeriodIsRoundedToMicroseconds) {
  EXPECT_EQ(half_period(1), 500000U);
  EXPECT_EQ(half_period(3), 166667U);
  EXPECT_EQ(half_period(1e6), 0U) << "half a microsecond: ties go to even";
  EXPECT_EQ(half_period(1e-9), 4294967295U);
}

TEST_F(FanThread, SleepsOnWhenASignalInterruptsIt) {
  rpm = 1500;
  fanfrequency = 5;
  const Clock::time_point start = Clock::now();
  ASSERT_EQ(spawn_fan(), 0);
  for (int i = 0; i < 10; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    interrupt_every_thread();
  }
  while (written_to("F0Tg").empty()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(100));
}

TEST_F(FanThread, SwitchesBetweenAStopAndTheSpeedBeginningWithTheStop) {
  rpm = 1500;
  fanfrequency = 50;
  EXPECT_EQ(first_speeds(4), (Words{0, 6000, 0, 6000}));
  EXPECT_EQ(controller->word("FS! "), 3U);
}

TEST_F(FanThread, AtTheMaximumReadsEachFansOwn) {
  rpm = kMaximumSpeed;
  fanfrequency = 50;
  EXPECT_EQ(first_speeds(3), (Words{0, 24000, 0}));
}

TEST_F(FanThread, WaitsHalfAPeriodBeforeEachSwitch) {
  rpm = 1500;
  fanfrequency = 5;
  const Clock::time_point start = Clock::now();
  first_speeds(2);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(200));
}

TEST_F(FanThread, ReportsAFailureAndTriesTheSameSpeedAgain) {
  rpm = 1500;
  fanfrequency = 50;
  fans = {"F3Tg"};
  const std::string printed = printed_by([] {
    EXPECT_EQ(spawn_fan(), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    params.terminate = true;
    fan_thread.join();
  });
  const std::string once =
      "Unrecognized SMC fan key \"F3Tg\"\n"
      "Unable to set fans to 0RPM\n";
  EXPECT_TRUE(printed.starts_with(once + once)) << printed;
  EXPECT_EQ(printed.find("1500RPM"), std::string::npos) << printed;
}

TEST_F(FanThread, SeesTheEndOfTheRunAtItsNextPeriod) {
  rpm = 1500;
  fanfrequency = 2.0;
  const Clock::time_point start = Clock::now();
  ASSERT_EQ(spawn_fan(), 0);
  std::this_thread::sleep_for(std::chrono::milliseconds(20));  // to its sleep
  params.terminate = true;
  fan_thread.join();
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(250));
  EXPECT_TRUE(written_to("F0Tg").empty());
}

using FanThreadDeathTest = FanThread;

TEST_F(FanThreadDeathTest, NeedsASpeed) {
  fanfrequency = 1;
  EXPECT_DEATH(fan_thread_function(nullptr),
               "Assertion failed: \\(setting_fans\\(\\)\\), function fan_thread_function, "
               "file src/vorn\\.");
}

TEST_F(FanThreadDeathTest, NeedsAFrequency) {
  EXPECT_DEATH(spawn_fan(), "\\(using_fan_thread\\(\\)\\), function spawn_fan, file src/vorn\\.");
}

}  // namespace
