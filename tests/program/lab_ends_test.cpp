#include <gmock/gmock.h>

#include <csignal>

#include "program/lab_program.h"

// Every way for a run of the lab to end, and whose its files are.

namespace {

using namespace lab_program;
using program::Outcome;
using program::Running;
using testing::HasSubstr;

TEST_F(Lab, CtrlCEndsARunInOrderAndAnalysesIt) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  Running running(lab(short_step({}, "5m")));
  ASSERT_TRUE(wait_for_samples(10));
  running.send(SIGINT);
  const Outcome outcome = running.wait();
  EXPECT_EQ(outcome.status, 130) << outcome.err;
  EXPECT_EQ(json("run.json")["end"], "interrupted");
  EXPECT_TRUE(fs::exists(fs::path(folder()) / "report.html"));
  EXPECT_EQ(json("result.json")["end"], "interrupted");
  EXPECT_THAT(outcome.out, HasSubstr("Warning: This run was interrupted before its end.\n"));
}

TEST_F(Lab, AKilledRunCanBeReadAndSaysThatItWasCutShort) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  {
    Running running(lab(short_step({}, "5m")));
    ASSERT_TRUE(wait_for_samples(10));
    running.send(SIGKILL);
    EXPECT_EQ(running.wait().signal, SIGKILL);
  }
  EXPECT_EQ(json("run.json")["end"], "cut short");
  // The engine ends with the lab; what it had written by then is found.
  using namespace std::chrono_literals;
  for (int look = 0;
       look < 300 && read(fs::path(folder()) / "stimulus").find("\nend\t") == std::string::npos;
       ++look) {
    std::this_thread::sleep_for(100ms);
  }
  const int written = samples();
  const Outcome report = program::run(lab({"report", folder(), "--json"}));
  EXPECT_LE(report.status, 1) << report.err;
  EXPECT_EQ(Json::parse(report.out, nullptr, false)["end"], "cut short");
  EXPECT_THAT(read(fs::path(folder()) / "stimulus"), HasSubstr("\nend\t"));
  EXPECT_GE(samples(), written);
  EXPECT_TRUE(fs::exists(fs::path(folder()) / "report.html"));
}

TEST_F(Lab, AKilledRunOfTwoStartsHasItsLastSecondsInAFileOfTheLast) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  std::ofstream(place_ / "two.toml")
      << "question = \"run\"\nthreads = 1\nload = \"bspin\"\n"
      << "[[phase]]\nname = \"one\"\nduty = 0.5\nduration = 1\n"
      << "[[phase]]\nname = \"two\"\nduty = 0.5\nduration = \"5m\"\nload = \"bint\"\n";
  int before = 0;
  {
    Running running(lab({"run", "--plan", place_ / "two.toml", "--out", folder()}));
    ASSERT_TRUE(wait_for([&] {
      Json info = json("run.json");
      return info.is_object() && info["phases"].size() == 2;
    }));
    before = samples();  // all of the first start
    EXPECT_FALSE(fs::exists(fs::path(folder()) / "samples.engine"));
    ASSERT_TRUE(wait_for_samples(before + 5));
    running.send(SIGKILL);
    EXPECT_EQ(running.wait().signal, SIGKILL);
  }
  EXPECT_EQ(json("run.json")["phases"][1]["engine_start"], 1);
  EXPECT_TRUE(fs::exists(fs::path(folder()) / "samples-2.engine"));
  const Outcome report = program::run(lab({"report", folder(), "--json"}));
  EXPECT_LE(report.status, 1) << report.err;
  EXPECT_EQ(Json::parse(report.out, nullptr, false)["end"], "cut short");
}

TEST_F(Lab, AnEngineThatEndsBeforeThePlanDoesIsNoCompleteRun) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  Running running(lab(short_step({}, "5m")));
  ASSERT_TRUE(wait_for_samples(10));
  const std::string pid = std::to_string(running.pid());
  const std::string engine = read("/proc/" + pid + "/task/" + pid + "/children");
  ASSERT_NE(engine, "");
  ASSERT_EQ(kill(std::stoi(engine), SIGTERM), 0);  // it ends in order, with status 0
  const Outcome outcome = running.wait();
  EXPECT_EQ(outcome.status, 5) << outcome.err;
  EXPECT_EQ(json("run.json")["end"], "failed");
  EXPECT_THAT(outcome.out, HasSubstr("Warning: This run failed"));
}

