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
    ASSERT_TRUE(outcome.status == 0 || (!caught && outcome.signal == SIGINT)) << what;
    ended_in_order += outcome.status == 0 ? 1 : 0;
  }
  EXPECT_GE(ended_in_order, runs / 2) << "those that had started";
}

INSTANTIATE_TEST_SUITE_P(EveryMode, EngineSoak, testing::ValuesIn(kModes),
                         [](const auto& mode) { return std::string(mode.param.name); });

struct Edge {
  std::int64_t planned_ns;
  std::int64_t switched_ns;
};

/// The edges of a record that switch the load on.
std::vector<Edge> on_edges(const std::string& path) {
  std::vector<Edge> edges;
  for (const RecordLine& line : RecordReader(path).of("edge")) {
    if (line[3] == "on") {
      edges.push_back({std::stoll(line[1]), std::stoll(line[2])});
    }
  }
  return edges;
}

/// How far apart the switches of edges are that were planned together (to `together`), ascending.
std::vector<std::int64_t> apart(const std::vector<Edge>& first, const std::vector<Edge>& second,
                                std::int64_t together) {
  std::vector<std::int64_t> distances;
  for (auto a = first.begin(), b = second.begin(); a != first.end() && b != second.end();) {
    if (std::abs(a->planned_ns - b->planned_ns) <= together) {
      distances.push_back(std::abs(a++->switched_ns - b++->switched_ns));
    } else {
      a->planned_ns < b->planned_ns ? ++a : ++b;
    }
  }
  std::sort(distances.begin(), distances.end());
  return distances;
}

// One of them is stopped on the way, and comes back into phase; so does either after a moment in
// which a busy machine stands still.
TEST(TwoEngines, WithTheSameStartRunInPhase) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  if (std::thread::hardware_concurrency() < 2) {
    GTEST_SKIP() << "two processors are needed";
  }
  constexpr std::int64_t kTogether = 20000;  // ns: what reading two clocks may differ by
  const int seconds = runs_of_each_shape() >= 36 ? 60 : 15;   // a minute where there is time for it
  const auto edges = static_cast<std::size_t>(20 * seconds);  // at 20 Hz
  const OpenFolder folder;
  const double now =
      std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  char at[32];
  std::snprintf(at, sizeof at, "%.3f", now + 4.0);
  const auto one = [&](const char* processor) {
    return engine({"-w", "bspin", "-c", "1", "--pin", "-b", processor, "-f", "20", "--at", at, "-t",
                   std::to_string(seconds), "--record", folder.file(processor)});
  };
  Running first(one("0"));
  usleep(2000000);  // started seconds apart
  Running second(one("1"));
  usleep(7000000);
  second.send(SIGSTOP);
  usleep(333000);
  second.send(SIGCONT);
  const Outcome first_outcome = first.wait(90.0);
  const Outcome second_outcome = second.wait(90.0);
  ASSERT_EQ(first_outcome.status, 0) << first_outcome.err;
  ASSERT_EQ(second_outcome.status, 0) << second_outcome.err;
  const std::vector<Edge> a = on_edges(folder.file("0"));
  const std::vector<Edge> b = on_edges(folder.file("1"));
  const std::vector<std::int64_t> distances = apart(a, b, kTogether);
  ASSERT_FALSE(distances.empty()) << "no edge of the one was planned with one of the other";
  std::printf(
      "%zu and %zu edges, %zu planned together; switched %.1f us apart at the median, "
      "%.1f at p99\n",
      a.size(), b.size(), distances.size(),
      1e-3 * static_cast<double>(distances[distances.size() / 2]),
      1e-3 * static_cast<double>(distances[distances.size() * 99 / 100]));
  EXPECT_GT(distances.size(), edges * 9 / 10);
  EXPECT_LT(distances[distances.size() / 2], 1000000);
}

}  // namespace
