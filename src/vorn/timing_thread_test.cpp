#include "vorn/timing_thread.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <limits>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "Workload/gate.h"
#include "support/asleep.h"
#include "support/interruption.h"
#include "support/scripted_source.h"
#include "support/settings_fixture.h"
#include "vorn/clock.h"
#include "vorn/edge_observer.h"
#include "vorn/interval_source.h"
#include "vorn/run_sleep.h"
#include "vorn/settings.h"
#include "vorn/waveform.h"

namespace {

using std::chrono::milliseconds;

/// Waits until `condition` holds. False after ten seconds.
bool eventually(const std::function<bool()>& condition) {
  for (int tries = 0; tries < 10000; ++tries) {
    if (condition()) {
      return true;
    }
    std::this_thread::sleep_for(milliseconds(1));
  }
  return false;
}

class FixedStart : public WaveformStart {
 public:
  explicit FixedStart(std::int64_t ns) : ns_(ns) {}
  std::int64_t instant_ns() override { return ns_; }

 private:
  std::int64_t ns_;
};

class TimingThread : public SettingsFixture {
 protected:
  ~TimingThread() override { end(); }

  static void start() { ASSERT_EQ(spawn_timing(), 0); }

  static void end() {
    params.terminate = true;
    end_run_sleeps();
    timing_thread.join();
  }
};

TEST_F(TimingThread, SwitchesTheLoadAtTheEndOfEveryInterval) {
  frequency = 50.0;
  start();
  for (int period = 0; period < 3; ++period) {
    EXPECT_TRUE(eventually([] { return !params.active; }));
    EXPECT_TRUE(eventually([]() -> bool { return params.active; }));
  }
}

TEST_F(TimingThread, SpendsTheFirstIntervalInTheStateItStartsWith) {
  frequency = 0.5;
  params.active = false;
  start();
  std::this_thread::sleep_for(milliseconds(50));
  EXPECT_FALSE(params.active);
}

TEST_F(TimingThread, AnIntervalOfNoLengthIsOverAtOnce) {
  frequency = 0.1;
  sinusoid = 0.1;  // one slot of ten seconds, at level 0
  start();
  EXPECT_TRUE(eventually([] { return !params.active; }));
}

TEST_F(TimingThread, LeavesASleepWithoutSwitchingWhenTheRunEnds) {
  frequency = 0.01;
  start();
  std::this_thread::sleep_for(milliseconds(20));
  end();
  EXPECT_TRUE(params.active);
}

// Its test of `terminate` may lie before the end of the run, and its switch after.
TEST_F(TimingThread, DoesNotSwitchOnceTheRunHasEnded) {
  frequency = 1000.0;
  pthread_mutex_lock(&params.mutex);
  start();
  std::this_thread::sleep_for(milliseconds(100));  // it has tested, and waits for the lock
  params.terminate = true;
  params.active = true;
  pthread_mutex_unlock(&params.mutex);
  timing_thread.join();
  EXPECT_TRUE(params.active);
}

/// Counts edges, and those at the end of an interval that has a length.
class EdgeCount : public EdgeObserver {
 public:
  void switched(std::int64_t planned_ns, std::int64_t /*switched_ns*/,
                bool /*active*/) noexcept override {
    constexpr std::int64_t kStop = 20000000;  // the plan goes on from now where the machine stopped
    const std::int64_t length = planned_ns - last_ns_;
    with_length_ += edges_ != 0 && length != 0 && length < kStop ? 1 : 0;
    last_ns_ = planned_ns;
    ++edges_;
  }
  long edges() const { return edges_; }
  long with_length() const { return with_length_; }

 private:
  std::atomic<long> edges_{0};
  std::atomic<long> with_length_{0};
  std::int64_t last_ns_ = 0;
};

TEST_F(TimingThread, EndsAlthoughEveryIntervalHasNoLength) {
  EdgeCount count;
  waveform.observer = &count;
  frequency = 1e6;
  start();
  EXPECT_TRUE(eventually([&] { return count.edges() > 100000; }));
  end();
  EXPECT_EQ(count.with_length(), 0);
}

TEST_F(TimingThread, EndsAlthoughTheScheduleIsEmpty) {
  frequency = 10.0;
  sinusoid = std::numeric_limits<double>::infinity();
  start();
  std::this_thread::sleep_for(milliseconds(20));
  end();
}

TEST_F(TimingThread, SleepsOnWhenASignalInterruptsIt) {
  frequency = 0.01;
  start();
  std::this_thread::sleep_for(milliseconds(20));
  for (int i = 0; i < 10; ++i) {
    interrupt_every_thread();
  }
  std::this_thread::sleep_for(milliseconds(20));
  EXPECT_TRUE(params.active);
}

struct Edge {
  std::int64_t planned_ns;
  std::int64_t switched_ns;
  bool active;
};

class EdgeList : public EdgeObserver {
 public:
  EdgeList() { edges_.reserve(100); }
  void switched(std::int64_t planned_ns, std::int64_t switched_ns, bool active) noexcept override {
    edges_.push_back({planned_ns, switched_ns, active});
  }
  const std::vector<Edge>& edges() const { return edges_; }

