#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <random>
#include <string>
#include <thread>

#include "program/samples.h"
#include "program/vorn_program.h"
#include "soak/moments.h"
#include "support/hold_ups.h"
#include "support/record_reader.h"

// The engine's modes, each ended at random moments; and two engines that begin together.

namespace {

using program::As;
using program::Outcome;
using program::Running;

program::Command engine(std::vector<std::string> arguments) {
  program::Command command = vorn(std::move(arguments));
  command.path = VORN_ENGINE_SIM_PROGRAM;
  command.called = "vorn-engine-sim";
  return command;
}

struct Mode {
  const char* name;
  std::vector<std::string> options;
};

std::ostream& operator<<(std::ostream& out, const Mode& mode) {
  return out << mode.name;
}

const Mode kModes[] = {
    {"Duty", {"-w", "bfma", "-f", "500", "--duty", "0.3"}},
    {"FullDuty", {"-w", "bint", "-f", "500", "--duty", "1"}},
    {"Swing", {"-w", "bspin", "-f", "2000", "-z", "7", "--offset", "0.2", "--depth", "0.5"}},
    {"Edges", {"-w", "bcache", "--edges", "EDGES", "--loop"}},
    {"EdgesOnce", {"-w", "bspin", "--edges", "EDGES"}},
    {"Profile", {"-w", "bspin", "-f", "500", "--profile", "PROFILE", "--loop"}},
    {"Pinned", {"-w", "fma", "--pin"}},
    {"Limited", {"-w", "int", "--limit", "TC0D=500", "--limit", "PC0C=5000"}},
    {"Recorded", {"-w", "bmix", "-f", "1000", "--record", "RECORD"}},
    {"RecordedSamples",
     {"-w", "bspin", "-f", "500", "-m", "-r", "500", "--header", "--record", "RECORD"}},
};

class EngineSoak : public testing::TestWithParam<Mode> {};

// A run that is ended once its handler is installed ends with status 0; before that, the signal
// may kill it. No run hangs.
TEST_P(EngineSoak, EndsAtAnyMoment) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  constexpr useconds_t kLatest = 150000;
  const OpenFolder folder;
  std::ofstream(folder.file("edges")) << "1000\n500\n100\n20000\n";
  std::ofstream(folder.file("profile")) << "lines\n0 0.1\n0.02 0.9\n0.05 0\n";
  std::vector<std::string> arguments = {"-c", "2", "-t", "1000"};
  for (std::string option : GetParam().options) {
    if (option == "EDGES" || option == "PROFILE" || option == "RECORD") {
      std::transform(option.begin(), option.end(), option.begin(), ::tolower);
      option = folder.file(option);
    }
    arguments.push_back(option);
  }
  std::mt19937 random(20061124);
  const int runs = runs_of_each_shape();
  int ended_in_order = 0;
  for (int run = 0; run < runs; ++run) {
    Running running(engine(arguments));
    const std::string moment = go_on(running, run % 2 == 0, random, kLatest);
    const bool caught = running.catches(SIGINT);
    running.send(SIGINT);
    const Outcome outcome = running.wait(100.0);
    const std::string what = "run " + std::to_string(run) + ", ended " + moment + ": signal " +
                             std::to_string(outcome.signal) + ", " + outcome.err;
    ASSERT_FALSE(outcome.timed_out) << what;
    // A machine that is busy leaves samples out, which the engine does not call a success.
    const bool left_out =
        outcome.status == 21 && outcome.err.find(" left out, ") != std::string::npos;
    const bool in_order = outcome.status == 0 || left_out;
    ASSERT_TRUE(in_order || (!caught && outcome.signal == SIGINT)) << what;
    ended_in_order += in_order ? 1 : 0;
  }
  EXPECT_GE(ended_in_order, runs / 2) << "those that had started";
}

INSTANTIATE_TEST_SUITE_P(EveryMode, EngineSoak, testing::ValuesIn(kModes),
                         [](const auto& mode) { return std::string(mode.param.name); });

struct Edge {
  std::int64_t planned_ns;
  std::int64_t switched_ns;
  std::int64_t entered_ns;  ///< the load's first burst after it; 0: none
};

/// The edges of a record that switch the load on, of one thread at 20 Hz.
std::vector<Edge> on_edges(const std::string& path) {
  constexpr std::int64_t kOnPhase = 25000000;  // ns
  constexpr std::int64_t kEarly = 1000000;     // a load that is not asleep yet sees the switch
  const RecordReader reader(path);
  std::vector<std::int64_t> entered;
  for (const RecordLine& line : reader.of("entered")) {
    entered.push_back(std::stoll(line[1]));
  }
  std::vector<Edge> edges;
  for (const RecordLine& line : reader.of("edge")) {
    if (line[3] == "on") {
      const std::int64_t planned = std::stoll(line[1]);
      const auto burst = std::lower_bound(entered.begin(), entered.end(), planned - kEarly);
      const bool followed = burst != entered.end() && *burst < planned + kOnPhase;
      edges.push_back({planned, std::stoll(line[2]), followed ? *burst : 0});
    }
  }
  return edges;
}

