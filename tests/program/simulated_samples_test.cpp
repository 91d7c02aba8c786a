#include <gtest/gtest.h>

#include <sys/mount.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <list>
#include <regex>
#include <thread>

#include "program/samples.h"
#include "program/vorn_program.h"

// What becomes of the samples of runs on the simulated machine that load one processor.

namespace {

using program::As;
using program::Outcome;
using program::Running;

/// An ordinary user's run that samples `arguments`' keys; its samples.
Samples samples_of(std::vector<std::string> arguments) {
  arguments.insert(arguments.end(), {"-c", "1"});
  const Outcome outcome = program::run(vorn_sim(std::move(arguments), As::kOrdinaryUser));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(program::without_lateness(outcome.err), kSimulatedNotice);
  return parse_samples(outcome.out);
}

TEST(SimulatedSamples, SamplesThePowerOnceASecondByDefault) {
  const Samples samples = samples_of({"-m", "-t", "3"});
  ASSERT_GE(samples.size(), 3U);
  ASSERT_LE(samples.size(), 4U);
  for (const auto& sample : samples) {
    EXPECT_EQ(sample.size(), 2U);
  }
}

TEST(SimulatedSamples, SamplesEveryKeyInTheOrderGiven) {
  const Samples samples =
      samples_of({"-m", "-r", "20", "-k", "F0Mx", "-k", "TA0P", "-k", "F0Mx", "-t", "1"});
  ASSERT_FALSE(samples.empty());
  EXPECT_EQ(samples[0].size(), 4U);
  EXPECT_EQ(samples[0][1], samples[0][3]);
  EXPECT_GT(samples[0][1], 1000.0) << "a maximum speed";
  EXPECT_LT(samples[0][2], 40.0) << "a room's temperature";
}

TEST(SimulatedSamples, WritesItsSamplesToAFile) {
  const OpenFolder folder;
  const std::string file = folder.file("run.txt");
  const Outcome outcome =
      program::run(vorn_sim({"-m", "-r", "50", "-c", "1", "-t", "1", "-o", file}));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
  EXPECT_GT(parse_samples(read_file(file)).size(), 20U);
}

TEST(SimulatedSamples, SaysWhatItLosesToAFullDeviceOrAFolderThatDoesNotExist) {
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
    const Outcome outcome = program::run(
        vorn_sim({"-m", "-r", "20", "-c", "1", "-t", "1", "-o", file}, As::kOrdinaryUser));
    EXPECT_EQ(outcome.status, 0) << file;
    const std::string err = program::without_lateness(outcome.err);
    const std::regex expected(
        std::string(kSimulatedNotice).substr(0, 12) +
        "[^\n]*\n[^\n]*\nvorn-sim: note: " + "(\\d+) of \\1 lines of samples were lost: \"" + file +
        "\": " + reason + "; sample again into another file \\(-o\\)\n");
    EXPECT_TRUE(std::regex_match(err, expected)) << err;
    EXPECT_NE(err.find(std::string("\n") + at_once), std::string::npos) << err;
  }
}

TEST(SimulatedSamples, LeavesWholeLinesOnADiskThatIsFullAndCountsTheOthers) {
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

TEST(SimulatedSamples, SaysWhichSamplesItHadNoTimeFor) {
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

TEST(SimulatedSamples, GoesOnWithoutSamplesIfAKeyCannotBeResolved) {
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
    runs.emplace_back(vorn_sim({"-m", "-k", key, "-c", "1", "-t", "1"}, As::kOrdinaryUser));
  }
  for (const auto& [key, failure] : kCases) {
    const Outcome outcome = runs.front().wait();
    runs.pop_front();
    EXPECT_EQ(outcome.err, std::string(kSimulatedNotice) + failure);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.status, 0);
  }
}

TEST(SimulatedSamples, LeavesAWholeLastLineWhenItIsEnded) {
  for (int run = 0; run < 10; ++run) {
    const OpenFolder folder;
    const std::string file = folder.file("run.txt");
    Running running(vorn_sim({"-m", "-r", "200", "-k", "PC0C", "-k", "TC0D", "-c", "1", "-w",
                              "bspin", "-f", "100", "-t", "1000", "-o", file}));
    ASSERT_TRUE(running.wait_until_catching());
    std::this_thread::sleep_for(std::chrono::milliseconds(100 + 13 * run));
    running.send(run % 2 == 0 ? SIGINT : SIGALRM);
    EXPECT_EQ(running.wait().status, 0);
    EXPECT_NO_THROW(parse_samples(read_file(file)));
  }
}

}  // namespace
