#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <thread>

#include "program/engine_program.h"
#include "program/samples.h"
#include "program/vorn_program.h"
#include "support/record_reader.h"

// Whole runs of the engine on the simulated machine, and its every way not to start one.

namespace {

using program::As;
using program::Outcome;
using program::Running;

Outcome run_engine(std::vector<std::string> arguments) {
  return program::run(engine(std::move(arguments)));
}

/// Expects a run that is not started: its status, and what it says behind the program's name.
void expect_refused(std::vector<std::string> arguments, int status, const std::string& says) {
  const Outcome outcome = program::run(engine(std::move(arguments), As::kOrdinaryUser));
  EXPECT_EQ(outcome.status, status) << says;
  EXPECT_NE(outcome.err.find("vorn-engine-sim: " + says), std::string::npos) << outcome.err;
  EXPECT_EQ(outcome.out, "");
}

/// An instant `seconds` from now, as --at takes it.
std::string in(double seconds) {
  using std::chrono::duration;
  const double now = duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  char text[32];
  std::snprintf(text, sizeof text, "%.6f", now + seconds);
  return text;
}

TEST(Engine, ItsHelpIsThatOfVornAndItsOwnOptions) {
  const Outcome outcome = program::run(engine({"--help"}, As::kOrdinaryUser));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_TRUE(outcome.err.starts_with(
      "Usage: vorn-engine-sim --help --version --noisy --monitor --invert --monrate <r>\n"));
  EXPECT_TRUE(outcome.err.ends_with(
      "\t\"spin\"\tminimal spin loop (default)\n"
      "and, beyond the options of vorn:\n"
      "        --duty <d>         on for <d> (0 to 1) of each period of frequency <f>\n"
      "        --profile <file>   follow the duties in <file>, then exit\n"
      "        --edges <file>     switch after the intervals in <file>, then exit\n"
      "        --loop             play <file> over and over\n"
      "        --steer            follow the duties that standard input says, until it ends\n"
      "        --attached         end the run when standard input ends\n"
      "        --depth <d>        swing sinusoid or triangle over <d> of duty (default: up to 1)\n"
      "        --offset <o>       swing sinusoid or triangle from duty <o> (default: 0)\n"
      "        --at <time>        begin at <time>: RFC 3339, or seconds since 1970\n"
      "        --record <file>    write what happened to <file>\n"
      "        --pin              bind each thread to its core\n"
      "        --limit <k>=<v>    end the run when key <k> shows more than <v>; may be repeated\n"
      "        --leave-pstate     force no P-state (superuser; the default of everybody else)\n"
      "        --header           begin the sample file with what its columns are\n"
      "   -t | --time <t>         takes fractions and units: 500ms, 90s, 2m, 1.5h\n"))
      << outcome.err;
}

TEST(Engine, AWrongCommandLineIsNamedAndNotStarted) {
  expect_refused({"--duty", "2"}, 255, "--duty \"2\": it takes a number from 0 to 1");
  expect_refused({"-c", "0"}, 255, "--help lists the options");
  expect_refused({"--duty", "0.5"}, 255, "--duty needs the frequency that it shapes");
  expect_refused({"--edges", "/nowhere/edges", "-w", "bspin"}, 255, "/nowhere/edges");
}

TEST(Engine, WhatCannotBeDoneHereIsRefusedWithAStatusForEachReason) {
  expect_refused({"-m", "-o", "/nowhere/file"}, 10, "--output \"/nowhere/file\" cannot be written");
  expect_refused({"--record", "/nowhere/file"}, 10, "--record \"/nowhere/file\" cannot be written");
  expect_refused({"-m", "-k", "XXXX"}, 11, "this machine has no key \"XXXX\"");
  expect_refused({"--limit", "XXXX=1"}, 11, "this machine has no key \"XXXX\"");
  expect_refused({"--limit", "FS! =1"}, 11, "\"FS! \" cannot be sampled: it is no number");
  expect_refused({"-s", "2000"}, 12, "--rpm changes the machine, which takes root");
  expect_refused({"-p", "1"}, 12, "--pstate changes the machine, which takes root");
  expect_refused({"--pin", "-b", "100000"}, 12, "--bind 100000 is not among the cores");
  expect_refused({"-f", "10"}, 13, "the waveform is ignored by \"spin\"");
  expect_refused({"-w", "fma", "--at", in(60)}, 13, "--at is ignored by \"fma\"");
  expect_refused({"-w", "bfma", "--at", in(-60)}, 14, "--at lies ");
  expect_refused({"-w", "bfma", "-m", "--at", in(0.3)}, 14, "--at is only ");
}

TEST(Engine, FansAndPStatesThatTheMachineDoesNotHaveAreRefusedBeforeAnythingIsChanged) {
  SKIP_UNLESS_MAY_RUN(As::kRoot);
  const Outcome fan = program::run(engine({"-a", "F9Tg", "-s", "3000", "-t", "1"}, As::kRoot));
  EXPECT_EQ(fan.status, 11) << fan.err;
  const Outcome pstate = program::run(engine({"-p", "99", "-s", "3000", "-t", "1"}, As::kRoot));
  EXPECT_EQ(pstate.status, 12) << pstate.err;
  EXPECT_NE(pstate.err.find("--pstate 99: this machine has 0 to 7"), std::string::npos)
      << pstate.err;
}

TEST(Engine, APipeThatNobodyReadsIsRefused) {
  const OpenFolder folder;
  const std::string pipe = folder.file("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0666), 0);
  ASSERT_EQ(chmod(pipe.c_str(), 0666), 0);
  const std::string says =
      " \"" + pipe + "\" cannot be opened: nobody reads this pipe; start its reader first";
  expect_refused({"-m", "-o", pipe, "-t", "1"}, 10, "--output" + says);
  expect_refused({"--record", pipe, "-t", "1"}, 10, "--record" + says);
}

TEST(Engine, AFileForTwoPurposesIsRefusedAndKept) {
  const OpenFolder folder;
  const std::string edges = folder.file("edges");
  std::ofstream(edges) << "50000\n";
  ASSERT_EQ(chmod(edges.c_str(), 0666), 0);
  expect_refused({"-w", "bspin", "--edges", edges, "--record", edges}, 10,
                 "--edges and --record name one file");
  expect_refused({"-w", "bspin", "--edges", edges, "-m", "-o", edges}, 10,
                 "--edges and --output name one file");
  std::string kept;
  std::getline(std::ifstream(edges), kept);
  EXPECT_EQ(kept, "50000");
}

TEST(Engine, EveryLoadRunsAndSaysWhatItDid) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  for (const char* load : {"fma", "mem", "cache", "mix", "int", "bfma", "bmix", "bspin"}) {
    const Outcome outcome = run_engine({"-w", load, "-c", "2", "-t", "0.3", "-n"});
    EXPECT_EQ(outcome.status, 0) << load << outcome.err;
    EXPECT_NE(outcome.err.find("\tworkload thread 1 running \"" + std::string(load) + "\" did "),
              std::string::npos)
        << outcome.err;
  }
}

TEST(Engine, AnEdgeListEndsTheRunWhenItIsOver) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  std::ofstream(folder.file("edges")) << "50000\n100000\n50000\n";
  const std::string record = folder.file("record");
  const Outcome outcome = run_engine(
      {"-w", "bspin", "-c", "2", "--edges", folder.file("edges"), "--record", record, "-t", "60"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_LT(outcome.seconds, 30.0);
  const RecordReader reader(record);
  const auto edges = reader.of("edge");
  ASSERT_EQ(edges.size(), 3U);
  EXPECT_EQ(edges[0][3], "on");
  EXPECT_EQ(edges[1][3], "off");
  EXPECT_EQ(reader.of("end").front()[3], "waveform over");
  EXPECT_EQ(reader.of("end").front()[2], "0");
}

TEST(Engine, ALimitEndsTheRunWithItsStatusAndSaysWhichKey) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome outcome =
      run_engine({"-w", "mix", "--limit", "TC0D=200", "--limit", "PC0C=16", "-t", "60"});
  EXPECT_EQ(outcome.status, 20);
  EXPECT_NE(outcome.err.find("vorn-engine-sim: limit PC0C=16: the key shows "), std::string::npos)
      << outcome.err;
  EXPECT_LT(outcome.seconds, 30.0);
}

/// A pipe whose reader has stopped reading: it is open, and takes no more.
class StuckPipe {
 public:
  explicit StuckPipe(const OpenFolder& folder) : path_(folder.file("stuck")) {
    EXPECT_EQ(mkfifo(path_.c_str(), 0666), 0);
    chmod(path_.c_str(), 0666);
    reader_ = open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    writer_ = open(path_.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    while (write(writer_, "\n", 1) == 1) {
    }
  }
  StuckPipe(const StuckPipe&) = delete;
  StuckPipe& operator=(const StuckPipe&) = delete;
  ~StuckPipe() {
    close(reader_);
    close(writer_);
  }

  const std::string& path() const { return path_; }

 private:
  std::string path_;
  int reader_ = -1;
  int writer_ = -1;
};

/// Ends a run that has begun, and its process behind it, by signals again and again: not before the
/// run has been stopped does a further one end the process. Returns its status.
int ended_at_once(Running& running) {
  std::thread interrupter([&running] {
    for (int times = 0; times < 3000 && running.send(SIGTERM); ++times) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  });
  const Outcome outcome = running.wait();
  interrupter.join();
  return outcome.status;
}

TEST(Engine, KeepsTheStatusOfItsRunIfASignalEndsItBehindThat) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  const StuckPipe samples(folder);
  Running running(
      engine({"-c", "1", "-w", "bspin", "-m", "-o", samples.path(), "--limit", "TC0D=1"}));
  for (int tries = 0; tries < 3000 && running.err().find("limit TC0D=1") == std::string::npos;
       ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_EQ(ended_at_once(running), 20);
}

TEST(Engine, SamplesThatAreNotWholeWhenASignalEndsTheProcessAreItsStatus) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  const StuckPipe samples(folder);
  Running running(engine({"-c", "1", "-w", "bspin", "-m", "-o", samples.path(), "-t", "60"}));
  ASSERT_TRUE(running.wait_until_catching());
  std::this_thread::sleep_for(std::chrono::milliseconds(600));  // the head start of the samples
  EXPECT_EQ(ended_at_once(running), 21);
}

TEST(Engine, ARecordThatIsNotWholeWhenASignalEndsTheProcessIsItsStatus) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  const StuckPipe record(folder);
  Running running(engine({"-c", "1", "-w", "bspin", "--record", record.path(), "-t", "60"}));
  ASSERT_TRUE(running.wait_until_catching());
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_EQ(ended_at_once(running), 24);
}

