#include "engine/waveforms/steered.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "engine/waveforms/shapes.h"
#include "engine/waveforms/waveform_error.h"

namespace engine {
namespace {

using What = Steering::What;

Steering duty(double value) {
  return {.what = What::duty, .hz = 0.0, .offset = value, .depth = 0.0};
}

const Steering kEnd{.what = What::end, .hz = 0.0, .offset = 0.0, .depth = 0.0};

struct PlayedEdge {
  std::int64_t at_ns;
  bool on;
  bool operator==(const PlayedEdge&) const = default;
};

/// Plays a steered waveform as the timing thread does, on a clock of its own.
class Player {
 public:
  explicit Player(double carrier_hz) : source(carrier_hz) { next_ = source.next_ns(); }

  /// Plays all edges up to `until_ns`, that instant included.
  void play_until(std::int64_t until_ns) {
    while (next_ && end_ns_ + *next_ <= until_ns) {
      static_cast<void>(source.ends_in_edge());  // as where the interval begins
      end_ns_ += *next_;
      const bool edge = source.ends_in_edge();
      next_ = source.next_ns();
      if (edge && next_) {
        on_ = !on_;
        edges.push_back({end_ns_, on_});
      }
      if (const auto effective = source.take_effective()) {
        effective_ns.push_back(end_ns_);
        effects.push_back(*effective);
      }
    }
  }

  bool over() const { return !next_; }

  SteeredSource source;
  std::vector<PlayedEdge> edges;
  std::vector<std::int64_t> effective_ns;
  std::vector<Steering> effects;

