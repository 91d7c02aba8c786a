#include "vorn/toggle_schedule.h"

#include <cmath>
#include <limits>
#include <tuple>

#include "support/settings_fixture.h"
#include "vorn/settings.h"

namespace {

using Times = std::vector<unsigned>;

class ToggleSchedule : public SettingsFixture {
 protected:
  Times times_;
  double slot_ = 0.0;

  void compute() { slot_ = toggle_times(times_); }

  double level(std::size_t i) const {
    return times_[2 * i] / (times_[2 * i] + static_cast<double>(times_[2 * i + 1]));
  }
};

TEST_F(ToggleSchedule, ASquareWaveIsTwoEqualHalves) {
  frequency = 1.0;
  compute();
  EXPECT_EQ(times_, (Times{500000, 500000}));
  EXPECT_EQ(slot_, 1.0);
}

TEST_F(ToggleSchedule, AppendsToWhatIsThere) {
  frequency = 1.0;
  times_ = {7};
  compute();
  EXPECT_EQ(times_, (Times{7, 500000, 500000}));
}

TEST_F(ToggleSchedule, ASinusoidStartsAtItsMinimumAndPeaksInTheMiddle) {
  frequency = 10.0;
  sinusoid = 1.0;
  compute();
  ASSERT_EQ(times_.size(), 20U);
  EXPECT_EQ((Times{times_[0], times_[1]}), (Times{0, 100000}));
  EXPECT_EQ((Times{times_[2], times_[3]}), (Times{9549, 90451}));
  EXPECT_EQ((Times{times_[10], times_[11]}), (Times{100000, 0}));
  EXPECT_DOUBLE_EQ(slot_, 0.1);
}

TEST_F(ToggleSchedule, ATriangleRisesAndFallsInEqualSteps) {
  frequency = 10.0;
  triangle = 1.0;
  compute();
  ASSERT_EQ(times_.size(), 20U);
  const std::vector<double> levels = {0, 0.2, 0.4, 0.6, 0.8, 1, 0.8, 0.6, 0.4, 0.2};
  for (std::size_t i = 0; i < levels.size(); ++i) {
    EXPECT_NEAR(level(i), levels[i], 1e-5) << i;
  }
}

TEST_F(ToggleSchedule, AWaveThatIsNoMultipleOfTheSlotStretchesTheSlot) {
  frequency = 10.0;
  triangle = 2.5;
  compute();
  EXPECT_EQ(times_, (Times{0, 100000, 50000, 50000, 100000, 0, 50000, 50000}));
  EXPECT_DOUBLE_EQ(slot_, 0.1);
}

TEST_F(ToggleSchedule, ATriangleOfAnOddNumberOfSlotsPeaksBetweenTwo) {
  frequency = 3.0;
  triangle = 1.0;
  compute();
  ASSERT_EQ(times_.size(), 6U);
  EXPECT_NEAR(level(1), 2.0 / 3.0, 1e-5);
  EXPECT_NEAR(level(2), 2.0 / 3.0, 1e-5);
}

TEST_F(ToggleSchedule, AWaveFasterThanThePwmIsASingleSlotAtLevelZero) {
  frequency = 10.0;
  sinusoid = 20.0;
  compute();
  EXPECT_EQ(times_, (Times{0, 50000}));
  EXPECT_DOUBLE_EQ(slot_, 0.05);
}

TEST_F(ToggleSchedule, TheSinusoidWinsOverTheTriangle) {
  frequency = 10.0;
  sinusoid = 1.0;
  triangle = 2.0;
  EXPECT_TRUE(using_pwm_sinusoid());
  EXPECT_FALSE(using_pwm_triangle());
  compute();
  EXPECT_EQ(times_.size(), 20U);
}

TEST_F(ToggleSchedule, ThereIsNoEnvelopeWithoutATimingThread) {
  sinusoid = 1.0;
  EXPECT_FALSE(using_pwm_sinusoid());
  sinusoid = 0.0;
  triangle = 1.0;
  EXPECT_FALSE(using_pwm_triangle());
}

// On and off are rounded each for itself: the sum misses the slot by a microsecond at most.
TEST_F(ToggleSchedule, EveryPairFillsItsSlotToTheMicrosecond) {
  frequency = 997.0;
  sinusoid = 1.0;
  compute();
  for (std::size_t i = 0; i + 1 < times_.size(); i += 2) {
    EXPECT_NEAR(times_[i] + times_[i + 1], 1e6 * slot_, 1.001) << i;
  }
}

TEST_F(ToggleSchedule, IntervalsSaturate) {
  frequency = 1e-12;
  compute();
  EXPECT_EQ(times_, (Times{4294967295U, 4294967295U}));
}

TEST_F(ToggleSchedule, AFrequencyBeyondTheMicrosecondHasIntervalsOfNoLength) {
  frequency = 1e6;
  compute();
  EXPECT_EQ(times_, (Times{0, 0}));
}

TEST_F(ToggleSchedule, TheCountIsThatOfTheIntervals) {
  for (const auto& [carrier, sine, ramp] :
       {std::tuple{10.0, 0.0, 0.0}, std::tuple{10.0, 1.0, 0.0}, std::tuple{10.0, 0.0, 0.3},
        std::tuple{1.0, 3.0, 0.0}}) {
    frequency = carrier;
    sinusoid = sine;
    triangle = ramp;
    std::vector<unsigned> times;
    toggle_times(times);
    EXPECT_EQ(toggle_count(), static_cast<double>(times.size()));
  }
}

// It may have millions of slots, and a run that ends while it is made must not wait for them.
TEST_F(ToggleSchedule, IsNotMadeFurtherOnceTheRunHasEnded) {
  params.terminate = true;
  frequency = 10.0;
  for (double* envelope : {&sinusoid, &triangle}) {
    *envelope = 1.0;
    std::vector<unsigned> times;
    toggle_times(times);
    EXPECT_EQ(times, Times{});
    *envelope = 0.0;
  }
}

TEST_F(ToggleSchedule, AWaveWithoutLengthHasNoIntervals) {
  frequency = 10.0;
  sinusoid = std::numeric_limits<double>::infinity();
  compute();
  EXPECT_EQ(times_, Times{});
  EXPECT_EQ(toggle_count(), 0.0);
  sinusoid = 0.0;
  triangle = std::numeric_limits<double>::infinity();
  EXPECT_EQ(toggle_count(), 0.0);
}

}  // namespace