TEST(Engine, LinesThatAreLostEndInAStatusOfTheirOwn) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome outcome =
      run_engine({"-m", "-r", "20", "-o", "/dev/full", "-w", "bspin", "-t", "0.8"});
  EXPECT_EQ(outcome.status, 21) << outcome.err;
}

TEST(Engine, SamplesThatAreLeftOutEndInTheSameStatus) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  const std::string pipe = folder.file("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0666), 0);
  ASSERT_EQ(chmod(pipe.c_str(), 0666), 0);
  // A reader that takes what fills the pipe only after half of the run.
  const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(reader, 0);
  fcntl(reader, F_SETPIPE_SZ, 4096);
  Running running(engine({"-m", "-r", "2000", "-o", pipe, "-w", "bspin", "-f", "10", "-t", "2"}));
  ASSERT_TRUE(running.wait_until_catching());
  std::this_thread::sleep_for(std::chrono::seconds(1));
  std::thread taker([&] {
    char taken[4096];
    for (pollfd more{.fd = reader, .events = POLLIN, .revents = 0}; poll(&more, 1, -1) > 0;) {
      if (read(reader, taken, sizeof taken) <= 0) {
        return;
      }
    }
  });
  const Outcome outcome = running.wait();
  taker.join();
  close(reader);
  EXPECT_EQ(outcome.status, 21) << outcome.err;
  EXPECT_NE(outcome.err.find(" left out"), std::string::npos) << outcome.err;
  EXPECT_EQ(outcome.err.find("lost"), std::string::npos) << outcome.err;
}

