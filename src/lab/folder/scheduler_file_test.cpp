#include "lab/folder/scheduler_file.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

TEST(SchedulerFile, IsReadAsItWasWritten) {
  const SchedulerTrace written{.taken = true,
                               .lost = 3,
                               .switches = {{.instant_ns = 5'000, .task = 4711, .on = true},
                                            {.instant_ns = 9'000, .task = 4711, .on = false}}};
  const SchedulerTrace read = parse_scheduler(scheduler_text(written));
  EXPECT_TRUE(read.taken);
  EXPECT_EQ(read.lost, 3);
  ASSERT_EQ(read.switches.size(), 2U);
  EXPECT_EQ(read.switches[0].instant_ns, 5'000);
  EXPECT_EQ(read.switches[0].task, 4711);
  EXPECT_TRUE(read.switches[0].on);
  EXPECT_FALSE(read.switches[1].on);
}

TEST(SchedulerFile, LeavesOutLinesThatAreNone) {
  const SchedulerTrace read =
      parse_scheduler("# lost 0\ninstant_ns,task,on\n1000,7,1\nx\n2000,7\n3000,7,0\n4000,7,");
  ASSERT_EQ(read.switches.size(), 2U);
  EXPECT_EQ(read.switches[1].instant_ns, 3000);
}

TEST(SchedulerFile, OfNothingIsNoTrace) {
  EXPECT_FALSE(parse_scheduler("").taken);
}

}  // namespace
}  // namespace lab