TEST_F(Lab, ALimitEndsARunAndWhatThereIsIsAnalysed) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const Outcome outcome = program::run(lab(short_step({"--limit", "TC0D=36"}, "2m")));
  EXPECT_EQ(outcome.status, 5) << outcome.err;
  EXPECT_EQ(json("run.json")["end"], "limit reached");
  EXPECT_EQ(json("result.json")["end"], "limit reached");
  EXPECT_THAT(json("run.json")["end_reason"].get<std::string>(),
              testing::MatchesRegex("TC0D shows [0-9.]+, and its limit is 36"));
  EXPECT_THAT(outcome.out, HasSubstr("Warning: TC0D shows "));
}

TEST_F(Lab, AFullDiskIsSaidAndTheRunGoesOn) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  Command command = lab({});
  command.path = "/bin/sh";
  // Blocks of 512 bytes: room for the first lines of samples.csv, and no more.
  std::string line = "ulimit -f 6; exec \"$0\" \"$@\"";
  command.arguments = {"-c", line, VORN_LAB_SIM_PROGRAM};
  for (const std::string& argument : short_step()) {
    command.arguments.push_back(argument);
  }
  const Outcome outcome = program::run(command);
  EXPECT_EQ(outcome.status, 4) << outcome.err << outcome.out;
  EXPECT_THAT(outcome.err, HasSubstr("File too large"));
  EXPECT_THAT(outcome.err + outcome.out, HasSubstr(folder() + "/samples.csv: File too large: "));
  EXPECT_THAT(outcome.out, HasSubstr("TC0D"));  // the answer is there all the same
  EXPECT_THAT(outcome.out, testing::Not(HasSubstr("/dev/fd/")));
}

TEST_F(Lab, AFolderThatIsThereIsNotTouched) {
  fs::create_directory(folder());
  std::ofstream(fs::path(folder()) / "precious") << "data";
  const Outcome outcome = program::run(lab(short_step(), As::kOrdinaryUser));
  EXPECT_EQ(outcome.status, 4);
  EXPECT_THAT(outcome.err, HasSubstr("choose another with --out"));
  EXPECT_EQ(read(fs::path(folder()) / "precious"), "data");
}

TEST_F(Lab, RootReadsNoFileForItsCaller) {
  SKIP_UNLESS_MAY_RUN(As::kRoot);
  std::ofstream(place_ / "secret") << "the secret\n";
  chmod((place_ / "secret").c_str(), 0600);
  Command command = lab({"run", "--out", folder(), "-w", "bspin", "-f", "20", "--profile",
                         place_ / "secret", "-t", "1"},
                        As::kRoot);
  // The address sanitizer cannot look for leaks in a process that gave rights up.
  command.environment = {"SUDO_UID=65534", "ASAN_OPTIONS=detect_leaks=0"};
  const Outcome outcome = program::run(command);
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.err, HasSubstr("secret: Permission denied"));
  EXPECT_THAT(outcome.err, testing::Not(HasSubstr("the secret")));
}

TEST_F(Lab, CalledThroughSudoTheFilesAreTheUsersAndTheFansAreHeld) {
  SKIP_UNLESS_MAY_RUN(As::kRoot);
  constexpr uid_t kUser = 65534;
  Command command = lab(short_step(), As::kRoot);
  command.environment = {"SUDO_UID=" + std::to_string(kUser)};
  const Outcome outcome = program::run(command);
  EXPECT_LE(outcome.status, 1) << outcome.err;
  for (const auto& entry : fs::directory_iterator(folder())) {
    struct stat status {};
    ASSERT_EQ(stat(entry.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, kUser) << entry.path();
  }
  EXPECT_EQ(json("run.json")["fans"], "held at their maximum");
  EXPECT_EQ(json("run.json")["end"], "complete");
}

}  // namespace
