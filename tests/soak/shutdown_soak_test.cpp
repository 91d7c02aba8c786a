#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <random>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "program/vorn_program.h"
#include "soak/moments.h"
#include "support/hold_ups.h"

// Runs of every shape, each ended at a random moment from its start on. A run that is ended once
// its handler is installed ends with status 0; before that, the signal may kill it. No run hangs.

namespace {

using program::As;
using program::Outcome;
using program::Running;

struct Waveform {
  const char* name;
  std::vector<std::string> options;
};

std::ostream& operator<<(std::ostream& out, const Waveform& waveform) {
  return out << waveform.name;
}

const Waveform kWaveforms[] = {
    {"None", {}},
    {"Square", {"-f", "5000"}},
    {"Sinusoid", {"-f", "5000", "-z", "7"}},
    {"Triangle", {"-f", "5000", "-e", "7"}},
    {"InvertedSquare", {"-f", "5000", "-i"}},
    {"InvertedSinusoid", {"-f", "5000", "-z", "7", "-i"}},
    {"NoLength", {"-f", "1000000"}},
};

enum class Ending { kInterrupt, kTwoInterrupts, kAlarm };

constexpr Ending kEndings[] = {Ending::kInterrupt, Ending::kTwoInterrupts, Ending::kAlarm};

constexpr double kHang = 100.0;                   // seconds
constexpr useconds_t kLatest = 60000;             // microseconds
constexpr useconds_t kPastTheHeadStart = 700000;  // of the monitor thread

/// Ends `running`. Returns whether it caught the signal for certain.
bool end(const Running& running, Ending ending) {
  const int signo = ending == Ending::kAlarm ? SIGALRM : SIGINT;  // sent as the timer sends it
  const bool caught = running.catches(signo);
  running.send(signo);
  if (ending == Ending::kTwoInterrupts) {
    running.send(SIGINT);
  }
  return caught;
}

/// Ends runs of `command` at random moments. What they print must match `printed`, whole.
void soak(const program::Command& command, const std::string& printed,
          useconds_t latest = kLatest) {
  const std::regex expected(printed);
  std::mt19937 random(20060824);
  const int runs = runs_of_each_shape();
  int ended_by_handler = 0;
  for (int run = 0; run < runs; ++run) {
    const Ending ending = kEndings[static_cast<unsigned>(run / 2) % std::size(kEndings)];
    Running running(command);
    const std::string moment = go_on(running, run % 2 == 0, random, latest);
    const bool caught = end(running, ending);
    const Outcome outcome = running.wait(kHang);
    const std::string what = "run " + std::to_string(run) + ", ended " + moment + ": signal " +
                             std::to_string(outcome.signal) + ", " + outcome.err;
    ASSERT_FALSE(outcome.timed_out) << what;
    if (caught) {
      ASSERT_EQ(outcome.status, 0) << what;
    } else {
      ASSERT_TRUE(outcome.status == 0 || outcome.signal == SIGINT || outcome.signal == SIGALRM)
          << what;
    }
    if (outcome.status == 0) {
      ASSERT_TRUE(std::regex_match(program::without_lateness(outcome.err), expected)) << what;
      ++ended_by_handler;
    }
  }
  EXPECT_GE(ended_by_handler, runs / 2) << "those that had started";
}

using Shape = std::tuple<std::string, std::string, Waveform>;  // workload, threads, waveform

class ShutdownSoak : public testing::TestWithParam<Shape> {};

TEST_P(ShutdownSoak, EndsAtAnyMoment) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const auto& [workload, threads, waveform] = GetParam();
  std::vector<std::string> arguments = {"-w", workload, "-c", threads, "-t", "1000"};
  arguments.insert(arguments.end(), waveform.options.begin(), waveform.options.end());
  const bool ignored = std::string(workload) == "spin" && !waveform.options.empty();
  soak(vorn(arguments), ignored ? "vorn: note: a waveform over \"spin\"[^\n]*\n" : "");
}

std::string name(const testing::TestParamInfo<Shape>& info) {
  const auto& [workload, threads, waveform] = info.param;
  return workload + "_" + threads + "_" + waveform.name;
}

INSTANTIATE_TEST_SUITE_P(EveryShape, ShutdownSoak,
                         testing::Combine(testing::Values("spin", "bspin"),
                                          testing::Values("1", "2", "16"),
                                          testing::ValuesIn(kWaveforms)),
                         name);

/// The same on the simulated machine, with everything that a controller and a plugin add.
struct SimulatedShape {
  const char* name;
  As as;
  std::vector<std::string> options;
  const char* printed;  ///< a regular expression
  useconds_t latest = kLatest;
};

std::ostream& operator<<(std::ostream& out, const SimulatedShape& shape) {
  return out << shape.name;
}

const char* const kNotice = "(vorn-sim: no right to fixed priorities[^\n]*\n)?";
const char* const kFansAndPState = "(Power balancing restored\n)?(Fans restored\n)+";