 private:
  std::vector<Edge> edges_;
};

constexpr std::int64_t kMillisecond = 1000000;

/// Holds the timing thread up at one edge, as a machine does that has no processor for it.
class HoldUp : public EdgeList {
 public:
  HoldUp(std::size_t edge, milliseconds length) : edge_(edge), length_(length) {}
  void switched(std::int64_t planned_ns, std::int64_t switched_ns, bool active) noexcept override {
    EdgeList::switched(planned_ns, switched_ns, active);
    if (edges().size() == edge_ + 1) {
      std::this_thread::sleep_for(length_);
    }
  }

 private:
  std::size_t edge_;
  milliseconds length_;
};

/// A load that takes the clock each time that the gate lets it into an on phase.
class GateClock {
 public:
  GateClock() : thread_([this] { pass(); }) {}
  GateClock(const GateClock&) = delete;
  GateClock& operator=(const GateClock&) = delete;
  ~GateClock() { passed(); }

  /// When it passed, in an on phase of its own each time. Requires: the run has ended.
  const std::vector<std::int64_t>& passed() {
    if (thread_.joinable()) {
      release_waiters(&params);
      thread_.join();
    }
    return passed_ns_;
  }

 private:
  void pass() {
    for (;;) {
      wait_until_active(&params);
      const std::int64_t at_ns = monotonic_ns();
      if (params.terminate) {
        return;
      }
      passed_ns_.push_back(at_ns);
      while (params.active && !params.terminate) {
        std::this_thread::yield();
      }
    }
  }

  std::vector<std::int64_t> passed_ns_;
  std::thread thread_;
};

/// Expects that nobody passed before the edge that let him: the n-th passing is in the n-th on
/// phase, or in a later one if the thread was held up.
void expect_no_passing_before_its_edge(const std::vector<std::int64_t>& passed_ns,
                                       const std::vector<Edge>& edges) {
  auto edge = edges.begin();
  for (const std::int64_t at_ns : passed_ns) {
    edge = std::find_if(edge, edges.end(), [](const Edge& one) { return one.active; });
    ASSERT_NE(edge, edges.end());
    EXPECT_GE(at_ns, edge->planned_ns);
    ++edge;
  }
}

class SourcePlayed : public TimingThread {
 protected:
  /// Plays `intervals` to their end. Returns the edges.
  std::vector<Edge> play(std::vector<std::int64_t> intervals) {
    EdgeList list;
    return play(std::move(intervals), list);
  }

  /// The same with an observer of the caller's.
  std::vector<Edge> play(std::vector<std::int64_t> intervals, EdgeList& list) {
    ScriptedSource source(std::move(intervals));
    return play(source, list);
  }

  std::vector<Edge> play(IntervalSource& source, EdgeList& list) {
    waveform.source = &source;
    waveform.observer = &list;
    sigset_t interrupt;  // by which the thread ends the run
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &interrupt, &before);
    std::optional<GateClock> load;
    if (!params.active) {
      load.emplace();
    }
    start();
    if (waveform.start != nullptr && !load) {
      load.emplace();
    }
    int signo = 0;
    sigwait(&interrupt, &signo);
    left_active_ = params.active;
    end();
    passed_ns_ = load ? load->passed() : std::vector<std::int64_t>{};
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return list.edges();
  }

  /// Plays `intervals`, which begin off, over and over, and looks at when the load began.
  void expect_no_passing_before_its_edge_in(const std::vector<std::int64_t>& intervals) {
    std::size_t passed = 0;
    for (int times = 0; times < kTimes; ++times) {
      params.terminate = false;
      params.active = false;
      const std::vector<Edge> edges = play(intervals);
      expect_no_passing_before_its_edge(passed_ns_, edges);
      passed += passed_ns_.size();
    }
    EXPECT_GT(passed, 0U);
  }