TEST(Engine, TheSampleFileMayBeginWithWhatItsColumnsAre) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome outcome = run_engine(
      {"-m", "-r", "4", "-k", "PC0C", "-k", "TC0D", "--header", "-w", "bspin", "-t", "0.8"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_TRUE(
      outcome.out.starts_with("# time\ts\tsince the first sample\n"
                              "# PC0C\tW\tsimulated\n"
                              "# TC0D\tdegrees C\tsimulated\n"
                              "#time\tPC0C\tTC0D\n"))
      << outcome.out;
}

TEST(Engine, ThreadsAreBoundToTheProcessorsThatTheyAreSaidToBe) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  const Outcome outcome = run_engine({"-w", "bspin", "-c", "2", "--pin", "-b", "0", "-t", "0.3",
                                      "--record", folder.file("record")});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_NE(outcome.err.find("2 threads share one core"), std::string::npos) << outcome.err;
  EXPECT_NE(outcome.err.find("thread 0 is bound to core 0, thread 1 is bound to core 0"),
            std::string::npos)
      << outcome.err;
  const auto threads = RecordReader(folder.file("record")).of("thread");
  ASSERT_EQ(threads.size(), 2U);
  EXPECT_EQ(threads[0][4], "0");
  EXPECT_EQ(threads[1][4], "0");
}

