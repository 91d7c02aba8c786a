#include "lab/folder/sample_rows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace lab {
namespace {

constexpr std::int64_t kMs = 1'000'000;
constexpr std::int64_t kZero = 5'000'000'000;

class SampleRowsTest : public testing::Test {
 protected:
  SampleRowsTest() { record("setting\twaveform\tsteered"); }

  void record(const std::string& line) { rows_.add_record(RecordLine(line)); }

  static std::string at(std::int64_t ms) { return std::to_string(kZero + ms * kMs); }

  void sample(std::int64_t ms, double value) {
    record("sample\t" + at(ms) + "\t" + std::to_string(static_cast<double>(ms) / 1000));
    rows_.add_sample(std::to_string(static_cast<double>(ms) / 1000) + "\t" + std::to_string(value));
  }

  SampleRows rows_{{.zero_ns = std::nullopt, .first_phase = 0, .processors = 2}};
};

TEST_F(SampleRowsTest, AskedIsThePartOfTheTimeThatTheWaveformWasPlannedOn) {
  sample(0, 30);
  record("edge\t" + at(50) + "\t" + at(51) + "\ton");
  sample(100, 31);
  record("edge\t" + at(120) + "\t" + at(121) + "\toff");
  sample(200, 32);
  sample(300, 33);
  const std::vector<SampleRow> rows = rows_.take(true);
  ASSERT_EQ(rows.size(), 4U);
  EXPECT_TRUE(std::isnan(rows[0].asked));
  EXPECT_NEAR(rows[1].asked, 0.5, 1e-9);
  EXPECT_NEAR(rows[2].asked, 0.2, 1e-9);
  EXPECT_NEAR(rows[3].asked, 0, 1e-9);
  EXPECT_NEAR(rows[2].time_s, 0.2, 1e-9);
  EXPECT_THAT(rows[3].keys, testing::ElementsAre(33));
}

TEST_F(SampleRowsTest, FewerThreadsThanProcessorsAreAskedForLessThanAllOfTheirTime) {
  record("threads\t1");
  sample(0, 30);
  record("edge\t" + at(0) + "\t" + at(0) + "\ton");
  sample(100, 31);
  const std::vector<SampleRow> rows = rows_.take(true);
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[1].asked, 0.5);  // one of two processors
}

TEST_F(SampleRowsTest, MoreThreadsThanProcessorsAreAskedForAllOfTheirTime) {
  record("threads\t3");
  sample(0, 30);
  record("edge\t" + at(0) + "\t" + at(0) + "\ton");
  sample(100, 31);
  const std::vector<SampleRow> rows = rows_.take(true);
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[1].asked, 1);
}

TEST_F(SampleRowsTest, DeliveredIsTheThreadsTimeOverThatOfAllProcessors) {
  record("time\t" + at(0) + "\t0\t0");
  record("time\t" + at(0) + "\t1\t0");
  sample(0, 30);
  record("time\t" + at(100) + "\t0\t100000000");
  record("time\t" + at(200) + "\t1\t100000000");  // half of that in the first tenth
  sample(100, 31);
  const std::vector<SampleRow> rows = rows_.take(true);
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_NEAR(rows[1].delivered, 0.75, 1e-9);
}

TEST_F(SampleRowsTest, ARowIsHeldBackUntilItsRecordHasCome) {
  sample(0, 30);
  sample(100, 31);
  EXPECT_TRUE(rows_.take(false).empty());
  record("clock\t" + at(2050) + "\t0\t50");
  EXPECT_EQ(rows_.take(false).size(), 1U);
  record("clock\t" + at(2150) + "\t0\t50");
  EXPECT_EQ(rows_.take(false).size(), 1U);
}

TEST_F(SampleRowsTest, TheNewestSampleIsKnownAtOnce) {
  EXPECT_FALSE(rows_.newest());
  rows_.add_sample("# time\ts");
  EXPECT_FALSE(rows_.newest());
  sample(100, 31);
  ASSERT_TRUE(rows_.newest());
  EXPECT_NEAR(rows_.newest()->time_s, 0.1, 1e-9);
  EXPECT_TRUE(std::isnan(rows_.newest()->delivered));
}