 private:
  std::optional<std::int64_t> next_;
  std::int64_t end_ns_ = 0;
  bool on_ = false;
};

/// The edges of periods with these duties, from period `first` on; the load is off before.
std::vector<PlayedEdge> edges_of_duties(double carrier_hz, std::uint64_t first,
                                        const std::vector<double>& duties) {
  const auto instant = [carrier_hz](long double periods) {
    return static_cast<std::int64_t>(
        std::llrint(periods * 1e9L / static_cast<long double>(carrier_hz)));
  };
  std::vector<PlayedEdge> edges;
  bool on = false;
  for (std::size_t i = 0; i < duties.size(); ++i) {
    const auto begin = static_cast<long double>(first + i);
    const std::int64_t on_end = instant(begin + static_cast<long double>(duties[i]));
    const bool begins_on = on_end > instant(begin);
    if (begins_on != on) {
      edges.push_back({instant(begin), begins_on});
    }
    on = begins_on && on_end == instant(begin + 1);
    if (begins_on && !on) {
      edges.push_back({on_end, false});
    }
  }
  return edges;
}

constexpr std::int64_t kMs = 1000000;

TEST(SteeredSource, IsOffUntilSomethingIsSaid) {
  Player player(50);
  player.play_until(10000 * kMs);
  EXPECT_TRUE(player.edges.empty());
  EXPECT_TRUE(player.effective_ns.empty());
  EXPECT_FALSE(player.over());
}

TEST(SteeredSource, BeginsWithWhatWasSaidLastBeforeItsBegin) {
  Player player(50);
  player.source.say(duty(0.9));
  player.source.say(duty(0.25));
  player.play_until(40 * kMs);
  EXPECT_EQ(
      player.edges,
      (std::vector<PlayedEdge>{
          {0, true}, {5 * kMs, false}, {20 * kMs, true}, {25 * kMs, false}, {40 * kMs, true}}));
  EXPECT_EQ(player.effective_ns, (std::vector<std::int64_t>{0}));
}

TEST(SteeredSource, FollowsAtTheNextPeriodWhetherTheLoadIsOnOrOff) {
  for (const std::int64_t said_ms : {2, 12}) {  // in the on part, and in the off part
    Player player(50);
    player.source.say(duty(0.5));
    player.play_until(said_ms * kMs);
    player.source.say(duty(0.25));
    player.play_until(25 * kMs);
    EXPECT_EQ(player.edges,
              (std::vector<PlayedEdge>{
                  {0, true}, {10 * kMs, false}, {20 * kMs, true}, {25 * kMs, false}}));
    EXPECT_EQ(player.effective_ns, (std::vector<std::int64_t>{0, 20 * kMs}));
    EXPECT_EQ(player.effects[1].offset, 0.25);
  }
}

TEST(SteeredSource, OfDutyZeroAndOneIsNotSwitched) {
  Player player(50);
  player.source.say(duty(1.0));
  player.play_until(1000 * kMs);
  EXPECT_EQ(player.edges, (std::vector<PlayedEdge>{{0, true}}));
  player.source.say(duty(0.0));
  player.play_until(3000 * kMs);
  EXPECT_EQ(player.edges, (std::vector<PlayedEdge>{{0, true}, {1020 * kMs, false}}));
}

TEST(SteeredSource, GoesBetweenEveryPairOfDutiesOnTheExactInstants) {
  constexpr double kCarrier = 333.3;  // no whole nanoseconds
  std::vector<double> duties;
  for (const double first : {0.0, 0.3, 1.0, 1e-12}) {
    for (const double second : {0.0, 0.7, 1.0, 1e-12}) {
      duties.insert(duties.end(), {first, second, second});
    }
  }
  Player player(kCarrier);
  std::uint64_t period = 0;
  for (const double value : duties) {
    player.source.say(duty(value));
    ++period;
    player.play_until(std::llrint(static_cast<long double>(period) * 1e9L / 333.3L) - 1000);
  }
  EXPECT_EQ(player.edges, edges_of_duties(kCarrier, 0, duties));
  EXPECT_EQ(player.effective_ns.size(), duties.size());
}

TEST(SteeredSource, KeepsItsPhaseToTheNanosecondOverAnHourOfChanges) {
  constexpr double kCarrier = 7.3;
  constexpr std::uint64_t kPeriods = 26000;
  Player player(kCarrier);
  std::vector<double> duties;
  for (std::uint64_t period = 0; period < kPeriods; ++period) {
    if (period % 97 == 0) {
      player.source.say(duty(static_cast<double>(period % 11) / 10.0));
    }
    duties.push_back(static_cast<double>(period / 97 * 97 % 11) / 10.0);
    const auto next = static_cast<long double>(period + 1);
    player.play_until(std::llrint(next * 1e9L / static_cast<long double>(kCarrier)) - 1000);
  }
  EXPECT_EQ(player.edges, edges_of_duties(kCarrier, 0, duties));
}

TEST(SteeredSource, SwingsFromItsLowestDutyAtThePeriodWhereItTakesEffect) {
  constexpr double kCarrier = 50;
  for (const What what : {What::sinusoid, What::triangle}) {
    Player player(kCarrier);
    player.play_until(65 * kMs);  // period 3; the swing begins with period 4
    player.source.say({.what = what, .hz = 2.0, .offset = 0.1, .depth = 0.8});
    player.play_until(2064 * kMs);
    // The same swing of a waveform that begins with it, four periods later.
    const ShapedDuty swing(what == What::sinusoid ? Shape::sinusoid : Shape::triangle, kCarrier,
                           2.0, 0.1, 0.8);
    std::vector<PlayedEdge> expected;
    for (std::uint64_t period = 0; period < 100; ++period) {
      const Slot slot = *swing.slot(period);
      expected.push_back({slot.begin + 80 * kMs, true});
      expected.push_back({slot.on_end + 80 * kMs, false});
    }
    while (!expected.empty() && expected.back().at_ns > 2064 * kMs) {
      expected.pop_back();
    }
    EXPECT_EQ(player.edges, expected);
    EXPECT_EQ(player.effective_ns, (std::vector<std::int64_t>{80 * kMs}));
  }
}

TEST(SteeredSource, OfASwingThatIsNoWholeNumberOfPeriodsKeepsTheCarrierAndTheFrequency) {
  constexpr double kCarrier = 50;
  Player player(kCarrier);
  player.source.say({.what = What::triangle, .hz = 0.3, .offset = 0.0, .depth = 1.0});
  std::vector<double> duties;
  for (int period = 0; period < 50 * 100; ++period) {
    const double phase = std::fmod(period * 0.3 / kCarrier, 1.0);
    duties.push_back(phase < 0.5 ? 2 * phase : 2 - 2 * phase);
  }
  player.play_until(99999 * kMs);
  const std::vector<PlayedEdge> expected = edges_of_duties(kCarrier, 0, duties);
  ASSERT_EQ(player.edges.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(player.edges[i].on, expected[i].on);
    EXPECT_NEAR(static_cast<double>(player.edges[i].at_ns - expected[i].at_ns), 0.0, 1.0) << i;
  }
}

TEST(SteeredSource, PlaysASumOfSinusoidsFromWhereItTookEffect) {
  constexpr double kCarrier = 61.7;
  Steering sines{.what = What::sines, .hz = 0.3, .offset = 0.4, .depth = 1.0};
  sines.sine_count = 2;
  sines.sines[0] = {0.3, 0.3, 20};
  sines.sines[1] = {1.7, 0.2, -130};
  Player player(kCarrier);
  player.source.say(duty(1.0));
  player.play_until(500 * kMs);
  player.source.say(sines);
  player.play_until(60000 * kMs);
  ASSERT_EQ(player.effective_ns.size(), 2U);
  const double first = std::round(static_cast<double>(player.effective_ns[1]) / 1e9 * kCarrier);
  std::vector<double> duties;
  for (int period = 0; period < static_cast<int>(60 * kCarrier) + 1; ++period) {
    constexpr double kTurn = 2 * 3.14159265358979323846;
    const double since_s = (period - first) / kCarrier;
    const double sum = 0.4 + 0.3 * std::cos(kTurn * (0.3 * since_s + 20.0 / 360)) +
                       0.2 * std::cos(kTurn * (1.7 * since_s - 130.0 / 360));
    duties.push_back(period < first ? 1.0 : std::min(std::max(sum, 0.0), 1.0));
  }
  std::vector<PlayedEdge> expected = edges_of_duties(kCarrier, 0, duties);
  while (expected.back().at_ns > 60000 * kMs) {
    expected.pop_back();
  }
  ASSERT_EQ(player.edges.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(player.edges[i].on, expected[i].on);
    EXPECT_NEAR(static_cast<double>(player.edges[i].at_ns - expected[i].at_ns), 0.0, 1.0) << i;
  }
}

TEST(SteeredSource, EndsAtTheBeginningOfThePeriodBehindTheWord) {
  Player player(50);
  player.source.say(duty(1.0));
  player.play_until(30 * kMs);
  player.source.say(kEnd);
  player.source.say(duty(1.0));  // replaces it, as nothing has been taken yet
  player.play_until(59 * kMs);
  EXPECT_FALSE(player.over());
  player.source.say(kEnd);
  player.play_until(59 * kMs);
  EXPECT_FALSE(player.over());
  player.play_until(60 * kMs);
  EXPECT_TRUE(player.over());
  EXPECT_EQ(player.edges, (std::vector<PlayedEdge>{{0, true}}));
}

TEST(SteeredSource, MayEndBeforeItHasBegun) {
  Player player(50);
  player.source.say(kEnd);
  player.play_until(0);
  EXPECT_TRUE(player.over());
  EXPECT_TRUE(player.edges.empty());
}

TEST(SteeredSource, TellsAnEdgeThatIsToComeFromOneThatIsNot) {
  SteeredSource source(50);
  source.say(duty(0.5));
  EXPECT_EQ(source.next_ns(), 0);
  EXPECT_FALSE(source.ends_in_edge());
  EXPECT_EQ(source.next_ns(), 0);
  EXPECT_TRUE(source.ends_in_edge());
  EXPECT_EQ(source.next_ns(), 10 * kMs);
  EXPECT_TRUE(source.ends_in_edge());
  EXPECT_EQ(source.next_ns(), 10 * kMs);
  EXPECT_TRUE(source.ends_in_edge());
  source.say(duty(0.0));
  EXPECT_FALSE(source.ends_in_edge());
  source.say(duty(1.0));  // between the question and the next interval: too late for this period
  EXPECT_EQ(source.next_ns(), 20 * kMs);
  EXPECT_TRUE(source.ends_in_edge());
}

TEST(SteeredSource, RefusesACarrierThatIsTooFast) {
  EXPECT_THROW(SteeredSource(2e6), WaveformError);
}

}  // namespace
}  // namespace engine