TEST(Engine, AnAgreedStartFindsSamplesBeforeItAndTheLoadBehindIt) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  const Outcome outcome =
      run_engine({"-m", "-r", "20", "-o", folder.file("samples"), "-w", "bfma", "--at", in(2.0),
                  "-t", "500ms", "--record", folder.file("record")});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_GE(outcome.seconds, 2.0);
  const RecordReader reader(folder.file("record"));
  ASSERT_EQ(reader.of("start").size(), 1U);
  const auto start = reader.of("start").front();
  constexpr std::int64_t kTogether = 20000;  // ns: what reading two clocks may differ by
  EXPECT_GE(std::stoll(start[4]), -kTogether) << "before the instant";
  int before = 0;
  for (const auto& sample : reader.of("sample")) {
    before += std::stoll(sample[1]) < std::stoll(start[2]) ? 1 : 0;
  }
  EXPECT_GE(before, 10);
  for (const auto& entered : reader.of("entered")) {
    EXPECT_GE(std::stoll(entered[1]), std::stoll(start[2]));
  }
}

TEST(Engine, TheWaveformWaitsForLoadsThatTakeTheirTimeToBeMade) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  std::ofstream(folder.file("edges")) << "5000\n5000\n5000\n5000\n";
  const Outcome outcome = run_engine({"-w", "bfma", "-c", "2", "--edges", folder.file("edges"),
                                      "--record", folder.file("record")});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const RecordReader reader(folder.file("record"));
  const auto edges = reader.of("edge");
  const auto entered = reader.of("entered");
  ASSERT_FALSE(edges.empty());
  ASSERT_GE(entered.size(), 2U) << "a load did not follow";
  EXPECT_GE(std::stoll(entered.front()[1]), std::stoll(edges.front()[1]));
}

