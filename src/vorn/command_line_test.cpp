#include "vorn/command_line.h"

#include <getopt.h>

#include <list>
#include <regex>
#include <string>
#include <vector>

#include "support/settings_fixture.h"
#include "vorn/notes.h"
#include "vorn/option_extension.h"
#include "vorn/settings.h"

namespace {

using Strings = std::list<std::string>;

class CommandLine : public SettingsFixture {
 protected:
  /// Parses "vorn" and `arguments`.
  static int parse_aloud(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "vorn");
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
      argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    return parse_options(static_cast<int>(arguments.size()), argv.data());
  }

  /// The same; what is printed meanwhile goes to `printed_`.
  int parse(const std::vector<std::string>& arguments) {
    testing::internal::CaptureStderr();
    const int result = parse_aloud(arguments);
    printed_ = testing::internal::GetCapturedStderr();
    return result;
  }

  std::string printed_;
};

TEST_F(CommandLine, WithoutArgumentsIsAPlainSpin) {
  EXPECT_EQ(parse({}), 0);
  EXPECT_EQ(workloads, std::vector<std::string>{"spin"});
  EXPECT_EQ(keys, Strings{"PC0C"});
  EXPECT_EQ(fans, (Strings{"F0Tg", "F1Tg"}));
  EXPECT_FALSE(using_timing_thread() || using_fan_thread() || using_monitor_thread());
  EXPECT_FALSE(setting_fans() || setting_pstate());
  EXPECT_EQ(cores, 0xFFFFFFFFU);
  EXPECT_EQ(binding, 0xFFFFFFFFU);
  EXPECT_EQ(trial_time, 0);
  EXPECT_TRUE(params.active);
}

TEST_F(CommandLine, SetsEverySettingByItsShortOption) {
  EXPECT_EQ(parse({"-n", "-m", "-i", "-r",  "4",     "-o",   "file", "-c",   "3",    "-b",   "1",
                   "-f", "10", "-F", "0.5", "-k",    "TC0D", "-a",   "F2Tg", "-s",   "2500", "-t",
                   "60", "-p", "2",  "-w",  "bspin", "-z",   "0.25", "-e",   "0.125"}),
            0);
  EXPECT_TRUE(noisy && monitor && invert);
  EXPECT_EQ(monitor_rate, 4.0);
  EXPECT_EQ(output, "file");
  EXPECT_EQ(cores, 3U);
  EXPECT_EQ(binding, 1U);
  EXPECT_EQ(frequency, 10.0);
  EXPECT_EQ(fanfrequency, 0.5);
  EXPECT_EQ(keys, Strings{"TC0D"});
  EXPECT_EQ(fans, Strings{"F2Tg"});
  EXPECT_EQ(rpm, 2500U);
  EXPECT_EQ(trial_time, 60);
  EXPECT_EQ(pstate, 2);
  EXPECT_EQ(workloads, std::vector<std::string>{"bspin"});
  EXPECT_EQ(sinusoid, 0.25);
  EXPECT_EQ(triangle, 0.125);
}

TEST_F(CommandLine, SetsEverySettingByItsLongOption) {
  EXPECT_EQ(parse({"--noisy", "--monitor",      "--invert", "--monrate",  "4",    "--output",
                   "file",    "--cores",        "3",        "--bind",     "1",    "--frequency",
                   "10",      "--fanfrequency", "0.5",      "--key",      "TC0D", "--fan",
                   "F2Tg",    "--rpm",          "2500",     "--time",     "60",   "--pstate",
                   "2",       "--workload",     "bspin",    "--sinusoid", "0.25", "--triangle",
                   "0.125"}),
            0);
  EXPECT_TRUE(noisy && monitor && invert);
  EXPECT_EQ(monitor_rate, 4.0);
  EXPECT_EQ(output, "file");
  EXPECT_EQ(cores, 3U);
  EXPECT_EQ(binding, 1U);
  EXPECT_EQ(frequency, 10.0);
  EXPECT_EQ(fanfrequency, 0.5);
  EXPECT_EQ(keys, Strings{"TC0D"});
  EXPECT_EQ(fans, Strings{"F2Tg"});
  EXPECT_EQ(rpm, 2500U);
  EXPECT_EQ(trial_time, 60);
  EXPECT_EQ(pstate, 2);
  EXPECT_EQ(workloads, std::vector<std::string>{"bspin"});
  EXPECT_EQ(sinusoid, 0.25);
  EXPECT_EQ(triangle, 0.125);
}

TEST_F(CommandLine, TakesEveryBaseOfStrtol) {
  EXPECT_EQ(parse({"-c", "0x10", "-p", "010"}), 0);
  EXPECT_EQ(cores, 16U);
  EXPECT_EQ(pstate, 8);
}

TEST_F(CommandLine, AnRpmOfMinusOneIsEachFansMaximum) {
  EXPECT_EQ(parse({"-s", "-1"}), 0);
  EXPECT_EQ(rpm, 0xFFFFFFFFU);
}

