#include "lab/folder/stimulus_reader.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

TEST(StimulusReader, KeepsEdgesAndHowTheThreadsFollowedThem) {
  StimulusReader reader;
  for (const char* line :
       {"thread\t0\t4711\tbspin\t-1\tfifo\t31", "asked\t1000\tduty\t0\t0.5\t0",
        "edge\t1000\t1000\ton", "edge\t2000\t2007\toff", "entered\t1005\t0\t1", "left\t2009\t0\t1",
        "entered\t1003\t1\t0", "time\t1500\t0\t495", "sample\t900\t0.02"}) {
    reader.add(RecordLine(line));
  }
  const Stimulus found = reader.stimulus();
  ASSERT_EQ(found.edges.size(), 2U);
  EXPECT_EQ(found.edges[1].planned_ns, 2000);
  EXPECT_FALSE(found.edges[1].on);
  ASSERT_EQ(found.follows.size(), 3U);
  EXPECT_EQ(found.follows[0].instant_ns, 1003) << "in the order of time";
  EXPECT_EQ(found.follows[0].thread, 1);
  EXPECT_TRUE(found.follows[1].on);
  EXPECT_FALSE(found.follows[2].on);
  ASSERT_EQ(found.times.size(), 1U);
  EXPECT_EQ(found.times[0].time_ns, 495);
  ASSERT_EQ(found.samples.size(), 1U);
  EXPECT_EQ(found.samples[0].elapsed_s, 0.02);
  ASSERT_EQ(found.threads.size(), 1U);
  EXPECT_EQ(found.threads[0].task, 4711);
  EXPECT_EQ(found.threads[0].policy, "fifo");
  EXPECT_EQ(found.threads[0].priority, 31);
  EXPECT_EQ(found.asked_ns, std::vector<std::int64_t>{1000});
  EXPECT_FALSE(found.cut);
}

TEST(StimulusReader, KeepsTheBeginningOfALongRunAndSaysSo) {
  StimulusReader reader(2);
  for (const char* line : {"edge\t1\t1\ton", "edge\t2\t2\toff", "edge\t3\t3\ton"}) {
    reader.add(RecordLine(line));
  }
  EXPECT_EQ(reader.stimulus().edges.size(), 2U);
  EXPECT_TRUE(reader.stimulus().cut);
}

}  // namespace
}  // namespace lab