  static constexpr int kTimes = 20;  // a thread that wakes late hides an edge that is early

  bool left_active_ = false;
  std::vector<std::int64_t> passed_ns_;  // by a load that began off; of the last play()
};

TEST_F(SourcePlayed, EndsTheRunWithItsLastInterval) {
  const std::vector<Edge> edges = play({3 * kMillisecond, 2 * kMillisecond});
  ASSERT_EQ(edges.size(), 2U);  // the beginning, and the end of the first interval
  EXPECT_TRUE(edges[0].active);
  EXPECT_FALSE(edges[1].active);
  EXPECT_FALSE(left_active_);
}

TEST_F(SourcePlayed, WithoutIntervalsEndsTheRunAtOnce) {
  EXPECT_EQ(play({}).size(), 1U);
}

TEST_F(SourcePlayed, LetsNoLoadPassBeforeItsEdge) {
  expect_no_passing_before_its_edge_in(std::vector<std::int64_t>(50, kMillisecond));
}

TEST_F(SourcePlayed, LetsNoLoadPassBeforeTheFirstEdgeOfAWaveformThatBeginsOff) {
  expect_no_passing_before_its_edge_in({5 * kMillisecond, kMillisecond});
}

TEST_F(SourcePlayed, SwitchesInPassingWhereAnIntervalHasNoLength) {
  const std::vector<Edge> edges = play({0, 5 * kMillisecond, 0, kMillisecond});
  ASSERT_EQ(edges.size(), 4U);
  EXPECT_FALSE(edges[1].active);
  EXPECT_EQ(edges[1].planned_ns, edges[0].planned_ns);
  EXPECT_TRUE(edges[2].active);
  EXPECT_FALSE(edges[3].active);
  EXPECT_EQ(edges[3].planned_ns, edges[2].planned_ns);
}

TEST_F(SourcePlayed, KeepsItsPlanThroughAHoleOfSomeIntervals) {
  const std::vector<std::int64_t> intervals(30, kMillisecond);
  for (int times = 0; times < kTimes; ++times) {
    params.terminate = false;
    HoldUp hold_up(5, milliseconds(7));
    const std::vector<Edge> edges = play(intervals, hold_up);
    ASSERT_EQ(edges.size(), intervals.size());
    const std::int64_t planned = edges.back().planned_ns - edges.front().planned_ns;
    const auto late = std::find_if(edges.begin(), edges.end(), [](const Edge& edge) {
      return edge.switched_ns - edge.planned_ns > 15 * kMillisecond;
    });
    // The plan may have moved by the time of the edge behind a stop.
    const auto stop =
        std::adjacent_find(edges.begin(), edges.end(), [](const Edge& one, const Edge& next) {
          return next.switched_ns - one.switched_ns > 15 * kMillisecond;
        });
    if (late == edges.end() && stop == edges.end()) {
      EXPECT_EQ(planned, static_cast<std::int64_t>(intervals.size() - 1) * kMillisecond);
      return;
    }
  }
  GTEST_SKIP() << "the machine stopped in every one of " << kTimes << " runs";
}

TEST_F(SourcePlayed, WakesTheLoadAfterAHoleAlthoughAnIntervalOfNoLengthFollows) {
  params.active = false;
  HoldUp hold_up(2, milliseconds(8));
  play({kMillisecond, kMillisecond, 5 * kMillisecond, kMillisecond, 0, 200 * kMillisecond},
       hold_up);
  ASSERT_FALSE(passed_ns_.empty());
  EXPECT_GE(passed_ns_.back(), hold_up.edges().back().planned_ns);
}

TEST_F(SourcePlayed, IsOffUntilTheInstantAtWhichItBegins) {
  for (int times = 0; times < kTimes; ++times) {
    params.terminate = false;
    params.active = true;
    const std::int64_t begin = monotonic_ns() + 30 * kMillisecond;
    FixedStart start(begin);
    waveform.start = &start;
    const std::vector<Edge> edges = play({2 * kMillisecond, kMillisecond});
    ASSERT_EQ(edges.size(), 2U);
    EXPECT_EQ(edges[0].planned_ns, begin);
    EXPECT_TRUE(edges[0].active);
    expect_no_passing_before_its_edge(passed_ns_, edges);
  }
}

