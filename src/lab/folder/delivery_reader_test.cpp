#include "lab/folder/delivery_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace lab {
namespace {

constexpr std::int64_t kMillisecond = 1'000'000;

class DeliveryReaderTest : public testing::Test {
 protected:
  void add(const std::string& line) { reader_.add(RecordLine(line)); }

  /// A square wave: on for `on_ms` of each 100 ms; the switch 10 us late, thread 0 in 20 us and
  /// thread 1 in 50 us after the edge, both busy throughout the on phase.
  void play(int periods, int on_ms) {
    for (int period = 0; period < periods; ++period) {
      const std::int64_t on = 1'000'000'000 + period * 100 * kMillisecond;
      const std::int64_t off = on + on_ms * kMillisecond;
      add("edge\t" + std::to_string(on) + "\t" + std::to_string(on + 10'000) + "\ton");
      add("edge\t" + std::to_string(off) + "\t" + std::to_string(off + 10'000) + "\toff");
      add("entered\t" + std::to_string(on + 20'000) + "\t0\t0");
      add("entered\t" + std::to_string(on + 50'000) + "\t1\t1");
      for (const char* thread : {"0", "1"}) {
        add("time\t" + std::to_string(on) + "\t" + thread + "\t" +
            std::to_string(period * on_ms * kMillisecond));
      }
    }
  }

  DeliveryReader reader_;
};

TEST_F(DeliveryReaderTest, LatenessIsTheSwitchBehindItsPlan) {
  play(20, 30);
  const Delivery delivery = reader_.delivery();
  EXPECT_EQ(delivery.edges, 40);
  EXPECT_NEAR(delivery.edge_lateness_p50_us.value_or(0), 10, 1e-3);
  EXPECT_NEAR(delivery.edge_lateness_p99_us.value_or(0), 10, 1e-3);
}

TEST_F(DeliveryReaderTest, SkewIsTheLastThreadBehindTheFirst) {
  play(100, 30);  // ten seconds: on phases that are settled, and some that are not
  EXPECT_NEAR(reader_.delivery().skew_p50_us.value_or(0), 30, 1e-3);
  EXPECT_NEAR(reader_.delivery().skew_p99_us.value_or(0), 30, 1e-3);
}

TEST_F(DeliveryReaderTest, ABurstBelongsToItsEdgeWhicheverIsReadFirst) {
  add("entered\t1000020000\t0\t0");
  add("edge\t1000000000\t1000010000\ton");
  add("entered\t1000050000\t1\t1");
  add("entered\t1100020000\t0\t0");  // the edges of these come behind them
  add("entered\t1100050000\t1\t1");
  add("edge\t1030000000\t1030010000\toff");
  add("edge\t1100000000\t1100010000\ton");
  EXPECT_NEAR(reader_.delivery().skew_p50_us.value_or(0), 30, 1e-3);
  EXPECT_NEAR(reader_.delivery().skew_p99_us.value_or(0), 30, 1e-3);
  add("edge\t1130000000\t1130010000\toff");
  EXPECT_NEAR(reader_.delivery().skew_p99_us.value_or(0), 30, 1e-3);
}

TEST_F(DeliveryReaderTest, WhatARecordLostIsKnownBeforeItsEnd) {
  add("dropped\tedge\t3");
  add("dropped\tburst\t5\t0");
  add("dropped\tburst\t7\t1");
  add("dropped\tburst\t9\t1");
  EXPECT_EQ(reader_.delivery().events_dropped, 17);
  add("lost\t20\t4");  // three of which there was no room to tell
  EXPECT_EQ(reader_.delivery().events_dropped, 20);
  EXPECT_EQ(reader_.delivery().record_lost, 4);
}

TEST_F(DeliveryReaderTest, DutyAskedComesFromThePlanAndDeliveredFromTheThreads) {
  play(50, 30);
  const Delivery delivery = reader_.delivery();
  // From the first on edge to the last off edge, which is behind the last look at the threads.
  EXPECT_NEAR(delivery.duty_asked.value_or(0), 50 * 30.0 / (49 * 100 + 30), 1e-9);
  EXPECT_NEAR(delivery.duty_delivered.value_or(0), 0.3, 1e-9);
}

TEST_F(DeliveryReaderTest, WorkIsThatOfAllThreadsOnceASecondOverAllEngines) {
  for (const char* line :
       {"vorn-record\t1", "sample\t1000000000\t0", "work\t1000000000\t0\t10\t0",
        "work\t1000000000\t1\t20\t0", "work\t1500000000\t0\t100\t0", "work\t2000000000\t0\t200\t0",
        "vorn-record\t1", "work\t9000000000\t0\t5\t0"}) {
    add(line);
  }
  const std::vector<WorkDone> work = reader_.delivery().work;
  ASSERT_EQ(work.size(), 3U);
  EXPECT_EQ(work[0].time_s, 0);
  EXPECT_EQ(work[1].time_s, 1);
  EXPECT_EQ(work[1].operations, 220);
  EXPECT_EQ(work[2].time_s, 8);
  EXPECT_EQ(work[2].operations, 225) << "the second engine counts from 0";
}

TEST_F(DeliveryReaderTest, WhatWasForcedHasTheTimeOfTheRun) {
  add("sample\t1000000000\t0");
  add("forced\t3500000000\tF0Tg\tmaximum");
  const std::vector<ForcedAt> forced = reader_.delivery().forced;
  ASSERT_EQ(forced.size(), 1U);
  EXPECT_EQ(forced[0].time_s, 2.5);
  EXPECT_EQ(forced[0].what, "F0Tg");
  EXPECT_EQ(forced[0].value, "maximum");
}

TEST_F(DeliveryReaderTest, BothDutiesAreOfTheWholeWaveform) {
  // Off, on from second 1 to 3, off until second 4; then on to the end.
  for (const char* line : {"edge\t0\t0\toff", "time\t0\t0\t0", "edge\t1000000000\t1000000000\ton",
                           "edge\t3000000000\t3000000000\toff"}) {
    add(line);
  }
  add("time\t4000000000\t0\t2000000000");
  EXPECT_NEAR(reader_.delivery().duty_asked.value_or(0), 0.5, 1e-9);
  EXPECT_NEAR(reader_.delivery().duty_delivered.value_or(0), 0.5, 1e-9);
  add("edge\t4000000000\t4000000000\ton");
  add("time\t8000000000\t0\t6000000000");
  EXPECT_NEAR(reader_.delivery().duty_asked.value_or(0), 0.75, 1e-9);
  EXPECT_NEAR(reader_.delivery().duty_delivered.value_or(0), 0.75, 1e-9);
}

TEST_F(DeliveryReaderTest, ProcessorTimeBeforeTheWaveformIsNotDelivered) {
  add("time\t900000000\t0\t0");
  add("time\t950000000\t0\t50000000");
  play(2, 30);
  EXPECT_NEAR(reader_.delivery().duty_delivered.value_or(0), 0.3, 1e-9);
}

TEST_F(DeliveryReaderTest, HolesSamplesThrottlingAndErrorsAreCounted) {
  add("gap\t5\t0\t0\t2000000");
  add("gap\t9\t1\t1\t50000000");
  add("sample\t1000000000\t0");
  add("sample\t1100000000\t0.1");
  add("sample\t1500000000\t0.5");
  add("throttled\t1\t0\t7\t1");  // counts since the machine started
  add("throttled\t2\t0\t9\t1");
  add("error\t3\t0\t0\t1 + 1 is 3");
  add("lost\t4\t2");
  add("end\t9\t20\tlimit reached");
  const Delivery delivery = reader_.delivery();
  EXPECT_EQ(delivery.holes, 2);
  EXPECT_NEAR(delivery.holes_s, 0.052, 1e-9);
  EXPECT_NEAR(delivery.longest_hole_s.value_or(0), 0.05, 1e-9);
  EXPECT_EQ(delivery.samples, 3);
  EXPECT_NEAR(delivery.sample_gap_max_s.value_or(0), 0.4, 1e-9);
  EXPECT_EQ(delivery.throttled, 2);
  EXPECT_EQ(delivery.wrong_results, 1);
  EXPECT_THAT(delivery.errors, testing::ElementsAre("1 + 1 is 3"));
  EXPECT_EQ(delivery.events_dropped, 4);
  EXPECT_TRUE(delivery.whole);
  EXPECT_EQ(reader_.end_reason(), "limit reached");
}

TEST_F(DeliveryReaderTest, EnginesOneBehindTheOtherAreSummedUpByTheirTime) {
  // 3 s of which 1 s is on; a pause of 7 s; 1 s that is on throughout, of another thread 0.
  for (const char* line :
       {"vorn-record\t1", "edge\t0\t0\ton", "time\t0\t0\t0", "sample\t0\t0",
        "edge\t1000000000\t1000000000\toff", "time\t3000000000\t0\t1000000000", "lost\t2\t0",
        "end\t3000000000\t0\twaveform over", "vorn-record\t1", "edge\t10000000000\t10000000000\ton",
        "sample\t10000000000\t0", "time\t10000000000\t0\t0", "time\t11000000000\t0\t1000000000",
        "lost\t3\t0"}) {
    add(line);
  }
  Delivery delivery = reader_.delivery();
  EXPECT_NEAR(delivery.duty_asked.value_or(0), 0.5, 1e-9);
  EXPECT_NEAR(delivery.duty_delivered.value_or(0), 0.5, 1e-9);
  EXPECT_FALSE(delivery.sample_gap_max_s);  // the pause is none
  EXPECT_EQ(delivery.events_dropped, 5);
  EXPECT_FALSE(delivery.whole);
  add("end\t11000000000\t0\twaveform over");
  EXPECT_TRUE(reader_.delivery().whole);
}

TEST_F(DeliveryReaderTest, ARecordWithoutItsEndMakesTheWholeCut) {
  add("vorn-record\t1");
  add("vorn-record\t1");
  add("end\t1\t0\twaveform over");
  EXPECT_FALSE(reader_.delivery().whole);
}

TEST_F(DeliveryReaderTest, AnEmptyRecordSaysNothing) {
  const Delivery delivery = reader_.delivery();
  EXPECT_FALSE(delivery.duty_asked);
  EXPECT_FALSE(delivery.skew_p99_us);
  EXPECT_FALSE(delivery.whole);
}

}  // namespace
}  // namespace lab
