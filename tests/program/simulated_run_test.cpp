#include <gtest/gtest.h>

#include <sys/mount.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <list>
#include <numeric>
#include <regex>
#include <thread>

#include "program/samples.h"
#include "program/vorn_program.h"
#include "support/hold_ups.h"

// Whole runs of an ordinary user on the simulated machine.

namespace {

using program::As;
using program::Command;
using program::Outcome;
using program::Running;

constexpr const char* kNotice =
    "vorn-sim: no right to fixed priorities, threads run at ordinary priority; CAP_SYS_NICE "
    "(setcap, or a container's --cap-add) gives them\n";

/// An ordinary user's run that samples `arguments`' keys; its samples.
Samples samples_of(std::vector<std::string> arguments) {
  const Outcome outcome = program::run(vorn_sim(std::move(arguments), As::kOrdinaryUser));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(program::without_lateness(outcome.err), kNotice);
  return parse_samples(outcome.out);
}

TEST(SimulatedRun, NeedsNoRightsAndSaysOnceWhatItLacks) {
  const Outcome outcome =
      program::run(vorn_sim({"-c", "4", "-w", "bspin", "-f", "50", "-t", "1"},  //
                            As::kOrdinaryUser));
  EXPECT_EQ(outcome.err, kNotice);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.status, 0);
}

TEST(SimulatedRun, WithTheRightToFixedPrioritiesIsSilent) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome outcome = program::run(vorn_sim({"-c", "4", "-w", "bspin", "-f", "50", "-t", "1"}));
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.status, 0);
}

TEST(SimulatedRun, SamplesThePowerOnceASecondByDefault) {
  const Samples samples = samples_of({"-m", "-t", "3"});
  ASSERT_GE(samples.size(), 3U);
  ASSERT_LE(samples.size(), 4U);
  for (const auto& sample : samples) {
    EXPECT_EQ(sample.size(), 2U);
  }
}

TEST(SimulatedRun, TakesItsFirstSampleBeforeTheLoad) {
  const Samples samples = samples_of({"-m", "-r", "4", "-t", "2"});
  ASSERT_GE(samples.size(), 6U);
  EXPECT_LT(samples[0][0], 0.1);
  EXPECT_GT(samples[5][1], samples[0][1] + 5.0) << "the load must show in the power";
}

TEST(SimulatedRun, SamplesEveryKeyInTheOrderGiven) {
  const Samples samples =
      samples_of({"-m", "-r", "20", "-k", "F0Mx", "-k", "TA0P", "-k", "F0Mx", "-t", "1"});
  ASSERT_FALSE(samples.empty());
  EXPECT_EQ(samples[0].size(), 4U);
  EXPECT_EQ(samples[0][1], samples[0][3]);
  EXPECT_GT(samples[0][1], 1000.0) << "a maximum speed";
  EXPECT_LT(samples[0][2], 40.0) << "a room's temperature";
}

TEST(SimulatedRun, WritesItsSamplesToAFile) {
  const OpenFolder folder;
  const std::string file = folder.file("run.txt");
  const Outcome outcome = program::run(vorn_sim({"-m", "-r", "50", "-t", "1", "-o", file}));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
  EXPECT_GT(parse_samples(read_file(file)).size(), 20U);
}

TEST(SimulatedRun, SaysWhatItLosesToAFullDeviceOrAFolderThatDoesNotExist) {
  const struct {
    const char* file;
    const char* reason;
    const char* at_once;
  } kCases[] = {
      {"/dev/full", "No space left on device",
       "vorn-sim: note: samples are lost, they cannot be written: \"/dev/full\": No space left on "
       "device; lines are taken again when that is over\n"},
      {"/nonexistent/run.txt", "No such file or directory",
       "vorn-sim: note: the samples are lost, their file cannot be opened: "
       "\"/nonexistent/run.txt\": No such file or directory; name with -o a file that this user "
       "may "
       "write, in a folder that exists\n"},
  };
  for (const auto& [file, reason, at_once] : kCases) {
    const Outcome outcome =
        program::run(vorn_sim({"-m", "-r", "20", "-t", "1", "-o", file}, As::kOrdinaryUser));
    EXPECT_EQ(outcome.status, 0) << file;
    const std::string err = program::without_lateness(outcome.err);
    const std::regex expected(
        std::string(kNotice).substr(0, 12) +
        "[^\n]*\n[^\n]*\nvorn-sim: note: " + "(\\d+) of \\1 lines of samples were lost: \"" + file +
        "\": " + reason + "; sample again into another file \\(-o\\)\n");
    EXPECT_TRUE(std::regex_match(err, expected)) << err;
    EXPECT_NE(err.find(std::string("\n") + at_once), std::string::npos) << err;
  }
}