const SimulatedShape kSimulatedShapes[] = {
    {"Ordinary", As::kOrdinaryUser, {"-w", "bspin", "-f", "5000"}, kNotice},
    {"Sampling",
     As::kUserWithFixedPriority,
     {"-m", "-r", "500", "-w", "bspin", "-f", "5000"},
     "",
     kPastTheHeadStart},
    {"SamplingAlone", As::kUserWithFixedPriority, {"-m", "-r", "500"}, "", kPastTheHeadStart},
    {"Fans", As::kRoot, {"-s", "2000", "-w", "bspin", "-f", "5000"}, kFansAndPState},
    {"FansAlone", As::kRoot, {"-s", "2000", "-w", "spin"}, kFansAndPState},
    {"FanWave", As::kRoot, {"-s", "2000", "-F", "50", "-w", "bspin", "-f", "5000"}, kFansAndPState},
    {"FanWaveAndSampling",
     As::kRoot,
     {"-F", "50", "-m", "-r", "500"},
     kFansAndPState,
     kPastTheHeadStart},
};

class SimulatedSoak : public testing::TestWithParam<SimulatedShape> {};

TEST_P(SimulatedSoak, EndsAtAnyMoment) {
  const SimulatedShape& shape = GetParam();
  SKIP_UNLESS_MAY_RUN(shape.as);
  std::vector<std::string> arguments = {"-c", "2", "-t", "1000"};
  arguments.insert(arguments.end(), shape.options.begin(), shape.options.end());
  soak(vorn_sim(arguments, shape.as), shape.printed, shape.latest);
}

INSTANTIATE_TEST_SUITE_P(EveryShape, SimulatedSoak, testing::ValuesIn(kSimulatedShapes),
                         [](const auto& shape) { return std::string(shape.param.name); });

struct LoadShape {
  const char* name;
  std::vector<std::string> options;
};

std::ostream& operator<<(std::ostream& out, const LoadShape& shape) {
  return out << shape.name;
}

/// How long an ordinary thread takes here to begin and to end, in seconds.
double ordinary_thread_s() {
  const auto start = HoldUps::Clock::now();
  std::thread([] {}).join();
  return std::chrono::duration<double>(HoldUps::Clock::now() - start).count();
}

/// How long runs take from their signal to their end.
struct Latencies {
  std::vector<double> seconds;  ///< ascending, less what the machine held each run up
  double held_up = 0.0;         ///< for how long the machine held anything up meanwhile, at most

  double percentile99() const { return seconds[seconds.size() * 99 / 100 - 1]; }
};

Latencies measure(const program::Command& command, std::mt19937& random) {
  constexpr int kRuns = 100;
  const HoldUps hold_ups;
  Latencies latencies;
  for (int run = 0; run < kRuns; ++run) {
    Running running(command);
    EXPECT_TRUE(running.wait_until_catching());
    usleep(std::uniform_int_distribution<useconds_t>(10000, 60000)(random));
    const auto start = HoldUps::Clock::now();
    running.send(SIGINT);
    EXPECT_EQ(running.wait(kHang).status, 0);
    const double latency = std::chrono::duration<double>(HoldUps::Clock::now() - start).count();
    const double held_up = hold_ups.longest_since(start);
    latencies.seconds.push_back(std::max(0.0, latency - held_up));
    latencies.held_up = std::max({latencies.held_up, held_up, ordinary_thread_s()});
  }
  std::sort(latencies.seconds.begin(), latencies.seconds.end());
  std::printf("from SIGINT to the end: median %.1f ms, most %.1f ms, beside hold-ups of %.1f ms\n",
              1e3 * latencies.seconds[kRuns / 2], 1e3 * latencies.seconds.back(),
              1e3 * latencies.held_up);
  return latencies;
}

class ShutdownLatency : public testing::TestWithParam<LoadShape> {};

// At the 99th percentile. Measured again: one run in a hundred may meet the 50 ms that the kernel
// withholds from fixed priorities. Only if other programs held the machine up in each measurement
// does none of them tell.
TEST_P(ShutdownLatency, IsBelowFiftyMilliseconds) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  constexpr double kLimit = 0.050;
  constexpr double kQuiet = 0.010;
  constexpr int kMeasurements = 5;
  std::mt19937 random(20060824);
  const program::Command command = vorn(GetParam().options);
  bool quiet = false;
  for (int measurement = 0; measurement < kMeasurements; ++measurement) {
    const Latencies latencies = measure(command, random);
    if (latencies.percentile99() < kLimit) {
      return;
    }
    quiet = quiet || latencies.held_up <= kQuiet;
  }
  if (!quiet) {
    GTEST_SKIP() << "other programs held the machine up all the time";
  }
  FAIL() << "not below " << 1e3 * kLimit << " ms in any of " << kMeasurements << " measurements";
}

INSTANTIATE_TEST_SUITE_P(Runs, ShutdownLatency,
                         testing::Values(LoadShape{"TwoThreads", {"-c", "2"}},
                                         LoadShape{"SixtyFourThreads", {"-c", "64"}},
                                         LoadShape{"SixtyFourThreadsInAWave",
                                                   {"-c", "64", "-w", "bspin", "-f", "1000"}}),
                         [](const auto& shape) { return std::string(shape.param.name); });

}  // namespace
