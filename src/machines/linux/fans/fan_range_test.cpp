#include "machines/linux/fans/fan_range.h"

#include <gtest/gtest.h>

#include "support/machine/fan_fixture.h"

namespace linux_machine {
namespace {

class FanRangeTest : public testing::Test {
 protected:
  FanRange range() {
    bench_.new_run();
    return {bench_.surroundings.surroundings, bench_.control->channels()[0]};
  }

  FanFixture bench_;
};

TEST_F(FanRangeTest, OfAFanThatWasNeverMeasuredIsNotKnown) {
  FanRange unknown = range();
  EXPECT_FALSE(unknown.lowest_rpm());
  EXPECT_FALSE(unknown.greatest_rpm());
  EXPECT_FALSE(unknown.is_below_curve(1));
  EXPECT_EQ(unknown.followed_to_rpm(), kMostRpm);
  unknown.set_measured(1800);
  EXPECT_EQ(unknown.greatest_rpm(), 1800);
  EXPECT_EQ(unknown.followed_to_rpm(), 1800);
  EXPECT_EQ(unknown.curve().greatest_rpm(), 1800);
  EXPECT_EQ(unknown.complaint(), "");
}

TEST_F(FanRangeTest, IsThatOfItsCurve) {
  bench_.save_true_curve(0, Curve::Stop::stops_and_starts);
  FanRange measured = range();
  const Curve curve = measured.curve();
  EXPECT_EQ(measured.lowest_rpm(), curve.lowest_rpm());
  EXPECT_EQ(measured.greatest_rpm(), curve.greatest_rpm());
  EXPECT_TRUE(measured.is_below_curve(curve.lowest_rpm() - 1));
  EXPECT_FALSE(measured.is_below_curve(curve.lowest_rpm()));
  measured.set_measured(9000);
  EXPECT_EQ(measured.greatest_rpm(), 9000);
  EXPECT_EQ(measured.followed_to_rpm(), curve.greatest_rpm());
}

TEST_F(FanRangeTest, SaysOnceWhatIsWrongWithItsFile) {
  bench_.save_true_curve(0, Curve::Stop::unproven);
  bench_.new_run();
  const FanChannel channel = bench_.control->channels()[0];
  const std::string& folder = bench_.surroundings.surroundings.curves_folder;
  save_curve(folder, channel, "no curve\n");
  FanRange damaged(bench_.surroundings.surroundings, channel);
  EXPECT_NE(damaged.complaint(), "");
  EXPECT_EQ(damaged.complaint(), "");
  EXPECT_FALSE(damaged.greatest_rpm());
}

}  // namespace
}  // namespace linux_machine