TEST(SimulatedRun, LeavesWholeLinesOnADiskThatIsFullAndCountsTheOthers) {
  SKIP_UNLESS_MAY_RUN(As::kRoot);
  const OpenFolder folder;
  const std::string disk = folder.file("disk");
  std::filesystem::create_directory(disk);
  if (mount("none", disk.c_str(), "tmpfs", 0, "size=4k,mode=777") != 0) {
    GTEST_SKIP() << "may not mount";
  }
  const Outcome outcome =
      program::run(vorn_sim({"-m", "-r", "1000", "-c", "1", "-t", "2", "-o", disk + "/run.txt"}));
  const std::string text = read_file(disk + "/run.txt");
  umount(disk.c_str());
  EXPECT_GT(text.size(), 4000U);
  EXPECT_NO_THROW(parse_samples(text));
  EXPECT_NE(outcome.err.find("/run.txt\": No space left on device; lines are"), std::string::npos)
      << outcome.err;
  EXPECT_NE(outcome.err.find(" lines of samples were lost: "), std::string::npos) << outcome.err;
}

TEST(SimulatedRun, SaysWhichSamplesItHadNoTimeFor) {
  Running running(vorn_sim({"-m", "-r", "20", "-c", "1", "-w", "bspin", "-f", "10"},  //
                           As::kOrdinaryUser));
  ASSERT_TRUE(running.wait_until_catching());
  std::this_thread::sleep_for(std::chrono::milliseconds(600));
  running.send(SIGSTOP);
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  running.send(SIGCONT);
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  running.send(SIGINT);
  const Outcome outcome = running.wait();
  EXPECT_TRUE(std::regex_search(
      outcome.err,
      std::regex("vorn-sim: note: of \\d+ samples \\d+ were late and \\d+ left out, the "
                 "longest gap was 0\\.\\d+ s; fewer samples")))
      << outcome.err;
}

TEST(SimulatedRun, GoesOnWithoutSamplesIfAKeyCannotBeResolved) {
  const struct {
    const char* key;
    const char* failure;
  } kCases[] = {
      {"XXXX",
       "Expected data size 2 for SMC key \"XXXX\", instead got 0\n"
       "vorn-sim: note: this machine has no key \"XXXX\"; vorn-keys-sim lists those that it has\n"},
      {"FCnt",
       "Expected data size 2 for SMC key \"FCnt\", instead got 1\n"
       "vorn-sim: note: \"FCnt\" cannot be sampled: it has not two bytes; vorn-keys-sim lists the "
       "keys with their sizes\n"},
      {"Uptm",
       "Expected data size 2 for SMC key \"Uptm\", instead got 4\n"
       "vorn-sim: note: \"Uptm\" cannot be sampled: it has not two bytes; vorn-keys-sim lists the "
       "keys with their sizes\n"},
      {"PC0",
       "Malformed SMC key \"PC0\"\n"
       "vorn-sim: note: \"PC0\" is no key: a key has four characters; vorn-keys-sim lists them\n"},
  };
  std::list<Running> runs;
  for (const auto& [key, failure] : kCases) {
    runs.emplace_back(vorn_sim({"-m", "-k", key, "-t", "1"}, As::kOrdinaryUser));
  }
  for (const auto& [key, failure] : kCases) {
    const Outcome outcome = runs.front().wait();
    runs.pop_front();
    EXPECT_EQ(outcome.err, std::string(kNotice) + failure);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.status, 0);
  }
}

