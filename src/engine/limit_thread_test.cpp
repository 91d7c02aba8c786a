#include "engine/limit_thread.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

#include "engine/exit_status.h"
#include "support/fake_host.h"
#include "support/machine_fixture.h"
#include "vorn/run_sleep.h"
#include "vorn/settings.h"

namespace engine {
namespace {

std::atomic<bool> ended{false};

void end(int /*signo*/) {
  ended = true;
}

class LimitThread : public MachineFixture {
 protected:
  LimitThread() {
    ended = false;
    verdict.clear();
    former_ = std::signal(SIGINT, end);
  }
  ~LimitThread() override {
    params.terminate = true;
    end_run_sleeps();
    limit_thread.join();
    std::signal(SIGINT, former_);
  }

  /// Watches `limits` until the run is ended, or for `looks` looks. Returns what was printed.
  static std::string watch(std::vector<Limit> limits, int looks) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(spawn_limits(std::move(limits)), 0);
    for (int look = 0; look < looks && !ended; ++look) {
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    params.terminate = true;
    end_run_sleeps();
    limit_thread.join();
    const std::string printed = testing::internal::GetCapturedStderr();
    return printed.empty() ? "" : printed.substr(printed.find(": ") + 2);
  }

 private:
  void (*former_)(int);
};

TEST_F(LimitThread, EndsTheRunWhenAKeyStaysAboveItsLimit) {
  EXPECT_EQ(watch({{"PC0C", 100.0F}, {"TC0D", 42.0F}}, 100),
            "limit TC0D=42: the key shows 42.25\n");
  EXPECT_TRUE(ended);
  EXPECT_TRUE(limit_ended_run());
  EXPECT_EQ(verdict.status(), ExitStatus::kLimitReached);
}

TEST_F(LimitThread, LetsTheRunBeWhileEveryKeyIsWithin) {
  EXPECT_EQ(watch({{"PC0C", 40.5F}, {"TC0D", 42.25F}}, 6), "");
  EXPECT_FALSE(limit_ended_run());
  EXPECT_FALSE(ended);
}

TEST_F(LimitThread, EndsTheRunWhenAKeyCannotBeReadAnyMore) {
  EXPECT_EQ(watch({{"PC0C", 100.0F}, {"TXXX", 42.0F}}, 100),
            "limit TXXX=42: the key cannot be read any more\n");
  EXPECT_TRUE(ended);
}

TEST_F(LimitThread, IsNotStartedWithoutARightToItsPriority) {
  fake_host::state().priority_result = EPERM;
  EXPECT_EQ(spawn_limits({{"PC0C", 100.0F}}), -1);
}

}  // namespace
}  // namespace engine