TEST(Engine, AWaveformThatBeginsOffLetsNoLoadBegin) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  const Outcome outcome = run_engine({"-w", "bint", "-c", "2", "-f", "10", "--duty", "0", "-t",
                                      "200ms", "--record", folder.file("record")});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const RecordReader reader(folder.file("record"));
  const auto edges = reader.of("edge");
  ASSERT_EQ(edges.size(), 1U);
  EXPECT_EQ(edges.front()[3], "off");
  EXPECT_TRUE(reader.of("entered").empty());
}

TEST(Engine, TheRunTimeCountsFromTheFirstEdge) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  const Outcome outcome = run_engine(
      {"-w", "bmix", "-c", "2", "-f", "20", "-t", "300ms", "--record", folder.file("record")});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const RecordReader reader(folder.file("record"));
  ASSERT_FALSE(reader.of("edge").empty());
  EXPECT_GE(std::stoll(reader.of("end").front()[1]) - std::stoll(reader.of("edge").front()[1]),
            300000000);
}

// The first load takes `ms` to be made.
program::Command slow_engine(const std::string& ms, std::vector<std::string> arguments) {
  program::Command command = engine(std::move(arguments));
  command.path = VORN_ENGINE_FAULTY_PROGRAM;
  command.environment.push_back("VORN_SLOW_MS=" + ms);
  return command;
}

TEST(Engine, TheRunTimeOfALoadWithoutAWaveformCountsFromWhenAllLoadsAreMade) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  const Outcome outcome = program::run(slow_engine(
      "500", {"-w", "bspin", "-c", "2", "-t", "400ms", "--record", folder.file("record")}));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const RecordReader reader(folder.file("record"));
  EXPECT_GE(std::stoll(reader.of("end").front()[1]) - std::stoll(reader.of("clock").front()[1]),
            900000000);
  EXPECT_EQ(reader.of("end").front()[3], "run time over");
}

/// Expects that a run with `option` that is never ready ends, and says so.
void expect_end_of_a_run_that_is_never_ready(const char* option) {
  const OpenFolder folder;
  const Outcome outcome = program::run(slow_engine(
      "90000", {"-w", "bspin", "-c", "1", option, "10", "--record", folder.file("record")}));
  EXPECT_EQ(outcome.status, 23) << outcome.err;
  EXPECT_NE(outcome.err.find("not all loads were ready after 10 s, which ends the run"),
            std::string::npos)
      << outcome.err;
  EXPECT_LT(outcome.seconds, 80.0);
  const RecordReader reader(folder.file("record"));
  EXPECT_EQ(reader.of("end").front()[2], "23");
  EXPECT_EQ(reader.of("end").front()[3], "loads not ready");
}

TEST(EngineThatIsNotReady, EndsWithAWaveform) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  expect_end_of_a_run_that_is_never_ready("-f");
}

TEST(EngineThatIsNotReady, EndsWithoutAWaveform) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  expect_end_of_a_run_that_is_never_ready("-t");
}

// The load touches its memory for longer than the start is ahead.
TEST(Engine, AnAgreedStartThatALoadMissesEndsInItsStatus) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  // Each takes some 20 ms of a processor before it is ready, so the last is half a second late.
  const std::string loads = std::to_string(64 * std::thread::hardware_concurrency());
  const Outcome outcome =
      run_engine({"-w", "bint", "-c", loads, "-f", "5", "--at", in(0.16), "-t", "2s"});
  if (outcome.status == 14) {
    GTEST_SKIP() << "the machine took longer to start the program than the start was ahead";
  }
  EXPECT_EQ(outcome.status, 23) << outcome.err;
  EXPECT_NE(outcome.err.find(" of " + loads + " loads were not ready at the agreed start"),
            std::string::npos)
      << outcome.err;
}

