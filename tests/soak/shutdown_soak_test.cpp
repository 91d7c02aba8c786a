#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "program/vorn_program.h"

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

constexpr int kRunsOfEachShape = 54;              // 42 shapes: 2,268 runs
constexpr double kHang = 20.0;                    // seconds
constexpr useconds_t kLatest = 60000;             // microseconds
constexpr useconds_t kPastTheHeadStart = 700000;  // of the monitor thread

/// A moment to end a run at, in microseconds: half of them while it starts.
useconds_t random_moment(std::mt19937& random, useconds_t latest) {
  const bool while_starting = std::bernoulli_distribution(0.5)(random);
  return std::uniform_int_distribution<useconds_t>(0, while_starting ? 4000 : latest)(random);
}

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
  int ended_by_handler = 0;
  for (int run = 0; run < kRunsOfEachShape; ++run) {
    const Ending ending = kEndings[static_cast<unsigned>(run) % std::size(kEndings)];
    const useconds_t moment = random_moment(random, latest);
    Running running(command);
    usleep(moment);
    const bool caught = end(running, ending);
    const Outcome outcome = running.wait(kHang);
    const std::string what = "run " + std::to_string(run) + ", ended after " +
                             std::to_string(moment) + " us: signal " +
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
  EXPECT_GT(ended_by_handler, kRunsOfEachShape / 4) << "too few runs got as far as their handler";
}

using Shape = std::tuple<const char*, const char*, Waveform>;  // workload, threads, waveform

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
  return std::string(workload) + "_" + threads + "_" + waveform.name;
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

/// How long a run takes from its signal to its end, at the 99th percentile.
class ShutdownLatency : public testing::TestWithParam<std::vector<std::string>> {};

// The bound holds on a machine whose kernel withholds every processor from fixed priorities for
// 50 ms of each second: one run in twenty meets that.
TEST_P(ShutdownLatency, IsBelowFiftyMilliseconds) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  constexpr int kRuns = 200;
  std::mt19937 random(20060824);
  std::vector<double> latencies;
  for (int run = 0; run < kRuns; ++run) {
    Running running(vorn(GetParam()));
    ASSERT_TRUE(running.wait_until_catching());
    usleep(std::uniform_int_distribution<useconds_t>(20000, 120000)(random));
    const auto start = std::chrono::steady_clock::now();
    running.send(SIGINT);
    const Outcome outcome = running.wait(kHang);
    ASSERT_EQ(outcome.status, 0);
    latencies.push_back(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  std::sort(latencies.begin(), latencies.end());
  std::printf("from SIGINT to the end: median %.1f ms, 99th percentile %.1f ms, most %.1f ms\n",
              1e3 * latencies[kRuns / 2], 1e3 * latencies[kRuns * 99 / 100],
              1e3 * latencies.back());
  EXPECT_LT(latencies[kRuns * 99 / 100], 0.050);
}

INSTANTIATE_TEST_SUITE_P(
    Runs, ShutdownLatency,
    testing::Values(std::vector<std::string>{"-c", "2"}, std::vector<std::string>{"-c", "64"},
                    std::vector<std::string>{"-c", "64", "-w", "bspin", "-f", "1000"}));

}  // namespace
