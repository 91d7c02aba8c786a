#include "engine/phase_keeper.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <vector>

#include "support/milliseconds.h"
#include "vorn/edge_plan.h"

namespace engine {
namespace {

/// On and off for these times, over and over, `count` intervals in all.
class Pulses : public IntervalSource {
 public:
  Pulses(std::int64_t on_ns, std::int64_t off_ns, int count)
      : on_ns_(on_ns), off_ns_(off_ns), left_(count) {}
  std::optional<std::int64_t> next_ns() override {
    if (left_-- <= 0) {
      return std::nullopt;
    }
    on_ = !on_;
    return on_ ? on_ns_ : off_ns_;
  }

 private:
  std::int64_t on_ns_;
  std::int64_t off_ns_;
  int left_;
  bool on_ = false;
};

struct Edge {
  std::int64_t planned_ns;
  bool active;
};

/// Plays a source as the timing thread does. After the edge of each number in `stops` the process
/// stands still for as long as that says.
std::vector<Edge> play(IntervalSource& source, EdgeObserver& observer,
                       std::map<int, std::int64_t> stops) {
  constexpr std::int64_t kBegin = 5000 * kMs;
  EdgePlan plan(kBegin);
  std::int64_t now = kBegin;
  bool active = true;
  std::vector<Edge> edges = {{kBegin, active}};
  observer.switched(kBegin, now, active);
  std::optional<std::int64_t> interval = source.next_ns();
  while (interval) {
    now = std::max(now, plan.next(*interval, now)) + 20000;  // a wake-up
    const bool edge = source.ends_in_edge();
    const auto next = source.next_ns();
    if (!next) {
      break;
    }
    static_cast<void>(source.ends_in_edge());  // as where the interval begins
    interval = next;
    if (!edge) {
      observer.stayed(plan.planned_ns());
      continue;
    }
    active = !active;
    edges.push_back({plan.planned_ns(), active});
    observer.switched(plan.planned_ns(), now, active);
    now += stops[static_cast<int>(edges.size()) - 1];
  }
  return edges;
}

TEST(PhaseKeeper, ChangesNothingOfARunThatWasNotStopped) {
  Pulses plain(3 * kMs, 7 * kMs, 1000);
  PhaseKeeper keeper(plain);
  const std::vector<Edge> edges = play(keeper, keeper, {});
  ASSERT_EQ(edges.size(), 1000U);
  for (std::size_t i = 0; i < edges.size(); ++i) {
    const auto pairs = static_cast<std::int64_t>(i / 2);
    EXPECT_EQ(edges[i].planned_ns - edges[0].planned_ns, pairs * 10 * kMs + (i % 2 ? 3 * kMs : 0));
  }
}

/// Whether the edge lies where a waveform of 3 ms on and 7 ms off has one of its kind.
bool in_phase(const Edge& edge, const Edge& begin) {
  const std::int64_t in_period = (edge.planned_ns - begin.planned_ns) % (10 * kMs);
  return in_period == (edge.active ? 0 : 3 * kMs);
}

class Stopped : public testing::TestWithParam<std::int64_t> {};

TEST_P(Stopped, ComesBackToItsOwnTimeWithinAFewPeriods) {
  for (const int edge : {1, 2, 57, 58}) {
    Pulses pulses(3 * kMs, 7 * kMs, 400 + static_cast<int>(GetParam() / (5 * kMs)));
    PhaseKeeper keeper(pulses);
    const std::vector<Edge> edges = play(keeper, keeper, {{edge, GetParam()}});
    int out_of_phase = 0;
    for (std::size_t i = 0; i < edges.size(); ++i) {
      out_of_phase += in_phase(edges[i], edges[0]) ? 0 : 1;
    }
    EXPECT_LE(out_of_phase, 8) << "stopped after edge " << edge;
    ASSERT_GT(edges.size(), 200U);
    EXPECT_TRUE(in_phase(edges.back(), edges[0]));
  }
}

INSTANTIATE_TEST_SUITE_P(For, Stopped,
                         testing::Values(1 * kMs, 8 * kMs, 10 * kMs, 12345678, 50 * kMs, 1003 * kMs,
                                         3600000 * kMs),
                         [](const auto& stop) { return std::to_string(stop.param / 1000) + "Us"; });

constexpr std::array kDuties = {0.3, 0.3, 1.0, 1.0, 1.0, 0.3, 0.0, 0.0, 1.0, 0.0};  // over and over

/// Periods of 10 ms with these duties, `count` in all, on at first. Where a period is on or off
/// throughout, its ends are edges only if the periods beside it make them so.
class Steps : public IntervalSource {
 public:
  explicit Steps(std::size_t count) : count_(count) {}