TEST(Engine, AWrongResultIsSaidRecordedAndTheStatus) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  program::Command command =
      engine({"-w", "int", "-c", "2", "-t", "1", "--record", folder.file("record")});
  command.path = VORN_ENGINE_FAULTY_PROGRAM;
  const Outcome outcome = program::run(command);
  EXPECT_EQ(outcome.status, 22) << outcome.err;
  EXPECT_NE(outcome.err.find("hardware error: thread 1 computed a wrong result on core "),
            std::string::npos)
      << outcome.err;
  EXPECT_NE(outcome.err.find("hardware error: 2 wrong results in all"), std::string::npos)
      << outcome.err;
  const RecordReader reader(folder.file("record"));
  const auto errors = reader.of("error");
  ASSERT_EQ(errors.size(), 2U);
  EXPECT_EQ(errors[0][4], "wrong result");
  EXPECT_EQ(reader.of("end").front()[2], "22");
  EXPECT_EQ(reader.of("end").front()[3], "run time over");
  const auto settings = reader.of("setting");
  EXPECT_NE(std::find(settings.begin(), settings.end(), RecordLine{"setting", "run_time_s", "1"}),
            settings.end());
}

TEST(Engine, AUserWithoutTheRightToAFixedPriorityIsRefusedBeforeAnythingIsStarted) {
  SKIP_UNLESS_MAY_RUN(As::kOrdinaryUser);
  const OpenFolder folder;
  const std::string record = folder.file("record");
  for (const char* load : {"fma", "bspin"}) {
    for (const rlim_t most : {0U, 31U, 62U}) {
      if (most > 0 && !program::may_raise_limits()) {
        continue;
      }
      program::Command command =
          engine({"-w", load, "-c", "2", "-t", "1", "--record", record}, As::kOrdinaryUser);
      command.path = VORN_ENGINE_PROGRAM;  // the simulated machine grants every priority
      command.called = "vorn-engine";
      command.fixed_priority_limit = most;
      const Outcome outcome = program::run(command);
      EXPECT_EQ(outcome.status, 12) << outcome.err;
      EXPECT_TRUE(
          outcome.err.starts_with("vorn-engine: this user has no right to a fixed priority"))
          << outcome.err;
      EXPECT_EQ(std::filesystem::file_size(record), 0U);
    }
  }
}

// So many threads that the one of the waveform is the first that the user's limit does not allow.
TEST(Engine, AStartThatFailsIsRecordedWithWhatWasRefused) {
  if (program::kSanitized) {
    GTEST_SKIP() << "the sanitizers' own threads count towards the limit";
  }
  SKIP_UNLESS_MAY_RUN(As::kRoot);
  const OpenFolder folder;
  const std::string path = folder.file("record");
  std::string refused;
  for (rlim_t most = 2; most < 40 && refused.empty(); ++most) {
    program::Command command = engine({"-w", "bspin", "-f", "10", "-t", "1", "--record", path});
    command.process_limit = most;
    const Outcome outcome = program::run(command);
    if (outcome.err.find("Unable to spawn timing thread") == std::string::npos) {
      continue;
    }
    EXPECT_EQ(outcome.status, 255) << outcome.err;
    const RecordReader reader(path);
    ASSERT_EQ(reader.of("refused").size(), 1U);
    refused = reader.of("refused")[0][2];
    EXPECT_EQ(reader.of("refused")[0][3], "Resource temporarily unavailable");
    EXPECT_EQ(reader.of("end").front()[2], "255");
    EXPECT_EQ(reader.of("end").front()[3], "not started");
  }
  EXPECT_EQ(refused, "thread of the waveform at priority 63");
}

TEST(Engine, ASignalEndsARunInOrder) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  Running running(engine({"-w", "bspin", "-f", "50", "--record", folder.file("record")}));
  ASSERT_TRUE(running.wait_until_catching());
  running.send(SIGTERM);
  const Outcome outcome = running.wait();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(RecordReader(folder.file("record")).of("end").front()[3], "interrupted");
}

}  // namespace
