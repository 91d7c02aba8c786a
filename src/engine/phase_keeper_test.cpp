#include "engine/phase_keeper.h"

#include <gtest/gtest.h>

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
    const auto next = source.next_ns();
    if (!next) {
      break;
    }
    active = !active;
    edges.push_back({plan.planned_ns(), active});
    observer.switched(plan.planned_ns(), now, active);
    now += stops[static_cast<int>(edges.size()) - 1];
    interval = next;
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

TEST(PhaseKeeper, AWaveformThatEndedDuringAStopIsOver) {
  Pulses pulses(3 * kMs, 7 * kMs, 100);
  PhaseKeeper keeper(pulses);
  const std::vector<Edge> edges = play(keeper, keeper, {{10, 3600000 * kMs}});
  EXPECT_LE(edges.size(), 14U);
}

TEST(PhaseKeeper, TellsTheNextObserver) {
  struct Counter : EdgeObserver {
    void switched(std::int64_t, std::int64_t, bool) noexcept override { ++edges; }
    int edges = 0;
  } counter;
  Pulses pulses(3 * kMs, 7 * kMs, 10);
  PhaseKeeper keeper(pulses, &counter);
  play(keeper, keeper, {});
  EXPECT_EQ(counter.edges, 10);
}

}  // namespace
}  // namespace engine