TEST_F(SourcePlayed, BeginsAtOnceAtAnInstantBeforeTheMachineWasStarted) {
  FixedStart start(-kMillisecond);
  waveform.start = &start;
  EXPECT_EQ(play({2 * kMillisecond, kMillisecond}).size(), 2U);
}

TEST_F(SourcePlayed, BeginsOffAtItsInstantIfInverted) {
  params.active = false;
  FixedStart start(monotonic_ns() + 5 * kMillisecond);
  waveform.start = &start;
  const std::vector<Edge> edges = play({kMillisecond, kMillisecond});
  ASSERT_EQ(edges.size(), 2U);
  EXPECT_FALSE(edges[0].active);
  EXPECT_TRUE(edges[1].active);
}

TEST_F(SourcePlayed, IsOffFromBeforeTheThreadRuns) {
  ScriptedSource source({kMillisecond});
  waveform.source = &source;
  FixedStart in_an_hour(monotonic_ns() + 3600000 * kMillisecond);
  waveform.start = &in_an_hour;
  start();
  EXPECT_FALSE(params.active);
  end();
}

/// Notes where intervals ended without an edge.
class StayList : public EdgeList {
 public:
  StayList() { stays_.reserve(100); }
  void stayed(std::int64_t planned_ns) noexcept override { stays_.push_back(planned_ns); }
  const std::vector<std::int64_t>& stays() const { return stays_; }

 private:
  std::vector<std::int64_t> stays_;
};

TEST_F(SourcePlayed, SleepsAnIntervalWithoutAnEdgeOutAndStaysAsItIs) {
  for (const bool active : {true, false}) {
    for (int times = 0; times < kTimes; ++times) {
      params.terminate = false;
      params.active = active;
      ScriptedSource source({3 * kMillisecond, 4 * kMillisecond, 5 * kMillisecond, kMillisecond});
      source.tell_edges([](std::size_t interval) { return interval == 2; });
      StayList list;
      const std::vector<Edge> edges = play(source, list);
      ASSERT_EQ(edges.size(), 2U);
      EXPECT_EQ(edges[1].active, !active);
      ASSERT_EQ(list.stays().size(), 2U);
      const std::int64_t begin = edges[0].planned_ns;
      if (edges[1].planned_ns != begin + 12 * kMillisecond) {
        continue;  // the machine stopped for longer than a wake-up takes
      }
      EXPECT_EQ(list.stays()[0], begin + 3 * kMillisecond);
      EXPECT_EQ(list.stays()[1], begin + 7 * kMillisecond);
      return;
    }
  }
  GTEST_SKIP() << "the machine stopped in every one of " << kTimes << " runs";
}

// Behind an interval without an edge, the load is off for another one: whether that ends in an edge
// is known when it begins, or at its end.
TEST_F(SourcePlayed, LetsNoLoadPassBeforeAnEdgeBehindAnIntervalWithoutOne) {
  for (const bool expected : {true, false}) {
    std::size_t passed = 0;
    for (int times = 0; times < kTimes; ++times) {
      params.terminate = false;
      params.active = false;
      ScriptedSource source(std::vector<std::int64_t>(90, kMillisecond));
      std::size_t asked = 0;
      source.tell_edges([&](std::size_t interval) {
        const bool at_its_end = std::exchange(asked, interval) == interval;
        return interval % 3 == 2 || (interval % 3 == 1 && (expected || at_its_end));
      });
      EdgeList list;
      const std::vector<Edge> edges = play(source, list);
      ASSERT_EQ(edges.size(), 60U);
      expect_no_passing_before_its_edge(passed_ns_, edges);
      passed += passed_ns_.size();
    }
    EXPECT_GT(passed, 0U);
  }
}

TEST_F(SourcePlayed, WakesTheLoadAtTheEndOfAnIntervalOfNoLengthBehindOneWithoutAnEdge) {
  std::size_t passed = 0;
  for (int times = 0; times < kTimes; ++times) {
    params.terminate = false;
    params.active = false;
    FixedStart start(monotonic_ns() + 30 * kMillisecond);
    waveform.start = &start;
    ScriptedSource source({0, 0, 20 * kMillisecond});
    int asked = 0;
    source.tell_edges([&asked](std::size_t interval) {
      return interval == 1 && ++asked == 2;  // nobody was told of it
    });
    EdgeList list;
    const std::vector<Edge> edges = play(source, list);
    ASSERT_EQ(edges.size(), 2U);
    EXPECT_EQ(edges[1].planned_ns, edges[0].planned_ns);
    expect_no_passing_before_its_edge(passed_ns_, edges);
    passed += passed_ns_.size();
  }
  EXPECT_GT(passed, 0U);
}

