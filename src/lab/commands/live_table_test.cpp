#include "lab/commands/live_table.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lab {
namespace {

SampleRow row(double time_s, double value) {
  return {.time_s = time_s, .phase = 1, .asked = 0, .delivered = 0, .keys = {value}};
}

class LiveTableTest : public testing::Test {
 protected:
  LiveTable table_{{{.name = "TC0D", .unit = "degC", .source = "die"}}};
};

TEST_F(LiveTableTest, ShowsTheNewestSampleOnce) {
  table_.add(row(0, 30), 0.1);
  table_.add(row(0, 30), 0.1);
  table_.add(row(0.1, 31), 0.2);
  const Table& table = table_.table();
  ASSERT_EQ(table.time_s.size(), 2U);
  EXPECT_EQ(table.find("TC0D")->values[1], 31);
  EXPECT_EQ(table.find("TC0D")->unit, "degC");
  EXPECT_EQ(table.find(kOthersColumn)->values[1], 0.2);
}

TEST_F(LiveTableTest, ShowsTheLoadAsFarAsItIsKnown) {
  table_.add(row(0, 30), 0);
  EXPECT_EQ(table_.load_age_s(), 0);
  table_.set_load(0, 1, 0.75);  // of one instant
  table_.add(row(0.1, 30), 0);
  const Column& delivered = *table_.table().find(kDeliveredColumn);
  const Column& asked = *table_.table().find(kAskedColumn);
  EXPECT_TRUE(std::isnan(asked.values[0]));
  EXPECT_EQ(asked.values[1], 1);
  EXPECT_TRUE(std::isnan(delivered.values[0]));
  EXPECT_EQ(delivered.values[1], 0.75);
  EXPECT_NEAR(table_.load_age_s(), 0.1, 1e-9);
}

TEST_F(LiveTableTest, DropsWhatIsOlderThanHours) {
  for (int index = 0; index < 100000; ++index) {
    table_.add(row(index * 0.1, 30), 0);
  }
  EXPECT_LE(table_.table().time_s.size(), 72000U);
  EXPECT_EQ(table_.table().time_s.size(), table_.table().columns[0].values.size());
  EXPECT_NEAR(table_.table().time_s.back(), 9999.9, 1e-6);
  EXPECT_EQ(table_.added(), 100000U);
  EXPECT_NEAR(table_.table().time_s[table_.row_of(90000)], 9000, 1e-6);  // however much is gone
  EXPECT_EQ(table_.row_of(0), 0U);
}

}  // namespace
}  // namespace lab