/// How far apart edges that were planned together (to `together`) were in `what`, ascending. Those
/// that one of the two has not are left out.
std::vector<std::int64_t> apart(const std::vector<Edge>& first, const std::vector<Edge>& second,
                                std::int64_t together, std::int64_t Edge::*what) {
  std::vector<std::int64_t> distances;
  for (auto a = first.begin(), b = second.begin(); a != first.end() && b != second.end();) {
    if (std::abs(a->planned_ns - b->planned_ns) <= together) {
      const std::int64_t of_a = *a++.*what;
      const std::int64_t of_b = *b++.*what;
      if (of_a != 0 && of_b != 0) {
        distances.push_back(std::abs(of_a - of_b));
      }
    } else {
      a->planned_ns < b->planned_ns ? ++a : ++b;
    }
  }
  std::sort(distances.begin(), distances.end());
  return distances;
}

/// Expects nearly all of `edges`, and half of them within a millisecond.
void expect_together(const char* what, const std::vector<std::int64_t>& distances,
                     std::size_t edges) {
  ASSERT_GT(distances.size(), edges * 9 / 10) << what;
  std::printf("%zu of those planned together were %s %.1f us apart at the median, %.1f at p99\n",
              distances.size(), what, 1e-3 * static_cast<double>(distances[distances.size() / 2]),
              1e-3 * static_cast<double>(distances[distances.size() * 99 / 100]));
  EXPECT_LT(distances[distances.size() / 2], 1000000) << what;
}

/// Two engines that have run: how they ended, and their on edges.
struct TwoRuns {
  Outcome first_outcome;
  Outcome second_outcome;
  std::vector<Edge> first;
  std::vector<Edge> second;
};

/// Two engines at 20 Hz, started a second apart with one start. The second is stopped on the way.
TwoRuns two_engines(int seconds) {
  const OpenFolder folder;
  const double now =
      std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  char at[32];
  std::snprintf(at, sizeof at, "%.3f", now + 2.0);
  const auto one = [&](const char* processor) {
    return engine({"-w", "bspin", "-c", "1", "--pin", "-b", processor, "-f", "20", "--at", at, "-t",
                   std::to_string(seconds), "--record", folder.file(processor)});
  };
  Running first(one("0"));
  usleep(1000000);
  Running second(one("1"));
  usleep(2000000);
  second.send(SIGSTOP);
  usleep(170000);  // three periods, and not a fourth
  second.send(SIGCONT);
  const Outcome first_outcome = first.wait(90.0);
  const Outcome second_outcome = second.wait(90.0);
  return {first_outcome, second_outcome, on_edges(folder.file("0")), on_edges(folder.file("1"))};
}

// The stopped one comes back into phase; so does either after a moment in which a busy machine
// stands still. A run with too many such moments, or one at its start, is repeated. One that never
// comes back has no more than a fifth of its edges in phase, which no such moment excuses.
TEST(TwoEngines, WithTheSameStartRunInPhase) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  if (std::thread::hardware_concurrency() < 2) {
    GTEST_SKIP() << "two processors are needed";
  }
  constexpr std::int64_t kTogether = 20000;  // ns: what reading two clocks may differ by
  constexpr double kStoodStill = 0.025;      // s: an on phase
  constexpr int kRuns = 3;
  constexpr int kStartMissed = 23;  // exit status of an engine that was held up at its start
  const int seconds = runs_of_each_shape() >= 36 ? 20 : 5;    // longer where there is time for it
  const auto edges = static_cast<std::size_t>(20 * seconds);  // at 20 Hz
  TwoRuns runs;
  std::vector<std::int64_t> switched;
  std::vector<std::int64_t> entered;
  double held_up = 1.0;
  bool whole = false;
  for (int run = 0; run < kRuns && held_up > kStoodStill && !whole; ++run) {
    const HoldUps hold_ups;
    const auto start = HoldUps::Clock::now();
    runs = two_engines(seconds);
    held_up = hold_ups.longest_since(start);
    switched = apart(runs.first, runs.second, kTogether, &Edge::switched_ns);
    entered = apart(runs.first, runs.second, kTogether, &Edge::entered_ns);
    for (const Outcome& outcome : {runs.first_outcome, runs.second_outcome}) {
      ASSERT_TRUE(outcome.status == 0 || outcome.status == kStartMissed) << outcome.err;
    }
    whole = runs.first_outcome.status == 0 && runs.second_outcome.status == 0 &&
            switched.size() > edges * 9 / 10 && entered.size() > edges * 9 / 10;
  }
  if (!whole && held_up > kStoodStill && entered.size() > edges / 2) {
    GTEST_SKIP() << "the machine stood still for " << held_up << " s, and in the runs before too";
  }
  EXPECT_EQ(runs.first_outcome.status, 0) << runs.first_outcome.err;
  EXPECT_EQ(runs.second_outcome.status, 0) << runs.second_outcome.err;
  expect_together("switched", switched, edges);
  expect_together("entered by the load", entered, edges);
}

}  // namespace
