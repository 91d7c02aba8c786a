#include "machines/linux/fans/calibration.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "support/machine/fan_fixture.h"

namespace linux_machine {
namespace {

class CalibrationTest : public testing::Test {
 protected:
  explicit CalibrationTest(std::vector<MovingFan> fans = FanFixture::two_fans())
      : bench_("nct6779", "5", std::move(fans)) {}

  sysfs::Result<std::optional<Curve>> measure() {
    bench_.new_run();
    const auto before = bench_.state();
    auto curve = measure_curve(bench_.surroundings.surroundings, *bench_.ledger,
                               bench_.control->channels()[0], {{FanFixture::kTemperature, 100}},
                               [this](double fraction, const std::string& text) {
                                 texts_ += text + '\n';
                                 EXPECT_GE(fraction, fraction_);
                                 EXPECT_LE(fraction, 1);
                                 fraction_ = fraction;
                                 if (at_progress_) {
                                   at_progress_();
                                 }
                               });
    EXPECT_EQ(bench_.state(), before);
    return curve;
  }
  void label(const std::string& text) {
    bench_.memory.put(FanFixture::attribute("fan1_label"), text, 0444);
  }
  /// Sees every pwm that the chip is given.
  void see_pwm() {
    bench_.memory.on_write(FanFixture::attribute("pwm1"), [this](std::string& text) {
      least_pwm_ = std::min(least_pwm_, std::stoi(text));
      return 0;
    });
  }

  FanFixture bench_;
  double fraction_ = 0;
  int least_pwm_ = 255;
  std::string texts_;
  std::function<void()> at_progress_;
};

TEST_F(CalibrationTest, FindsTheCurve) {
  const std::int64_t begin = bench_.surroundings.now_ns;
  const auto curve = measure();
  ASSERT_TRUE(curve) << curve.failure().message;
  const MovingFan fan = FanFixture::two_fans()[0];
  for (const int pwm : {255, 128, 64, 48, 32}) {
    EXPECT_NEAR((*curve)->rpm_at(pwm), fan.steady_rpm(pwm), 25) << pwm;
  }
  EXPECT_EQ((*curve)->lowest_pwm(), 32);
  EXPECT_TRUE((*curve)->can_stop());
  EXPECT_GE((*curve)->start_pwm(), fan.starts_from);
  EXPECT_DOUBLE_EQ(fraction_, 1);
  EXPECT_LT(bench_.surroundings.now_ns - begin, 180 * kNsPerS);
}

TEST_F(CalibrationTest, ItsCurveBringsAFanToItsTarget) {
  const auto curve = measure();
  ASSERT_TRUE(curve);
  ASSERT_TRUE(save_curve(bench_.surroundings.surroundings.curves_folder,
                         bench_.control->channels()[0],
                         curve_text(bench_.control->channels()[0], **curve)));
  bench_.new_run();
  ASSERT_TRUE(bench_.control->set_force_bits(1));
  for (const double target : {1700, 0, 900}) {
    ASSERT_TRUE(bench_.control->set_target_rpm(0, target));
    bench_.pass(12);
    EXPECT_NEAR(bench_.speed(1), target, 0.03 * target) << target;
  }
}

TEST_F(CalibrationTest, APumpIsNeverBroughtNearAStop) {
  label("AIO_PUMP");
  see_pwm();
  const auto curve = measure();
  ASSERT_TRUE(curve);
  EXPECT_FALSE((*curve)->can_stop());
  EXPECT_EQ((*curve)->lowest_pwm(), 102);
  EXPECT_GE(least_pwm_, 100);  // what it was found with
}

TEST_F(CalibrationTest, EndsNearTheCriticalTemperature) {
  at_progress_ = [this] {
    if (fraction_ > 0.2) {
      bench_.memory.put(FanFixture::kTemperature, "95000");
    }
  };
  const auto curve = measure();
  ASSERT_FALSE(curve);
  EXPECT_EQ(curve.failure().trouble, sysfs::Trouble::given_back);
  EXPECT_NE(curve.failure().message.find(FanFixture::kTemperature), std::string::npos);
}

TEST_F(CalibrationTest, AFanThatDoesNotTurnHasNoCurve) {
  bench_.moving.block(0, true);
  bench_.surroundings.now_ns += 60 * kNsPerS;
  bench_.new_run();
  const auto& fans = bench_.control->channels();
  const auto standing = measure_curve(bench_.surroundings.surroundings, *bench_.ledger, fans[1], {},
                                      [](double, const auto&) {});
  ASSERT_TRUE(standing) << standing.failure().message;
  EXPECT_FALSE(standing->has_value());
}

TEST_F(CalibrationTest, SaysThatAFanWithoutALabelIsStopped) {
  ASSERT_TRUE(measure());
  EXPECT_NE(texts_.find("without a label, it is stopped for a moment"), std::string::npos);
}

TEST_F(CalibrationTest, NeedsTheSuperuser) {
  bench_.surroundings.user = 1000;
  EXPECT_EQ(measure().failure().trouble, sysfs::Trouble::refused);
}

/// A fan on a plain supply: the chip's pwm is nothing to it.
TEST(Calibration, AFanThatIgnoresItsPwmIsNotControllable) {
  MemoryTree tree(
      "0444 devices/x/hwmon/hwmon0/name = it8728\n"
      "0444 devices/x/hwmon/hwmon0/fan1_input = 1152\n"
      "0644 devices/x/hwmon/hwmon0/pwm1 = 80\n"
      "0644 devices/x/hwmon/hwmon0/pwm1_enable = 2\n"
      "link class/hwmon/hwmon0 -> ../../devices/x/hwmon/hwmon0\n");
  const auto before = tree.snapshot();
  TestSurroundings surroundings(tree);
  Ledger ledger(surroundings.surroundings, "fans");
  const auto fans = find_fans(tree, {.measured = [](const auto&) { return Measured::not_yet; }});
  const auto curve =
      measure_curve(surroundings.surroundings, ledger, fans.at(0), {}, [](double, const auto&) {});
  ASSERT_FALSE(curve);
  EXPECT_EQ(curve.failure().trouble, sysfs::Trouble::unsupported);
  EXPECT_NE(curve.failure().message.find("not controllable"), std::string::npos);
  EXPECT_EQ(tree.snapshot(), before);
}

class NeverStoppingFanTest : public CalibrationTest {
 protected:
  static std::vector<MovingFan> fans() {
    std::vector<MovingFan> two = FanFixture::two_fans();
    two[0].stops_below = 0;
    two[0].floor_pwm = 40;
    return two;
  }
  NeverStoppingFanTest() : CalibrationTest(fans()) {}
};

TEST_F(NeverStoppingFanTest, IsFoundNotToStop) {
  const auto curve = measure();
  ASSERT_TRUE(curve) << curve.failure().message;
  EXPECT_FALSE((*curve)->can_stop());
  EXPECT_EQ((*curve)->lowest_pwm(), 8);
}

TEST_F(NeverStoppingFanTest, OnlyFailedReadsInARowCount) {
  bool stops = false;
  bench_.memory.on_write(FanFixture::attribute("pwm1"), [&](std::string& text) {
    stops = std::stoi(text) == 0;
    return 0;
  });
  int reads = 0;
  bench_.memory.on_read(FanFixture::attribute("fan1_input"), [&](const std::string& stored) {
    return MemoryTree::Answer{stored, stops && ++reads % 3 != 0 ? -EIO : 0};
  });
  const auto curve = measure();
  EXPECT_TRUE(curve) << curve.failure().message;
}

}  // namespace
}  // namespace linux_machine
