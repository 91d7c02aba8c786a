#include "lab/engine_process/others_load.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <ctime>
#include <thread>

namespace lab {
namespace {

TEST(OthersLoad, CountsWorkAndNeitherWaitingNorWhatAHostTook) {
  EXPECT_EQ(busy_ticks("cpu  100 20 30 4000 500 6 7 888 0 0"), 100 + 20 + 30 + 6 + 7);
}

TEST(OthersLoad, ReadsTheTimeOfAProcessBehindAnyName) {
  EXPECT_EQ(process_ticks("42 (a ) b) S 1 42 42 0 -1 4194560 1 2 3 4 70 30 5 6 20 0 1 0 9"), 100);
  EXPECT_EQ(process_ticks(""), 0);
}

TEST(OthersLoad, ReadsTheTimeOfThoseThatWereWaitedFor) {
  EXPECT_EQ(ended_ticks("42 (a ) b) S 1 42 42 0 -1 4194560 1 2 3 4 70 30 5 6 20 0 1 0 9"), 11);
}

TEST(OthersLoad, IsNoneWhereAnEngineEndsAndIsWaitedFor) {
  const pid_t engine = fork();
  if (engine == 0) {
    const std::clock_t begin = std::clock();
    while (std::clock() - begin < CLOCKS_PER_SEC / 5) {
    }
    _exit(0);
  }
  siginfo_t info{};
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(engine), &info, WEXITED | WNOWAIT), 0);
  const OthersLoad::Ticks before = machine_ticks(engine);
  EXPECT_GE(before.engines, 15);
  ASSERT_EQ(waitpid(engine, nullptr, 0), engine);
  EXPECT_GE(machine_ticks(engine).engines, before.engines);
}

TEST(OthersLoad, DoesNotCountTheEngine) {
  OthersLoad others;
  const std::int64_t ticks = sysconf(_SC_CLK_TCK);
  others.add(10, {.all = 1000, .engines = 500});
  others.add(11, {.all = 1000 + ticks, .engines = 500 + ticks});
  EXPECT_NEAR(others.at(10.5), 0, 1e-9);
  others.add(12, {.all = 1000 + 2 * ticks, .engines = 500 + ticks});
  EXPECT_NEAR(others.at(11.5), 1.0 / std::max(1U, std::thread::hardware_concurrency()), 1e-9);
}

TEST(OthersLoad, IsNotKnownBeforeAnythingWasSeen) {
  OthersLoad others;
  EXPECT_TRUE(std::isnan(others.at(1)));
  others.look(1, getpid());
  EXPECT_TRUE(std::isnan(others.at(1)));
}

TEST(OthersLoad, IsThatOfTheSecondAroundAnInstant) {
  OthersLoad others;
  others.look(10, getpid());
  others.look(10.5, getpid());  // too early to look
  EXPECT_TRUE(std::isnan(others.at(10.3)));
  others.look(11, getpid());
  EXPECT_GE(others.at(10.3), 0);
  EXPECT_LE(others.at(10.3), 1);
  EXPECT_TRUE(std::isnan(others.at(11.5)));
}

}  // namespace
}  // namespace lab
