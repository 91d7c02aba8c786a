#include "lab/engine_process/others_load.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>

namespace lab {
namespace {

TEST(OthersLoad, CountsWorkAndNeitherWaitingNorWhatAHostTook) {
  EXPECT_EQ(busy_ticks("cpu  100 20 30 4000 500 6 7 888 0 0"), 100 + 20 + 30 + 6 + 7);
}

TEST(OthersLoad, ReadsTheTimeOfAProcessBehindAnyName) {
  EXPECT_EQ(process_ticks("42 (a ) b) S 1 42 42 0 -1 4194560 1 2 3 4 70 30 5 6 20 0 1 0 9"), 100);
  EXPECT_EQ(process_ticks(""), 0);
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