  std::optional<std::int64_t> next_ns() override {
    if (in_off_part_) {
      in_off_part_ = false;
      ++period_;
      return 7 * kMs;
    }
    if (period_ == count_) {
      return std::nullopt;
    }
    in_off_part_ = duty() == 0.3;
    on_ = duty() > 0.0 && !in_off_part_;
    period_ += in_off_part_ ? 0 : 1;
    return in_off_part_ ? 3 * kMs : 10 * kMs;
  }

  bool ends_in_edge() override { return in_off_part_ || (duty() > 0.0) != on_; }

 private:
  double duty() const { return kDuties[period_ % kDuties.size()]; }

  std::size_t count_;
  std::size_t period_ = 0;  ///< that begins where the last interval ended, or whose on part it was
  bool in_off_part_ = false;  ///< the next interval is one
  bool on_ = false;           ///< at the end of the last interval
};

/// Whether a waveform of these steps has an edge of its kind there, 0 being its begin.
bool is_edge_of_steps(std::int64_t at_ns, bool active) {
  const auto period = static_cast<std::size_t>(at_ns / (10 * kMs));
  const double duty = kDuties[period % kDuties.size()];
  const double before = kDuties[(period + kDuties.size() - 1) % kDuties.size()];
  switch (at_ns % (10 * kMs)) {
    case 0:
      return active ? duty > 0.0 && before < 1.0 : duty == 0.0 && before == 1.0;
    case 3 * kMs:
      return !active && duty == 0.3;
    default:
      return false;
  }
}

TEST_P(Stopped, ComesBackInTheRightStateToAWaveformWithPeriodsThatEndWithoutEdges) {
  for (int edge = 1; edge < 30; ++edge) {
    Steps steps(400 + static_cast<std::size_t>(GetParam() / (10 * kMs)));
    PhaseKeeper keeper(steps);
    const std::vector<Edge> edges = play(keeper, keeper, {{edge, GetParam()}});
    ASSERT_GT(edges.size(), 200U);
    int out_of_phase = 0;
    for (std::size_t i = 1; i < edges.size(); ++i) {
      const std::int64_t at_ns = edges[i].planned_ns - edges[0].planned_ns;
      out_of_phase += is_edge_of_steps(at_ns, edges[i].active) ? 0 : 1;
    }
    EXPECT_LE(out_of_phase, 8) << "stopped after edge " << edge;
    EXPECT_TRUE(
        is_edge_of_steps(edges.back().planned_ns - edges[0].planned_ns, edges.back().active));
  }
}

TEST(PhaseKeeper, AWaveformThatEndedDuringAStopIsOver) {
  Pulses pulses(3 * kMs, 7 * kMs, 100);
  PhaseKeeper keeper(pulses);
  const std::vector<Edge> edges = play(keeper, keeper, {{10, 3600000 * kMs}});
  EXPECT_LE(edges.size(), 14U);
}

TEST(PhaseKeeper, TellsTheNextObserver) {
  struct Counter : EdgeObserver {
    void switched(std::int64_t, std::int64_t, bool) noexcept override { ++edges; }
    void stayed(std::int64_t) noexcept override { ++stays; }
    int edges = 0;
    int stays = 0;
  } counter;
  Steps steps(10);
  PhaseKeeper keeper(steps, &counter);
  play(keeper, keeper, {});
  EXPECT_EQ(counter.edges, 8);
  EXPECT_EQ(counter.stays, 5);
}

}  // namespace
}  // namespace engine