// Those who wait were told of the edge when the load was switched off, and would look for it.
TEST_F(SourcePlayed, LeavesTheLoadAsleepIfAnEdgeThatWasExpectedDoesNotCome) {
  params.active = false;
  ScriptedSource source(
      {3 * kMillisecond, 3 * kMillisecond, 3 * kMillisecond, 30 * kMillisecond, kMillisecond});
  int asked = 0;
  source.tell_edges([&asked](std::size_t interval) {
    return interval < 2 || (interval == 2 && ++asked == 1) || interval == 4;
  });
  StayList list;
  const std::vector<Edge> edges = play(source, list);
  ASSERT_EQ(edges.size(), 3U);  // the beginning, on and off
  EXPECT_EQ(list.stays().size(), 2U);
  EXPECT_LE(passed_ns_.size(), 1U);
  expect_no_passing_before_its_edge(passed_ns_, edges);
}

TEST_F(SourcePlayed, WakesTheLoadThatWasSwitchedOnInPassingIfItStaysOn) {
  params.active = false;
  HoldUp hold_up(2, milliseconds(8));
  ScriptedSource source({kMillisecond, kMillisecond, 5 * kMillisecond, kMillisecond,
                         kMillisecond / 2, 200 * kMillisecond});
  source.tell_edges([](std::size_t interval) { return interval < 3; });
  play(source, hold_up);
  ASSERT_FALSE(passed_ns_.empty());
  EXPECT_GE(passed_ns_.back(), hold_up.edges().back().planned_ns);
}

using TimingThreadDeathTest = TimingThread;

TEST_F(TimingThreadDeathTest, NeedsAFrequency) {
  EXPECT_DEATH(spawn_timing(),
               "Assertion failed: \\(using_timing_thread\\(\\)\\), function spawn_timing, "
               "file src/vorn\\.");
}

/// A load that passes the gate once.
class Passer {
 public:
  Passer()
      : thread_([this] {
          task_ = static_cast<pid_t>(syscall(SYS_gettid));
          wait_until_active(&params);
          passed_ = !params.terminate;
        }) {
    while (task_ == 0 || !asleep(task_)) {
      std::this_thread::yield();
    }
  }
  Passer(const Passer&) = delete;
  Passer& operator=(const Passer&) = delete;
  ~Passer() {
    release_waiters(&params);
    thread_.join();
  }

  /// Whether it has passed before the end of the run.
  bool passed() const { return passed_; }

 private:
  std::atomic<pid_t> task_{0};
  std::atomic<bool> passed_{false};
  std::thread thread_;
};

// That it is one is known at its instant alone, so nobody sleeps until then by a timer of his own.
TEST_F(SourcePlayed, WakesEveryLoadAtAnEdgeThatNobodyExpected) {
  params.active = false;
  ScriptedSource source({20 * kMillisecond, 3600000 * kMillisecond});
  bool asked = false;
  source.tell_edges([&](std::size_t) { return std::exchange(asked, true); });
  waveform.source = &source;
  const Passer first;
  const Passer second;
  start();
  EXPECT_TRUE(eventually([&] { return first.passed() && second.passed(); }));
  end();
}

/// An instant an hour away, until it has been asked for once; then a soon one.
class MovingStart : public WaveformStart {
 public:
  std::int64_t instant_ns() override {
    if (++asked_ == 1) {
      return begin_ns_ + 3600000 * kMillisecond;
    }
    return soon_ns();
  }
  std::int64_t soon_ns() const { return begin_ns_ + 1100 * kMillisecond; }

 private:
  std::int64_t begin_ns_ = monotonic_ns();
  int asked_ = 0;
};

TEST_F(SourcePlayed, BeginsAtAnInstantThatWasMovedWhileItWasAwaited) {
  MovingStart start;
  waveform.start = &start;
  const std::vector<Edge> edges = play({2 * kMillisecond, kMillisecond});
  ASSERT_EQ(edges.size(), 2U);
  EXPECT_EQ(edges[0].planned_ns, start.soon_ns());
  expect_no_passing_before_its_edge(passed_ns_, edges);
}

}  // namespace
