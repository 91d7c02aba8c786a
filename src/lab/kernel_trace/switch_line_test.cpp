#include "lab/kernel_trace/switch_line.h"

#include <gtest/gtest.h>

#include <string>

namespace lab {
namespace {

using Switches = std::vector<SchedulerTrace::Switch>;

Switches switches_of(const std::string& line) {
  Switches found;
  add_switches(line, found);
  return found;
}

TEST(SwitchLine, SaysWhoLostAProcessorAndWhoHasIt) {
  const Switches found = switches_of(
      "            bash-7283    [001] d..2. 58398.316943: sched_switch: prev_comm=bash "
      "prev_pid=7283 "
      "prev_prio=120 prev_state=S ==> next_comm=vorn-engine next_pid=7211 next_prio=68");
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].task, 7283);
  EXPECT_FALSE(found[0].on);
  EXPECT_EQ(found[1].task, 7211);
  EXPECT_TRUE(found[1].on);
  EXPECT_EQ(found[0].instant_ns, 58'398'316'943'000);
  EXPECT_EQ(found[1].instant_ns, 58'398'316'943'000);
}

TEST(SwitchLine, TheIdleTaskIsNone) {
  const Switches found = switches_of(
      "          <idle>-0       [000] d..2.     7.000001: sched_switch: prev_comm=swapper/0 "
      "prev_pid=0 prev_prio=120 prev_state=R ==> next_comm=a next_pid=3 next_prio=68");
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].task, 3);
  EXPECT_EQ(found[0].instant_ns, 7'000'001'000);
}

TEST(SwitchLine, TheNameOfATaskMisleadsNobody) {
  const Switches found = switches_of(
      " prev_pid=9 [7]-12 [000] d..2. 1.000000: sched_switch: prev_comm= prev_pid=9 [7] "
      "prev_pid=12 "
      "prev_prio=120 prev_state=R+ ==> next_comm= next_pid=5 a next_pid=3 next_prio=68");
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].task, 12);
  EXPECT_EQ(found[1].task, 3);
}

TEST(SwitchLine, WhatIsNoSwitchIsLeftOut) {
  for (const char* line :
       {"", "# tracer: nop", "CPU:1 [LOST 12 EVENTS]",
        "  a-1 [000] d..2. 1.0: sched_wakeup: comm=a pid=3 prio=68 target_cpu=000",
        "  a-1 [000] d..2. 1.0: sched_switch: prev_comm=a prev_pid=1 prev_prio=1 prev_state=S ==> "
        "next_comm=b",
        "  a-1 [000] d..2. x: sched_switch: prev_comm=a prev_pid=1 ==> next_comm=b next_pid=2"}) {
    EXPECT_TRUE(switches_of(line).empty()) << line;
  }
}

TEST(SwitchLine, TheHeadSaysHowManyEventsWereOverwritten) {
  EXPECT_EQ(overwritten("# entries-in-buffer/entries-written: 40/52   #P:2"), 12);
  EXPECT_EQ(overwritten("# entries-in-buffer/entries-written: 52/52   #P:2"), 0);
  EXPECT_EQ(overwritten("#           TASK-PID     CPU#"), 0);
}

}  // namespace
}  // namespace lab
