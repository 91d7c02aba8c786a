#include "lab/engine_process/child.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

#include "lab/engine_process/engine_run.h"
#include "lab/engine_process/line_tail.h"

namespace lab {
namespace {

Child::Start shell(const std::string& script) {
  return {.program = "/bin/sh", .arguments = {"-c", script}, .as_root = false, .kept = {}};
}

TEST(Child, GivesBackWhatItPrintsAndItsStatus) {
  Child child(shell("echo out; echo err >&2; exit 3"));
  std::string output;
  std::string errors;
  EXPECT_EQ(child.wait(output, errors), 3);
  EXPECT_EQ(output, "out\n");
  EXPECT_EQ(errors, "err\n");
}

TEST(Child, PrintsMoreThanAPipeHolds) {
  Child child(shell("i=0; while [ $i -lt 20000 ]; do echo 0123456789; i=$((i+1)); done"));
  std::string output;
  std::string errors;
  EXPECT_EQ(child.wait(output, errors), 0);
  EXPECT_EQ(output.size(), 220000U);
}

TEST(Child, ReadsLinesUntilItsInputIsClosed) {
  Child child(shell("while read line; do echo got $line; done; echo end"));
  EXPECT_TRUE(child.write("one\n"));
  child.close_input();
  std::string output;
  std::string errors;
  EXPECT_EQ(child.wait(output, errors), 0);
  EXPECT_EQ(output, "got one\nend\n");
}

TEST(Child, EndsBySignalWithItsNumber) {
  Child child(shell("kill -TERM $$"));
  std::string text;
  EXPECT_EQ(child.wait(text, text), 128 + SIGTERM);
}

TEST(Child, IsNotReachedByTheTerminalsSignals) {
  Child child(shell("cut -d' ' -f5 /proc/$$/stat"));
  std::string output;
  std::string errors;
  child.wait(output, errors);
  EXPECT_NE(output, std::to_string(getpgrp()) + "\n");
}

TEST(Child, ThatCannotBeStartedEndsWithTheShellsStatusForIt) {
  Child child({.program = "/nowhere/program", .arguments = {}, .as_root = false, .kept = {}});
  std::string text;
  EXPECT_EQ(child.wait(text, text), 127);
}

TEST(Child, IsGivenTheTimeToEndInOrder) {
  const std::string path = testing::TempDir() + "ended." + std::to_string(getpid());
  {
    Child child(shell("cat >/dev/null; sleep 0.3; echo in order >" + path));
    std::string output;
    child.read_output(output);
  }
  EXPECT_EQ(access(path.c_str(), F_OK), 0);
  unlink(path.c_str());
}

TEST(Child, IsWaitedForNoLongerThanSaid) {
  Child child(shell("read line; exit 7"));
  std::string text;
  EXPECT_FALSE(child.wait_for(std::chrono::milliseconds(50), text, text));
  child.close_input();
  EXPECT_EQ(child.wait(text, text), 7);
}

TEST(Child, InheritsWhatItIsToldToAndNothingElse) {
  const Descriptor kept(open("/dev/null", O_RDONLY | O_CLOEXEC));
  const Descriptor other(open("/dev/null", O_RDONLY | O_CLOEXEC));
  Child::Start start =
      shell("for n in " + std::to_string(kept.number()) + " " + std::to_string(other.number()) +
            "; do [ -e /dev/fd/$n ] && echo $n; done; true");
  start.kept = {kept.number()};
  Child child(start);
  std::string output;
  std::string errors;
  child.wait(output, errors);
  EXPECT_EQ(output, std::to_string(kept.number()) + "\n");
}

TEST(EngineRunNames, DescriptorsAreReplacedByWhatTheUserCallsTheFiles) {
  EXPECT_EQ(with_name("/dev/fd/5: full; /dev/fd/55 and /dev/fd/5", "/dev/fd/5", "run/samples"),
            "run/samples: full; /dev/fd/55 and run/samples");
}

TEST(EngineRefusal, IsWhatTheEngineComplainedOf) {
  EXPECT_EQ(refusal({"no such workload", "--help lists the options"}, {"a note"}),
            "no such workload");
  EXPECT_EQ(refusal({"one", "two"}, {}), "one; two");
}

TEST(EngineRefusal, IsANoteWhereNothingElseSaysWhy) {
  EXPECT_EQ(refusal({"--help lists the options"}, {"-r does not take \"nan\""}),
            "-r does not take \"nan\"");
}

TEST(LineTail, HandsOutWholeLinesAsTheyCome) {
  const std::string path = testing::TempDir() + "tail." + std::to_string(getpid());
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  LineTail tail(path);
  std::string seen;
  const auto read = [&] {
    tail.read([&](std::string_view line) { seen += "[" + std::string(line) + "]"; });
  };
  ASSERT_EQ(write(file, "one\ntw", 6), 6);
  read();
  EXPECT_EQ(seen, "[one]");
  ASSERT_EQ(write(file, "o\n\n", 3), 3);
  read();
  EXPECT_EQ(seen, "[one][two][]");
  close(file);
  unlink(path.c_str());
}

}  // namespace
}  // namespace lab
