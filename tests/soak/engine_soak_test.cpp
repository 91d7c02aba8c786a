#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <random>
#include <thread>

#include "program/samples.h"
#include "program/vorn_program.h"
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
  constexpr int kRuns = 40;
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
  int ended_in_order = 0;
  for (int run = 0; run < kRuns; ++run) {
    const useconds_t moment = std::uniform_int_distribution<useconds_t>(0, kLatest)(random);
    Running running(engine(arguments));
    usleep(moment);
    const bool caught = running.catches(SIGINT);
    running.send(SIGINT);
    const Outcome outcome = running.wait(20.0);
    ASSERT_FALSE(outcome.timed_out) << "run " << run << " after " << moment << " us";
    ASSERT_TRUE(outcome.status == 0 || (!caught && outcome.signal == SIGINT))
        << "run " << run << " after " << moment << " us: status " << outcome.status << ", signal "
        << outcome.signal << ", " << outcome.err;
    ended_in_order += outcome.status == 0 ? 1 : 0;
  }
  EXPECT_GT(ended_in_order, kRuns / 4) << "too few runs got as far as their handler";
}

INSTANTIATE_TEST_SUITE_P(EveryMode, EngineSoak, testing::ValuesIn(kModes),
                         [](const auto& mode) { return std::string(mode.param.name); });

std::vector<std::int64_t> column(const RecordReader& reader, std::size_t field) {
  std::vector<std::int64_t> values;
  for (const RecordLine& line : reader.of("edge")) {
    values.push_back(std::stoll(line[field]));
  }
  return values;
}

/// How far the edges of two records lie apart in ns, ascending.
std::vector<std::int64_t> apart(const RecordReader& first, const RecordReader& second,
                                std::size_t field) {
  const std::vector<std::int64_t> a = column(first, field);
  const std::vector<std::int64_t> b = column(second, field);
  std::vector<std::int64_t> distances;
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    distances.push_back(std::abs(a[i] - b[i]));
  }
  std::sort(distances.begin(), distances.end());
  return distances;
}

// A machine that stands still for longer than a wake-up moves a waveform's plan, so a minute in
// which it did is tried again.
TEST(TwoEngines, WithTheSameStartRunInPhaseOverAMinute) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  if (std::thread::hardware_concurrency() < 2) {
    GTEST_SKIP() << "two processors are needed";
  }
  constexpr int kTries = 3;
  constexpr std::int64_t kPlanned = 20000;  // ns: what reading two clocks may differ by
  for (int tries = 1;; ++tries) {
    const OpenFolder folder;
    const double now =
        std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    char at[32];
    std::snprintf(at, sizeof at, "%.3f", now + 4.0);
    const auto one = [&](const char* processor) {
      return engine({"-w", "bspin", "-c", "1", "--pin", "-b", processor, "-f", "20", "--at", at,
                     "-t", "60", "--record", folder.file(processor)});
    };
    Running first(one("0"));
    usleep(2000000);
    Running second(one("1"));
    const Outcome first_outcome = first.wait(90.0);
    const Outcome second_outcome = second.wait(90.0);
    ASSERT_EQ(first_outcome.status, 0) << first_outcome.err;
    ASSERT_EQ(second_outcome.status, 0) << second_outcome.err;
    const RecordReader a(folder.file("0"));
    const RecordReader b(folder.file("1"));
    const auto planned = apart(a, b, 1);
    const auto switched = apart(a, b, 2);
    ASSERT_GT(planned.size(), 2300U);
    std::printf("planned %.1f us apart at most; switched %.1f us at the median, %.1f at p99\n",
                1e-3 * static_cast<double>(planned.back()),
                1e-3 * static_cast<double>(switched[switched.size() / 2]),
                1e-3 * static_cast<double>(switched[switched.size() * 99 / 100]));
    if (planned.back() > kPlanned && tries < kTries) {
      continue;
    }
    EXPECT_LE(planned.back(), kPlanned);
    EXPECT_LT(switched[switched.size() / 2], 1000000);
    return;
  }
}

}  // namespace
