#include "engine/options.h"

#include <fstream>
#include <iterator>

#include "engine/conflicts.h"
#include "support/settings_fixture.h"
#include "vorn/command_line.h"
#include "vorn/settings.h"

namespace engine {
namespace {

class EngineOptions : public SettingsFixture {
 protected:
  int parse_aloud(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "vorn-engine");
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
      argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    optind = 0;  // getopt_long() starts anew
    Options options(request_);
    return parse_options(static_cast<int>(arguments.size()), argv.data(), options);
  }

  /// What is printed of an invalid command line, behind the program's name; "valid" of another.
  std::string refusal_of(const std::vector<std::string>& arguments) {
    testing::internal::CaptureStderr();
    const int result = parse_aloud(arguments);
    const std::string printed = testing::internal::GetCapturedStderr();
    return result == 0 ? "valid" : printed.substr(printed.find(": ") + 2);
  }

  /// The conflict in a valid command line, or "none".
  std::string conflict_in(const std::vector<std::string>& arguments) {
    EXPECT_EQ(refusal_of(arguments), "valid");
    return conflict(request_).value_or("none");
  }

  Request request_;
};

TEST_F(EngineOptions, ARunTimeOfNothingIsRefusedWithTheUnitsThatItTakes) {
  EXPECT_EQ(
      refusal_of({"-t", "0"}),
      "--time \"0\": it is shorter than 1 us; it takes a time as in 90, 0.5, 500ms, 90s, 2m or "
      "1.5h\n");
}

TEST_F(EngineOptions, ARecordIsNotPutBetweenTheSamples) {
  EXPECT_EQ(refusal_of({"--record", "-"}),
            "--record \"-\": standard output is for samples; it takes the name of a file, or of a "
            "pipe\n");
}

TEST_F(EngineOptions, AreAllTaken) {
  EXPECT_EQ(refusal_of({"--duty",   "0.3",   "--profile", "p",         "--edges", "e",
                        "--loop",   "--at",  "0.5",       "--depth",   "0.4",     "--offset",
                        "0.2",      "--pin", "--record",  "r",         "--limit", "TC0D=90",
                        "--header", "-m",    "--limit",   "PC0C=60.5", "-c",      "2"}),
            "valid");
  EXPECT_EQ(request_.duty, 0.3);
  EXPECT_EQ(request_.profile, "p");
  EXPECT_EQ(request_.edges, "e");
  EXPECT_TRUE(request_.loop && request_.pin && request_.header);
  EXPECT_EQ(request_.depth, 0.4);
  EXPECT_EQ(request_.offset, 0.2);
  EXPECT_EQ(request_.at_ns, 500000000);
  EXPECT_EQ(request_.record, "r");
  ASSERT_EQ(request_.limits.size(), 2U);
  EXPECT_EQ(request_.limits[0].key, "TC0D");
  EXPECT_EQ(request_.limits[1].most, 60.5F);
  EXPECT_EQ(given_options, "mc");
  EXPECT_TRUE(monitor);
  EXPECT_EQ(cores, 2U);
}

TEST_F(EngineOptions, LeaveTheFastestPstateThatRootForcesByDefault) {
  pstate = default_pstate(true);
  EXPECT_EQ(refusal_of({"--leave-pstate"}), "valid");
  EXPECT_FALSE(setting_pstate());
}

TEST_F(EngineOptions, AreAllAbsentByDefault) {
  EXPECT_EQ(refusal_of({}), "valid");
  EXPECT_FALSE(request_.duty || request_.profile || request_.edges || request_.depth ||
               request_.offset || request_.at_ns || request_.record || request_.length_ns);
  EXPECT_FALSE(request_.loop || request_.pin || request_.header);
  EXPECT_TRUE(request_.limits.empty());
  EXPECT_EQ(conflict(request_), std::nullopt);
}

TEST_F(EngineOptions, ATimeInWholeSecondsIsReadAsVornReadsIt) {
  EXPECT_EQ(refusal_of({"-t", "0x10"}), "valid");
  EXPECT_EQ(trial_time, 16);
  EXPECT_FALSE(request_.length_ns);
}

TEST_F(EngineOptions, ATimeMayHaveAFractionOrAUnit) {
  EXPECT_EQ(refusal_of({"-t", "1.5h"}), "valid");
  EXPECT_EQ(request_.length_ns, 5400000000000);
}

TEST_F(EngineOptions, OfTwoTimesTheLastHolds) {
  EXPECT_EQ(refusal_of({"-t", "1.5h", "-t", "3"}), "valid");
  EXPECT_FALSE(request_.length_ns);
  EXPECT_EQ(trial_time, 3);
}

TEST_F(EngineOptions, AValueThatIsNotTakenIsNamedWithWhatIs) {
  EXPECT_EQ(refusal_of({"--duty", "1.2"}), "--duty \"1.2\": it takes a number from 0 to 1\n");
  EXPECT_EQ(refusal_of({"--depth", "nan"}), "--depth \"nan\": it takes a number from 0 to 1\n");
  EXPECT_EQ(refusal_of({"--offset", "-0.1"}), "--offset \"-0.1\": it takes a number from 0 to 1\n");
  EXPECT_EQ(refusal_of({"--profile", ""}), "--profile \"\": it takes the name of a file\n");
  EXPECT_EQ(refusal_of({"--at", "noon"}),
            "--at \"noon\": a number is missing; it takes a time as in 2026-11-21T15:00:00.5Z, or "
            "seconds since 1970\n");
  EXPECT_EQ(refusal_of({"--limit", "TC0D"}),
            "--limit \"TC0D\": it is not written KEY=VALUE; it takes a key and the most that it "
            "may show: TC0D=95\n");
  EXPECT_EQ(refusal_of({"-t", "1d"}),
            "--time \"1d\": \"d\" is no unit of time; it takes a time as in 90, 0.5, 500ms, 90s, "
            "2m or 1.5h\n");
}

struct Contradiction {
  const char* name;
  std::vector<std::string> arguments;
  const char* text;
};

class EngineConflicts : public EngineOptions, public testing::WithParamInterface<Contradiction> {};

TEST_P(EngineConflicts, AreNamed) {
  EXPECT_EQ(conflict_in(GetParam().arguments), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    All, EngineConflicts,
    testing::Values(
        Contradiction{"DutyAndProfile",
                      {"-f", "10", "--duty", "0.3", "--profile", "p"},
                      "--duty and --profile are two waveforms; choose one"},
        Contradiction{"SinusoidAndTriangle",
                      {"-f", "10", "-z", "1", "-e", "1"},
                      "--sinusoid and --triangle are two waveforms; choose one"},
        Contradiction{"DutyWithoutFrequency",
                      {"--duty", "0.3"},
                      "--duty needs the frequency that it shapes: add --frequency"},
        Contradiction{"SinusoidWithoutFrequency",
                      {"-z", "0.3"},
                      "--sinusoid needs the frequency that it shapes: add --frequency"},
        Contradiction{"EdgesWithFrequency",
                      {"--edges", "e", "-f", "5"},
                      "--edges has intervals of its own; leave out --frequency"},
        Contradiction{"DepthOfASquare",
                      {"-f", "5", "--depth", "0.5"},
                      "--depth is about a swing of the duty: add --sinusoid or --triangle"},
        Contradiction{"OffsetOfADuty",
                      {"-f", "5", "--duty", "0.1", "--offset", "0.5"},
                      "--offset is about a swing of the duty: add --sinusoid or --triangle"},
        Contradiction{"SwingAboveOne",
                      {"-f", "5", "-z", "1", "--offset", "0.5", "--depth", "0.6"},
                      "--depth and --offset add up to a duty above 1"},
        Contradiction{"LoopWithoutFile",
                      {"-f", "5", "--loop"},
                      "--loop plays a file over and over: add --profile or --edges"},
        Contradiction{"InvertWithoutWaveform",
                      {"-i"},
                      "--invert flips a waveform: add --frequency or --edges"},
        Contradiction{"ShapeTooFast",
                      {"-f", "5", "-e", "3"},
                      "--triangle is above half of --frequency, which cannot show it"},
        Contradiction{"PstateForcedAndLeft",
                      {"--leave-pstate", "-p", "1"},
                      "--pstate forces a P-state, and --leave-pstate none; choose one"},
        Contradiction{"SteeredDuty",
                      {"-f", "5", "--duty", "0.1", "--steer"},
                      "--duty and --steer are two waveforms; choose one"},
        Contradiction{"SteeredProfile",
                      {"-f", "5", "--profile", "e", "--steer"},
                      "--profile and --steer are two waveforms; choose one"},
        Contradiction{"SteeredEdges",
                      {"--edges", "e", "--steer"},
                      "--edges and --steer are two waveforms; choose one"},
        Contradiction{"SteeredSinusoid",
                      {"-f", "5", "-z", "1", "--steer"},
                      "--steer and --sinusoid are two waveforms; choose one"},
        Contradiction{"SteeredTriangle",
                      {"-f", "5", "-e", "1", "--steer"},
                      "--steer and --triangle are two waveforms; choose one"},
        Contradiction{"SteeredLoop",
                      {"-f", "5", "--loop", "--steer"},
                      "--loop plays a file over and over: add --profile or --edges"},
        Contradiction{"SteeredInverted",
                      {"-f", "5", "-i", "--steer"},
                      "--invert flips a waveform, and --steer says when the load is on; leave out "
                      "--invert"},
        Contradiction{"SteeredWithoutCarrier",
                      {"--steer"},
                      "--steer needs the frequency that it shapes: add --frequency"},
        Contradiction{"Steered", {"-f", "5", "--steer"}, "none"},
        Contradiction{"Attached", {"--attached"}, "none"},
        Contradiction{"KeyWithoutMonitor", {"-k", "TC0D"}, "--key is about samples: add --monitor"},
        Contradiction{
            "HeaderWithoutMonitor", {"--header"}, "--header is about samples: add --monitor"},
        Contradiction{"BindWithoutPin",
                      {"-b", "0"},
                      "--bind names a core, and only --pin binds to it; add --pin"},
        Contradiction{"MoreLoadsThanThreads",
                      {"-c", "1", "-w", "bspin", "-w", "spin"},
                      "--workload \"spin\" has no thread: there are 1; raise --cores, or leave it "
                      "out"},
        Contradiction{"AsManyLoadsAsThreads", {"-c", "2", "-w", "bspin", "-w", "spin"}, "none"},
        Contradiction{"FanWaveWithoutSpeed",
                      {"-F", "1"},
                      "--fanfrequency switches fans between a stop and a speed: add --rpm"},
        Contradiction{"Edges", {"--edges", "e", "--loop", "-i"}, "none"},
        Contradiction{"Profile", {"--profile", "e", "--loop", "-f", "20"}, "none"},
        Contradiction{"Swing", {"-f", "5", "-z", "1", "--offset", "0.4", "--depth", "0.6"}, "none"},
        Contradiction{"Sampling", {"-m", "-k", "TC0D", "-r", "2", "-o", "f", "--header"}, "none"},
        Contradiction{"PinnedBinding", {"--pin", "-b", "0"}, "none"}),
    [](const auto& contradiction) { return std::string(contradiction.param.name); });

TEST_F(EngineOptions, EachIsInTheHelpAndInTheManual) {
  testing::internal::CaptureStderr();
  usage("vorn-engine");
  const std::string help = testing::internal::GetCapturedStderr();
  std::ifstream file(VORN_MAN "/vorn-engine.1");
  const std::string manual(std::istreambuf_iterator<char>(file), {});
  for (const option& each : Options(request_).long_options()) {
    const std::string name = each.name;
    EXPECT_NE(help.find("  --" + name + ' '), std::string::npos) << name;
    const bool takes = each.has_arg == required_argument;
    const std::string head =
        takes ? ".TP\n.BI \\-\\-" + name + " \"" : ".TP\n.B \\-\\-" + name + '\n';
    const std::string second = "\\fR, \" \\-\\-" + name + " \"";  // of two under one head
    EXPECT_TRUE(manual.find(head) != std::string::npos || manual.find(second) != std::string::npos)
        << name;
  }
}

}  // namespace
}  // namespace engine
