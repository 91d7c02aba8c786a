#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <fstream>
#include <functional>
#include <string_view>
#include <thread>

#include "program/engine_program.h"
#include "program/samples.h"
#include "support/record_reader.h"

// What a program does that starts the engine and holds its standard input: steering, and an end
// that nobody asked for.

namespace {

using program::As;
using program::Outcome;
using program::Running;

/// The other end of a program's standard input.
class InputPipe {
 public:
  InputPipe() {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    reader_ = ends[0];
    writer_ = ends[1];
  }
  InputPipe(const InputPipe&) = delete;
  InputPipe& operator=(const InputPipe&) = delete;
  ~InputPipe() {
    close(reader_);
    end();
  }

  int reader() const { return reader_; }

  void say(std::string_view text) const {
    EXPECT_EQ(write(writer_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }

  void end() {
    if (writer_ >= 0) {
      close(writer_);
    }
    writer_ = -1;
  }

 private:
  int reader_ = -1;
  int writer_ = -1;
};

program::Command engine_behind(const InputPipe& input, std::vector<std::string> arguments) {
  program::Command command = engine(std::move(arguments));
  command.standard_input = input.reader();
  return command;
}

/// Waits until a file has `text` in it. False after a minute.
bool comes_to_say(const std::string& path, const std::string& text) {
  for (int tries = 0; tries < 6000; ++tries) {
    if (access(path.c_str(), R_OK) == 0 && read_file(path).find(text) != std::string::npos) {
      return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

/// Which part of the time the first thread had its processor, between two instants.
double part_of_processor(const RecordReader& reader, std::int64_t from_ns, std::int64_t to_ns) {
  std::vector<std::pair<std::int64_t, std::int64_t>> inside;
  for (const RecordLine& time : reader.of("time")) {
    const std::int64_t at_ns = std::stoll(time[1]);
    if (at_ns >= from_ns && at_ns <= to_ns) {
      inside.emplace_back(at_ns, std::stoll(time[3]));
    }
  }
  if (inside.size() < 2) {
    return -1.0;
  }
  return static_cast<double>(inside.back().second - inside.front().second) /
         static_cast<double>(inside.back().first - inside.front().first);
}

TEST(SteeredEngine, TakesTheProcessorTimeThatItIsAskedForFromTheBeginningOfAPeriodOn) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  constexpr int kTimes = 4;  // the machine may hold a run up
  constexpr std::int64_t kPeriod = 20000000;
  for (int times = 1; times <= kTimes; ++times) {
    const OpenFolder folder;
    const std::string record = folder.file("record");
    InputPipe input;
    Running running(engine_behind(input, {"-w", "bspin", "-c", "1", "-f", "50", "--steer", "-m",
                                          "-r", "50", "-o", "/dev/null", "--record", record}));
    input.say("duty 0.2\n");
    ASSERT_TRUE(comes_to_say(record, "asked\t"));
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
    input.say("duty 0.7\n");
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
    input.say("duty 0\n");
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    input.say("end\n");
    const Outcome outcome = running.wait();
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    ASSERT_EQ(reason_of(record), "0, waveform over");

    const RecordReader reader(record);
    const auto asked = reader.of("asked");
    ASSERT_EQ(asked.size(), 3U);
    EXPECT_EQ(asked[0][3] + asked[0][4], "00.2");
    EXPECT_EQ(asked[1][3] + asked[1][4], "00.7");
    const std::int64_t begin_ns = std::stoll(reader.of("edge").front()[1]);
    const std::int64_t step_ns = std::stoll(asked[1][1]);
    const std::int64_t off_ns = std::stoll(asked[2][1]);
    const double low = part_of_processor(reader, std::stoll(asked[0][1]), step_ns);
    const double high = part_of_processor(reader, step_ns, off_ns);
    const double off = part_of_processor(reader, off_ns, off_ns + 15 * kPeriod);
    const bool in_phase = (step_ns - begin_ns) % kPeriod == 0 && (off_ns - begin_ns) % kPeriod == 0;
    const bool as_asked =
        std::fabs(low - 0.2) < 0.05 && std::fabs(high - 0.7) < 0.07 && std::fabs(off) < 0.03;
    if (in_phase && as_asked) {
      return;
    }
    EXPECT_LT(times, kTimes) << "duty 0.2, 0.7 and 0 took " << low << ", " << high << " and " << off
                             << (in_phase ? "" : ", out of phase");
  }
}

TEST(SteeredEngine, IsOffUntilItIsAskedForSomething) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  const std::string record = folder.file("record");
  InputPipe input;
  Running running(engine_behind(
      input, {"-w", "bspin", "-c", "2", "-f", "50", "--steer", "--record", record, "-t", "0.3"}));
  const Outcome outcome = running.wait();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(reason_of(record), "0, run time over");
  const RecordReader reader(record);
  ASSERT_EQ(reader.of("edge").size(), 1U);
  EXPECT_EQ(reader.of("edge")[0][3], "off");
  EXPECT_TRUE(reader.of("entered").empty());
  EXPECT_TRUE(reader.of("asked").empty());
}

TEST(SteeredEngine, ComplainsAboutALineThatItDoesNotUnderstandAndGoesOn) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  const std::string record = folder.file("record");
  InputPipe input;
  Running running(engine_behind(
      input, {"-w", "bspin", "-c", "1", "-f", "50", "--steer", "--record", record, "-t", "60"}));
  input.say("louder\nduty 0.1\n");
  ASSERT_TRUE(comes_to_say(record, "asked\t"));
  input.say("duty 1.1\ntriangle 1 0 0.2\n");
  ASSERT_TRUE(comes_to_say(record, "\ttriangle\t1\t0\t0.2\n"));
  input.say("end\n");
  const Outcome outcome = running.wait();
  EXPECT_EQ(outcome.status, 0);
  const std::string taken =
      "; it takes \"fans RPM\", \"fan KEY RPM\", \"pstate P\", \"duty D\", \"sinusoid HZ OFFSET "
      "DEPTH\", \"triangle HZ OFFSET DEPTH\", "
      "\"sines MEAN HZ AMPLITUDE DEGREES ...\" or \"end\"\n";
  for (const std::string line : {"\"louder\": it is none of the lines that are known",
                                 "\"duty 1.1\": \"1.1\" is not a duty from 0 to 1"}) {
    const std::string complaint = "vorn-engine-sim: standard input " + line + taken;
    const std::size_t at = outcome.err.find(complaint);
    ASSERT_NE(at, std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.err.find(complaint, at + 1), std::string::npos) << outcome.err;
  }
  EXPECT_EQ(RecordReader(record).of("asked").size(), 2U);
}

// Every processor is taken by a load of fixed priority, and an ordinary thread would wait.
TEST(SteeredEngine, HearsItsInputBesideALoadThatNeverPauses) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  const std::string record = folder.file("record");
  InputPipe input;
  Running running(
      engine_behind(input, {"-w", "bspin", "-f", "50", "--steer", "--record", record, "-t", "60"}));
  input.say("duty 1\n");
  ASSERT_TRUE(comes_to_say(record, "asked\t"));
  input.say("duty 0\n");
  ASSERT_TRUE(comes_to_say(record, "\tduty\t0\t0\t0\n"));
  input.say("duty 1\n");
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  input.end();
  const Outcome outcome = running.wait();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_LT(outcome.seconds, 30.0);
  EXPECT_EQ(reason_of(record), "0, input over");
  const RecordReader reader(record);
  EXPECT_EQ(reader.of("asked").size(), 3U);
  EXPECT_EQ(reader.of("edge").size(), 4U);  // the begin, on, off and on
}

TEST(SteeredEngine, IsRefusedOverALoadThatDoesNotFollowAndWithoutACarrier) {
  const Outcome deaf = program::run(engine({"-f", "10", "--steer"}, As::kOrdinaryUser));
  EXPECT_EQ(deaf.status, 13) << deaf.err;
  EXPECT_NE(deaf.err.find("the waveform is ignored by \"spin\""), std::string::npos) << deaf.err;
  const Outcome plain = program::run(engine({"-w", "bspin", "--steer"}, As::kOrdinaryUser));
  EXPECT_EQ(plain.status, 255) << plain.err;
  EXPECT_NE(plain.err.find("--steer needs the frequency"), std::string::npos) << plain.err;
}

TEST(AttachedEngine, EndsInOrderWithItsInput) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  for (const char* load : {"spin", "bspin"}) {
    const OpenFolder folder;
    const std::string record = folder.file("record");
    InputPipe input;
    Running running(engine_behind(
        input, {"-w", load, "-c", "1", "--attached", "--record", record, "-t", "60"}));
    input.say("whatever\n");
    ASSERT_TRUE(comes_to_say(record, "thread\t0"));
    input.end();
    const Outcome outcome = running.wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_LT(outcome.seconds, 30.0);
    EXPECT_EQ(reason_of(record), "0, input over");
  }
}

/// Starts `command` in a process that then does nothing. Returns its number.
pid_t start_parent_of(const program::Command& command) {
  int ends[2];
  EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
  const pid_t parent = fork();
  if (parent == 0) {
    InputPipe input;
    program::Command attached = command;
    attached.standard_input = input.reader();
    const Running running(attached);
    static_cast<void>(!write(ends[1], "s", 1));
    for (;;) {
      pause();
    }
  }
  close(ends[1]);
  char started = 0;
  EXPECT_EQ(read(ends[0], &started, 1), 1);
  close(ends[0]);
  return parent;
}

TEST(AttachedEngine, EndsInOrderIfTheProgramThatStartedItIsKilled) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  for (const bool steered : {false, true}) {
    const OpenFolder folder;
    const std::string record = folder.file("record");
    std::vector<std::string> arguments = {"-w", "bspin", "-f", "20", "--record",  record,
                                          "-t", "300",   "-c", "1",  "--attached"};
    if (steered) {
      arguments.back() = "--steer";
    }
    const pid_t parent = start_parent_of(engine(arguments));
    ASSERT_TRUE(comes_to_say(record, "edge\t"));
    kill(parent, SIGKILL);
    waitpid(parent, nullptr, 0);
    ASSERT_TRUE(comes_to_say(record, "\nend\t"));
    EXPECT_EQ(reason_of(record), "0, input over");
  }
}

}  // namespace