TEST_F(CommandLine, AnRpmBeyond32BitsIsEachFansMaximumToo) {
  EXPECT_EQ(parse({"-s", "4294967296"}), 0);
  EXPECT_EQ(rpm, 0xFFFFFFFFU);
}

TEST_F(CommandLine, AnRpmOfZeroLeavesTheFansAloneEvenInAPrivilegedRun) {
  rpm = default_rpm(true);
  EXPECT_EQ(parse({"-s", "0"}), 0);
  EXPECT_FALSE(setting_fans());
}

TEST_F(CommandLine, UnsignedSettingsKeepTheThirtyTwoBitsThatWereWritten) {
  EXPECT_EQ(parse({"-s", "3000000000", "-b", "0x80000001"}), 0);
  EXPECT_EQ(rpm, 3000000000U);
  EXPECT_EQ(binding, 0x80000001U);
}

TEST_F(CommandLine, AnRpmOfAllOnesIsEachFansMaximum) {
  EXPECT_EQ(parse({"-s", "0xFFFFFFFF"}), 0);
  EXPECT_EQ(rpm, kMaximumSpeed);
}

TEST_F(CommandLine, AnRpmThatThirtyTwoBitsDoNotHoldIsEachFansMaximum) {
  EXPECT_EQ(parse({"-s", "99999999999"}), 0);
  EXPECT_EQ(rpm, kMaximumSpeed);
}

TEST_F(CommandLine, SignedSettingsSaturateAtThirtyTwoBits) {
  EXPECT_EQ(parse({"-t", "0x80000000", "-p", "99999999999"}), 0);
  EXPECT_EQ(trial_time, 0x7FFFFFFF);
  EXPECT_EQ(pstate, 0x7FFFFFFF);
}

TEST_F(CommandLine, ACountThatThirtyTwoBitsDoNotHoldIsNoCount) {
  EXPECT_EQ(parse({"-c", "0x80000000"}), -1);
}

TEST_F(CommandLine, TheLargestCountIsOne) {
  EXPECT_EQ(parse({"-c", "0x7FFFFFFF"}), 0);
  EXPECT_EQ(cores, 0x7FFFFFFFU);
}

TEST_F(CommandLine, ARejectedValueHasAlreadyBeenStored) {
  EXPECT_EQ(parse({"-c", "-2"}), -1);
  EXPECT_EQ(cores, 0xFFFFFFFEU);
}

TEST_F(CommandLine, GivenKeysReplaceTheDefault) {
  EXPECT_EQ(parse({"-k", "TC0D", "-k", "TC0P"}), 0);
  EXPECT_EQ(keys, (Strings{"TC0D", "TC0P"}));
}

TEST_F(CommandLine, AnUnknownWorkloadIsNamed) {
  EXPECT_EQ(parse({"-w", "spin", "-w", "nosuch"}), -1);
  EXPECT_EQ(printed_, "Unknown workload \"nosuch\"\n");
}

TEST_F(CommandLine, AWorkloadMayBeNamedTwice) {
  EXPECT_EQ(parse({"-w", "spin", "-w", "spin"}), 0);
  EXPECT_EQ(workloads, (std::vector<std::string>{"spin", "spin"}));
}

TEST_F(CommandLine, InvertLeavesTheWaveformOff) {
  EXPECT_EQ(parse({"-i"}), 0);
  EXPECT_FALSE(params.active);
}

class Rejected : public CommandLine,
                 public testing::WithParamInterface<std::vector<std::string>> {};

TEST_P(Rejected, IsNamedInANote) {
  EXPECT_EQ(parse(GetParam()), -1);
  const std::string& option = GetParam().front();
  const std::string& value = GetParam().back();
  EXPECT_TRUE(printed_.starts_with(std::string(program_name()) + ": note: " + option + " (--"))
      << printed_;
  EXPECT_NE(printed_.find(" does not take \"" + value + "\"; it takes a "), std::string::npos)
      << printed_;
}

using Arguments = std::vector<std::string>;

INSTANTIATE_TEST_SUITE_P(
    CommandLine, Rejected,
    testing::Values(Arguments{"-c", "0"}, Arguments{"-c", "-2"}, Arguments{"-c", "4x"},
                    Arguments{"-c", ""}, Arguments{"-t", "0"}, Arguments{"-t", "-1"},
                    Arguments{"-f", "0"}, Arguments{"-f", "nan"}, Arguments{"-f", ""},
                    Arguments{"-F", "-1"}, Arguments{"-r", "-1"}, Arguments{"-r", "1Hz"},
                    Arguments{"-b", "-1"}, Arguments{"-p", "-3"}, Arguments{"-s", "fast"},
                    Arguments{"-s", ""}, Arguments{"-z", "0"}, Arguments{"-e", "0"}),
    [](const auto& test) {
      std::string name;
      for (const std::string& argument : test.param) {
        name += name.empty() ? "" : "_";
        name += argument.empty() ? "Nothing" : argument;
      }
      return std::regex_replace(std::regex_replace(name, std::regex("-(\\d)"), "Minus$1"),
                                std::regex("-"), "Option_");
    });