TEST_F(SampleRowsTest, ALineThatTheDiskDidNotTakeDoesNotShiftTheOthers) {
  sample(0, 30);
  record("edge\t" + at(0) + "\t" + at(0) + "\ton");
  record("sample\t" + at(100) + "\t0.1");
  record("sample\t" + at(200) + "\t0.2");
  record("edge\t" + at(250) + "\t" + at(250) + "\toff");
  sample(300, 33);
  sample(400, 34);
  const std::vector<SampleRow> rows = rows_.take(true);
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_NEAR(rows[1].time_s, 0.3, 1e-9);
  EXPECT_NEAR(rows[1].asked, 250.0 / 300, 1e-9);  // since the row before
  EXPECT_THAT(rows[1].keys, testing::ElementsAre(33));
  EXPECT_NEAR(rows[2].time_s, 0.4, 1e-9);
  EXPECT_THAT(rows[2].keys, testing::ElementsAre(34));
}

TEST_F(SampleRowsTest, ALineThatTheRecordLacksWasTakenWhenItSays) {
  sample(0, 30);
  rows_.add_sample("0.1\t31");
  sample(200, 32);
  rows_.add_sample("0.3\t33");  // behind the end of a record that was cut short
  const std::vector<SampleRow> rows = rows_.take(true);
  ASSERT_EQ(rows.size(), 4U);
  EXPECT_NEAR(rows[1].time_s, 0.1, 1e-9);
  EXPECT_NEAR(rows[1].asked, 0, 1e-9);
  EXPECT_THAT(rows[2].keys, testing::ElementsAre(32));
  EXPECT_NEAR(rows[3].time_s, 0.3, 1e-9);
  EXPECT_TRUE(std::isnan(rows[3].asked));
  EXPECT_TRUE(std::isnan(rows[3].delivered));
}

TEST_F(SampleRowsTest, AWallClockThatIsSetBackLosesNoRow) {
  std::size_t rows = 0;
  for (int at = 0; at < 60; ++at) {
    const std::string seconds = std::to_string(at < 30 ? 0.1 * at : 0.1 * at - 1000);
    rows_.add_sample(seconds + "\t30");
    rows += rows_.take(false).size();  // before its record has come
    record("sample\t" + SampleRowsTest::at(100L * at) + "\t" + seconds);
    rows += rows_.take(false).size();
  }
  EXPECT_EQ(rows, 60U - 21);  // but those of the last two seconds
  EXPECT_EQ(rows_.take(true).size(), 21U);
}

TEST_F(SampleRowsTest, LinesArePairedBySixDigits) {
  record("sample\t" + at(0) + "\t1.2345678e-05");
  record("sample\t" + at(100) + "\t0.10000049");
  rows_.add_sample("1.23457e-05\t30");
  rows_.add_sample("0.1\t31");
  EXPECT_EQ(rows_.take(true).size(), 2U);
}

TEST_F(SampleRowsTest, PhasesCountTheChangesOfWhatIsAsked) {
  sample(0, 1);  // before the waveform begins
  record("asked\t" + at(50) + "\tduty\t0\t0\t0");
  sample(100, 1);
  record("asked\t" + at(150) + "\tduty\t0\t1\t0");
  sample(200, 1);
  const std::vector<SampleRow> rows = rows_.take(true);
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_EQ(rows[0].phase, 0);
  EXPECT_EQ(rows[1].phase, 0);
  EXPECT_EQ(rows[2].phase, 1);
}

TEST(SampleRowsOfALaterEngine, GoOnAtTheRunsTimeAndPhase) {
  SampleRows rows({.zero_ns = kZero, .first_phase = 3, .processors = 1});
  rows.add_record(RecordLine("sample\t" + std::to_string(kZero + 7'000'000'000) + "\t0"));
  rows.add_sample("0\t30");
  const std::vector<SampleRow> taken = rows.take(true);
  ASSERT_EQ(taken.size(), 1U);
  EXPECT_NEAR(taken[0].time_s, 7, 1e-9);
  EXPECT_EQ(taken[0].phase, 3);
  rows.add_sample("0.5\t31");
  EXPECT_NEAR(rows.newest()->time_s, 7.5, 1e-9);
}

TEST(SampleRowsWithoutAWaveform, AreAskedForAllFromWhenTheThreadsAreThere) {
  SampleRows rows({.zero_ns = std::nullopt, .first_phase = 0, .processors = 1});
  for (const char* line : {"sample\t1000\t0", "sample\t2000\t1", "thread\t0\t7\tmix\t-1\tfifo\t31",
                           "sample\t3000\t2"}) {
    rows.add_record(RecordLine(line));
  }
  for (const char* line : {"0\t30", "1\t30", "2\t30"}) {
    rows.add_sample(line);
  }
  const std::vector<SampleRow> taken = rows.take(true);
  ASSERT_EQ(taken.size(), 3U);
  EXPECT_EQ(taken[0].asked, 0);
  EXPECT_EQ(taken[2].asked, 1);
}

}  // namespace
}  // namespace lab