TEST(SimulatedRun, LeavesAWholeLastLineWhenItIsEnded) {
  for (int run = 0; run < 10; ++run) {
    const OpenFolder folder;
    const std::string file = folder.file("run.txt");
    Running running(vorn_sim({"-m", "-r", "200", "-k", "PC0C", "-k", "TC0D", "-w", "bspin", "-f",
                              "100", "-t", "1000", "-o", file}));
    ASSERT_TRUE(running.wait_until_catching());
    std::this_thread::sleep_for(std::chrono::milliseconds(100 + 13 * run));
    running.send(run % 2 == 0 ? SIGINT : SIGALRM);
    EXPECT_EQ(running.wait().status, 0);
    EXPECT_NO_THROW(parse_samples(read_file(file)));
  }
}

/// The times of a run of some seconds that samples at 50 Hz beside `load`.
Samples sampled_beside(std::vector<std::string> load) {
  const OpenFolder folder;
  const std::string file = folder.file("run.txt");
  load.insert(load.end(), {"-m", "-r", "50", "-t", "4", "-o", file});
  EXPECT_EQ(program::run(vorn_sim(std::move(load))).status, 0);
  Samples samples = parse_samples(read_file(file));
  for (std::size_t i = 1; i < samples.size(); ++i) {
    EXPECT_GT(samples[i][0], samples[i - 1][0]);
  }
  return samples;
}

struct GridError {
  double median;
  double percentile99;
};

GridError grid_error(const Samples& samples) {
  const std::vector<double> distances = distances_from_grid(samples, 0.02);
  const GridError error{distances[distances.size() / 2], distances[distances.size() * 99 / 100]};
  std::printf("%zu samples, distance from the grid: median %.3f ms, 99th percentile %.3f ms\n",
              samples.size(), 1e3 * error.median, 1e3 * error.percentile99);
  return error;
}

TEST(SimulatedRun, KeepsItsSamplesOnTheGridBesideAWaveformOnEveryProcessor) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const HoldUps hold_ups;
  const Samples samples = sampled_beside({"-w", "bspin", "-f", "100"});
  ASSERT_GT(samples.size(), 180U) << "of 200";
  EXPECT_LT(grid_error(samples).percentile99,
            (program::kSanitized ? 0.010 : 0.002) + hold_ups.percentile99());
}

// Without a pause in the load, kernels that withhold the processors from fixed priorities for 50 ms
// of each second withhold them from the samples too: two of fifty are lost, and the next is late.
TEST(SimulatedRun, KeepsItsSamplesOnTheGridBesideAFullLoadButForTheKernelsReserve) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Samples samples = sampled_beside({"-w", "spin"});
  ASSERT_GT(samples.size(), 165U) << "of 200";
  EXPECT_LT(grid_error(samples).median, 0.002);
}

double mean_of(const Samples& samples, std::size_t column, double from, double to) {
  double sum = 0.0;
  int count = 0;
  for (const auto& sample : samples) {
    if (sample[0] >= from && sample[0] < to) {
      sum += sample[column];
      ++count;
    }
  }
  return sum / std::max(count, 1);
}

// The load begins 0.5 s after the samples, at the sinusoid's minimum.
TEST(SimulatedRun, ShowsTheSinusoidOfTheLoadInThePowerAndItsImageInTheTemperature) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome outcome = program::run(vorn_sim({"-m", "-r", "20", "-k", "PC0C", "-k", "TC0D", "-w",
                                                 "bspin", "-f", "20", "-z", "0.25", "-t", "5"}));
  const Samples samples = parse_samples(outcome.out);
  ASSERT_GT(samples.size(), 50U);
  const double trough = mean_of(samples, 1, 0.0, 0.6);
  const double peak = mean_of(samples, 1, 2.2, 2.8);
  const double next_trough = mean_of(samples, 1, 4.3, 4.7);
  EXPECT_GT(peak, trough + 20.0);
  EXPECT_GT(peak, next_trough + 20.0);
  // The die lags: at the power's peak it is still rising, and it is warm when the power is low.
  EXPECT_GT(mean_of(samples, 2, 2.8, 3.2), mean_of(samples, 2, 2.0, 2.3));
  EXPECT_GT(mean_of(samples, 2, 4.3, 4.7), mean_of(samples, 2, 0.0, 0.5) + 1.0);
}

}  // namespace