TEST_F(CommandLine, AWordThatIsNoOptionIsNamed) {
  for (const Arguments& arguments : {Arguments{"-n", "more"}, Arguments{"more", "-n"}}) {
    EXPECT_EQ(parse(arguments), -1);
    EXPECT_EQ(printed_, std::string(program_name()) +
                            ": note: \"more\" belongs to no option; each option begins with \"-\" "
                            "or \"--\"\n");
    optind = 0;
  }
}

TEST_F(CommandLine, KnowsWhichOptionsWereGiven) {
  EXPECT_EQ(parse({"-m", "--key", "TC0D", "-r", "5"}), 0);
  EXPECT_EQ(given_options, "mkr");
}

TEST_F(CommandLine, AnUnknownOptionIsRejectedInTheWordsOfGetopt) {
  EXPECT_EQ(parse({"-x"}), -1);
  EXPECT_EQ(printed_, "vorn: invalid option -- 'x'\n");
}

TEST_F(CommandLine, AMissingArgumentIsRejectedInTheWordsOfGetopt) {
  EXPECT_EQ(parse({"-c"}), -1);
  EXPECT_EQ(printed_, "vorn: option requires an argument -- 'c'\n");
}

using CommandLineDeathTest = CommandLine;

TEST_F(CommandLineDeathTest, VersionEndsTheProcessBeforeLaterOptionsAreLookedAt) {
  EXPECT_EXIT(parse_aloud({"-v", "-x"}), testing::ExitedWithCode(0),
              "^Vorn 0\\.2i 24August2006\n$");
}

TEST_F(CommandLineDeathTest, AnInvalidOptionBeforeVersionIsRejected) {
  EXPECT_EQ(parse({"-x", "-v"}), -1);
}

TEST_F(CommandLineDeathTest, HelpEndsTheProcess) {
  EXPECT_EXIT(parse_aloud({"-h", "-x"}), testing::ExitedWithCode(0), "^Usage: vorn --help");
}

TEST_F(CommandLineDeathTest, NeedsTheRegistry) {
  EXPECT_DEATH((factories.clear(), parse_options(0, nullptr)),
               "Assertion failed: \\(!factories.empty\\(\\)\\), function parse_options, "
               "file src/vorn\\.");
}

TEST_F(CommandLineDeathTest, IsReadOnce) {
  workloads = {"spin"};
  EXPECT_DEATH(parse_options(0, nullptr),
               "Assertion failed: \\(workloads.empty\\(\\)\\), function parse_options, "
               "file src/vorn\\.");
}

TEST_F(CommandLine, UsageListsTheWorkloadsByName) {
  testing::internal::CaptureStderr();
  usage("vorn");
  const std::string text = testing::internal::GetCapturedStderr();
  EXPECT_EQ(text.substr(0, 12), "Usage: vorn ");
  EXPECT_TRUE(
      text.ends_with("\t\"bspin\"\tblocking spin loop\n"
                     "\t\"spin\"\tminimal spin loop (default)\n"))
      << text;
}

/// Takes one option of its own, reads vorn's run time in its own way, and refuses "no".
class Extension : public OptionExtension {
 public:
  std::vector<option> long_options() const override {
    return {{"more", required_argument, nullptr, kMore}};
  }
  Reading read(int code, const char* argument) override {
    if (code != kMore && code != 't') {
      return Reading::kNotMine;
    }
    (code == kMore ? more : time) = argument;
    return std::string(argument) == "no" ? Reading::kRefused : Reading::kTaken;
  }

  static constexpr int kMore = 1000;
  std::string more;
  std::string time;
};

class ExtendedCommandLine : public SettingsFixture {
 protected:
  int parse(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "engine");
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
      argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    return parse_options(static_cast<int>(arguments.size()), argv.data(), extension_);
  }

  Extension extension_;
};

TEST_F(ExtendedCommandLine, TakesItsOptionsBesideThoseOfVorn) {
  EXPECT_EQ(parse({"-c", "3", "--more", "a", "--noisy"}), 0);
  EXPECT_EQ(extension_.more, "a");
  EXPECT_TRUE(noisy);
  EXPECT_EQ(cores, 3U);
}

TEST_F(ExtendedCommandLine, MayReadAnOptionOfVornInItsOwnWay) {
  EXPECT_EQ(parse({"--time", "1.5h"}), 0);
  EXPECT_EQ(extension_.time, "1.5h");
  EXPECT_FALSE(using_timer());
}

TEST_F(ExtendedCommandLine, EndsAtWhatItRefuses) {
  EXPECT_EQ(parse({"--more", "no", "-c", "3"}), -1);
  EXPECT_EQ(cores, kNotGiven);
}

}  // namespace
