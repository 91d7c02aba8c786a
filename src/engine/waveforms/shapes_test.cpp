#include "engine/waveforms/shapes.h"

#include <cmath>

#include "engine/waveforms/waveforms.h"
#include "support/edges_of.h"
#include "support/sanitized.h"
#include "support/settings_fixture.h"
#include "vorn/settings.h"
#include "vorn/toggle_schedule.h"

namespace {

std::string refusal(double carrier_hz, double duty) {
  try {
    constant_duty(carrier_hz, duty);
  } catch (const WaveformError& error) {
    return error.what();
  }
  return "none";
}

std::string swing_refusal(Swing swing) {
  try {
    sinusoid_duty(50, 1, swing);
  } catch (const WaveformError& error) {
    return error.what();
  }
  return "none";
}

TEST(ConstantDuty, IsOnForItsPartOfEachPeriod) {
  EXPECT_EQ(edges_of(*constant_duty(10, 0.3), 4),
            (std::vector<std::int64_t>{30000000, 100000000, 130000000, 200000000}));
}

TEST(ConstantDuty, KeepsItsPhaseToTheNanosecondForAnHour) {
  const auto edges = edges_of(*constant_duty(20, 1.0 / 3.0), std::size_t{2} * 20 * 3600);
  for (std::size_t i = 0; i < edges.size(); ++i) {
    const long double periods = static_cast<long double>(i / 2) + (i % 2 == 0 ? 1.0L / 3 : 1.0L);
    ASSERT_NEAR(static_cast<double>(edges[i] - std::llrint(periods * 5e7L)), 0.0, 1.0) << i;
  }
}

TEST(ConstantDuty, DoesNotDriftInTenMillionPeriodsThatAreNoWholeNanoseconds) {
  const auto source = constant_duty(3333.3, 0.1);
  std::int64_t at = 0;
  constexpr std::int64_t kPeriods = kSanitized ? 1000000 : 10000000;
  for (std::int64_t i = 1; i <= kPeriods; ++i) {
    at += *source->next_ns() + *source->next_ns();
    const long double ideal = static_cast<long double>(i) * 1e9L / static_cast<long double>(3333.3);
    ASSERT_LE(std::fabs(static_cast<long double>(at) - ideal), 0.5001L) << i;
  }
}

TEST(ConstantDuty, OfZeroIsSwitchedOffOnceAndNeverAgain) {
  const auto edges = edges_of(*constant_duty(50, 0), 2);
  EXPECT_EQ(edges[0], 0);
  EXPECT_GT(edges[1], 3000000000 * kSecond);
}

TEST(ConstantDuty, OfOneIsNeverSwitched) {
  EXPECT_GT(edges_of(*constant_duty(50, 1), 1)[0], 3000000000 * kSecond);
}

TEST(ConstantDuty, TooSmallForTheClockComesToItsEndlessSearchNowAndThen) {
  // 0.01 ns of 1 ms: an edge without effect, instead of a timing thread that searches for ever.
  const auto edges = edges_of(*constant_duty(1000, 1e-8), 3);
  EXPECT_EQ(edges[0], 0);
  EXPECT_EQ(edges[1], edges[2]);
}

TEST(ConstantDuty, RefusesWhatIsNoDutyAndNoFrequency) {
  EXPECT_EQ(refusal(50, 1.5), "a duty of 1.5: must be from 0 to 1");
  EXPECT_EQ(refusal(50, -0.1), "a duty of -0.1: must be from 0 to 1");
  EXPECT_EQ(refusal(50, std::nan("")), "a duty of nan: must be from 0 to 1");
  EXPECT_EQ(refusal(0, 0.5), "a carrier of 0 Hz: must be from 1e-06 to 1e+06 Hz");
  EXPECT_EQ(refusal(std::nan(""), 0.5), "a carrier of nan Hz: must be from 1e-06 to 1e+06 Hz");
  EXPECT_EQ(refusal(2e6, 0.5), "a carrier of 2e+06 Hz: must be from 1e-06 to 1e+06 Hz");
  EXPECT_EQ(refusal(1e6, 0.5), "none");
}

TEST(ShapedDuty, SwingsFromTheOffsetUpByTheDepth) {
  const auto edges = edges_of(*sinusoid_duty(100, 1, {.offset = 0.2, .depth = 0.5}), 400);
  for (std::int64_t slot = 0; slot < 100; ++slot) {
    const double level =
        0.2 + 0.5 * (0.5 - 0.5 * std::cos(2 * M_PI * static_cast<double>(slot) / 100));
    EXPECT_NEAR(
        static_cast<double>(on_time(edges, slot * kSecond / 100, (slot + 1) * kSecond / 100)),
        level * 1e7, 1.0);
  }
}

TEST(ShapedDuty, WithoutADepthSwingsUpToOne) {
  const auto edges = edges_of(*triangle_duty(10, 1, {.offset = 0.5}), 40);
  EXPECT_EQ(on_time(edges, 0, kSecond / 10), 50000000);
  EXPECT_EQ(on_time(edges, kSecond / 2, kSecond * 6 / 10), 100000000);
}

TEST(ShapedDuty, OfNoDepthIsAConstantOne) {
  EXPECT_EQ(edges_of(*triangle_duty(10, 1, {.offset = 0.5, .depth = 0.0}), 2),
            (std::vector<std::int64_t>{50000000, 100000000}));
}

TEST(ShapedDuty, KeepsItsPhaseThoughNoWaveIsAWholeNumberOfNanoseconds) {
  const auto source = sinusoid_duty(70, 7, {.offset = 0.1, .depth = 0.8});
  std::int64_t at = 0;
  for (int wave = 1; wave <= 100000; ++wave) {
    for (int edge = 0; edge < 20; ++edge) {
      at += *source->next_ns();
    }
    ASSERT_LE(std::fabs(static_cast<long double>(at) - static_cast<long double>(wave) * 1e9L / 7),
              0.51L);
  }
}

TEST(ShapedDuty, RefusesASwingBeyondZeroToOne) {
  EXPECT_EQ(swing_refusal({.offset = 0.5, .depth = 0.6}),
            "an offset with its depth of 1.1: must be from 0 to 1");
  EXPECT_EQ(swing_refusal({.offset = -0.5, .depth = 0.6}),
            "an offset of -0.5: must be from 0 to 1");
  EXPECT_EQ(swing_refusal({.offset = 0.5, .depth = -0.1}), "a depth of -0.1: must be from 0 to 1");
  EXPECT_EQ(swing_refusal({.offset = 0.5, .depth = 0.5}), "none");
}

struct Pair {
  double carrier_hz;
  double shape_hz;
};

class TheDriversShapes : public SettingsFixture {
 protected:
  /// Compares two waves of `source` with what the driver's own schedule has in each slot.
  static void expect_as_scheduled(IntervalSource& source) {
    std::vector<unsigned> times;
    const double slot_ns = toggle_times(times) * 1e9;
    const std::size_t slots = times.size() / 2;
    const auto edges = edges_of(source, 2 * times.size());
    for (std::size_t slot = 0; slot < 2 * slots - 1; ++slot) {
      const auto begin = static_cast<double>(slot) * slot_ns;
      const auto on = on_time(edges, std::llrint(begin), std::llrint(begin + slot_ns));
      EXPECT_NEAR(static_cast<double>(on), 1000.0 * times[2 * (slot % slots)], 502.0) << slot;
    }
  }
};

TEST_F(TheDriversShapes, AreTheEnginesWithoutDepthAndOffset) {
  for (const auto [carrier_hz, shape_hz] :
       {Pair{10, 1}, Pair{100, 1}, Pair{50, 3}, Pair{10, 2.5}, Pair{20, 7}, Pair{1000, 13.7}}) {
    frequency = carrier_hz;
    sinusoid = shape_hz;
    expect_as_scheduled(*sinusoid_duty(carrier_hz, shape_hz));
    sinusoid = 0;
    triangle = shape_hz;
    expect_as_scheduled(*triangle_duty(carrier_hz, shape_hz));
    triangle = 0;
  }
}

TEST_F(TheDriversShapes, AboveTheCarrierAreASingleSlotOfNoLoad) {
  const auto edges = edges_of(*sinusoid_duty(10, 20), 4);
  EXPECT_EQ(edges[0], 0);
  EXPECT_EQ(on_time(edges, 0, edges.back()), 0);
}

}  // namespace
