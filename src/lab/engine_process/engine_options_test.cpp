#include "lab/engine_process/engine_options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/plan/plan_error.h"

namespace lab {
namespace {

using testing::ElementsAre;

std::string refusal(const std::vector<std::string>& arguments) {
  try {
    read_engine_options(arguments);
  } catch (const PlanError& error) {
    return error.what();
  }
  return "";
}

TEST(OptionsForTheEngine, TellTheLabWhatItHasToKnow) {
  const EngineOptions options =
      read_engine_options({"-w", "bmix", "-f", "20", "-k", "PC0C", "--key=TC0D", "-t", "1.5m"});
  EXPECT_THAT(options.keys, ElementsAre("PC0C", "TC0D"));
  EXPECT_EQ(options.time_s, 90);
  EXPECT_FALSE(options.rate);
  EXPECT_FALSE(read_engine_options({}).time_s);
}

TEST(OptionsForTheEngine, SayWhereTheFilesAreThatTheEngineIsToRead) {
  const EngineOptions options = read_engine_options({"--profile", "a", "-f", "5", "--edg=b"});
  ASSERT_EQ(options.files.size(), 2U);
  EXPECT_EQ(options.files[0].word, 1U);
  EXPECT_EQ(options.files[0].begin, 0U);
  EXPECT_EQ(options.files[1].word, 4U);
  EXPECT_EQ(options.files[1].begin, 6U);
}

TEST(OptionsForTheEngine, AreReadAnewEachTime) {
  EXPECT_EQ(read_engine_options({"-t", "5"}).time_s, 5);
  EXPECT_EQ(read_engine_options({"-t", "7"}).time_s, 7);
}

TEST(OptionsForTheEngine, ThatTheLabUsesItselfAreRefused) {
  EXPECT_EQ(refusal({"-o", "x"}),
            "-o is not for run: samples and record go into the run folder (--out)");
  EXPECT_EQ(refusal({"--record", "x"}),
            "--record is not for run: samples and record go into the run folder (--out)");
  EXPECT_THAT(refusal({"--steer"}), testing::StartsWith("--steer is not for run"));
  EXPECT_THAT(refusal({"--help"}), testing::StartsWith("--help is not for run"));
}

TEST(OptionsForTheEngine, ThatItDoesNotHaveAreRefused) {
  EXPECT_EQ(refusal({"--colour"}), "--colour: vorn-engine has no such option");
  EXPECT_EQ(refusal({"-t"}), "-t wants a value");
  EXPECT_EQ(refusal({"-m", "stray"}),
            "\"stray\" is no option: run takes the options of vorn-engine");
}

TEST(EngineArguments, OfARunGetKeysAndRateUnlessItHasThem) {
  EXPECT_THAT(arguments_with({"-w", "mix"}, 10, {"PC0C"}),
              ElementsAre("--attached", "-m", "-r", "10", "-k", "PC0C", "-w", "mix"));
  EXPECT_THAT(arguments_with({"-r", "5", "-k", "TC0D"}, 10, {"TC0D"}),
              ElementsAre("--attached", "-m", "-r", "5", "-k", "TC0D"));
  EXPECT_THAT(arguments_with({"-k", "TC0D"}, 10, {"PC0C", "TC0D"}),
              ElementsAre("--attached", "-m", "-r", "10", "-k", "PC0C", "-k", "TC0D"));
}

}  // namespace
}  // namespace lab
