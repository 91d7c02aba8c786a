#include "lab/folder/run_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "lab/folder/folder_error.h"
#include "lab/folder/run_info_file.h"
#include "lab/folder/samples_file.h"
#include "lab/folder/whole_file.h"

namespace lab {
namespace {

namespace fs = std::filesystem;

class RunFolderTest : public testing::Test {
 protected:
  ~RunFolderTest() override { fs::remove_all(place_); }

  static void write(const fs::path& path, const std::string& text) { std::ofstream(path) << text; }

  /// A run as it is before its first sample.
  RunFolder begun() {
    RunFolder folder = RunFolder::create(place_);
    Plan plan;
    plan.question = "run";
    folder.write_plan(plan, "vorn-lab");
    info_.question = "run";
    info_.processors = 1;
    info_.keys = {{.name = "TC0D", .unit = "degC", .source = "die \"0\""}};
    folder.write_info(info_);
    return folder;
  }

  const fs::path place_ = testing::TempDir() + "run." + std::to_string(getpid());
  RunInfo info_;
};

TEST_F(RunFolderTest, AFolderWithSomethingInItIsRefused) {
  fs::create_directory(place_);
  write(place_ / "precious", "data");
  EXPECT_THROW(RunFolder::create(place_), FolderError);
  EXPECT_TRUE(fs::exists(place_ / "precious"));
}

TEST_F(RunFolderTest, OfARunThatEndedTheSamplesMayNotBeMissing) {
  const RunFolder folder = begun();
  EXPECT_TRUE(folder.read().samples.time_s.empty()) << "it may have been killed before them";
  info_.end = RunEnd::complete;
  folder.write_info(info_);
  try {
    (void)folder.read();
    FAIL();
  } catch (const FolderError& error) {
    EXPECT_THAT(error.what(), testing::HasSubstr("samples.csv is missing"));
  }
}

TEST_F(RunFolderTest, TheFolderOfAComparisonIsNamedAsOne) {
  fs::create_directory(place_);
  for (const char* text : {"{}", "[", "[1]", "{\"question\": \"compare\"}"}) {
    write(place_ / "result.json", text);
    try {
      RunFolder(place_).read();
      FAIL() << text;
    } catch (const FolderError& error) {
      const bool named = std::string(error.what()).find("comparison") != std::string::npos;
      EXPECT_EQ(named, std::string(text).find("compare") != std::string::npos) << error.what();
    }
  }
}

TEST_F(RunFolderTest, AnEmptyFolderIsTakenByTheFirstWhoComes) {
  fs::create_directory(place_);
  RunFolder::create(place_);
  EXPECT_THROW(RunFolder::create(place_), FolderError);
}

TEST_F(RunFolderTest, OfTwoAtTheSameTimeOneGetsIt) {
  std::atomic<int> got = 0;
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 8; ++thread) {
      threads.emplace_back([&] {
        try {
          RunFolder::create(place_);
          ++got;
        } catch (const FolderError&) {
        }
      });
    }
  }
  EXPECT_EQ(got, 1);
}

TEST_F(RunFolderTest, WhatIsNoFolderOfARunIsSaidToBeNone) {
  EXPECT_THROW((void)RunFolder(place_).read(), FolderError);
  fs::create_directories(place_ / "run.json");
  EXPECT_THROW((void)RunFolder(place_).read(), FolderError) << "a folder is no file";
}

TEST_F(RunFolderTest, ADamagedPlanIsOneOfTheFoldersErrors) {
  const RunFolder folder = begun();
  fs::remove(folder.plan());
  EXPECT_THROW((void)folder.read(), FolderError);
  write(folder.plan(), "duty =");
  EXPECT_THROW((void)folder.read(), FolderError);
}

TEST_F(RunFolderTest, SaysFromTheBeginningThatTheRunWasCutShort) {
  const RunFolder folder = begun();
  EXPECT_THAT(read_whole(folder.info()), testing::HasSubstr("\"end\": \"cut short\""));
  const lab::Run run = folder.read();
  EXPECT_EQ(run.info.end, RunEnd::cut_short);
  EXPECT_TRUE(run.samples.time_s.empty());
}

TEST_F(RunFolderTest, EverythingAboutARunIsReadAgain) {
  const RunFolder folder = begun();
  SamplesWriter(folder.samples(), sample_columns(info_.keys));
  info_.end = RunEnd::limit;
  info_.end_reason = "limit reached";
  info_.engine_status = 20;
  info_.command = {"vorn-lab", "run"};
  info_.engine_commands = {{"vorn-engine", "-m"}};
  info_.warnings = {"a note"};
  info_.phases = {{.name = "load", .engine_start = 1, .fans = "left", .pstate = "3"}};
  info_.host = "h";
  info_.subject = "die.csv";
  info_.simulated = true;
  folder.write_info(info_);
  const RunInfo again = folder.read().info;
  EXPECT_EQ(run_info_text(again), run_info_text(info_));
  EXPECT_EQ(again.end, RunEnd::limit);
  ASSERT_EQ(again.phases.size(), 1U);
  EXPECT_EQ(again.phases[0].engine_start, 1);
  EXPECT_EQ(again.phases[0].fans, "left");
  EXPECT_EQ(again.keys[0].source, "die \"0\"");
}

TEST_F(RunFolderTest, ColumnsHaveTheUnitsOfTheirKeys) {
  const RunFolder folder = begun();
  SamplesWriter writer(folder.samples(), sample_columns(info_.keys));
  writer.add(0, {0, 0, 0, 0, 31.5});
  const lab::Run run = folder.read();
  EXPECT_EQ(run.samples.find("TC0D")->unit, "degC");
  EXPECT_EQ(run.samples.find("TC0D")->source, "die \"0\"");
  EXPECT_EQ(run.samples.find(kAskedColumn)->unit, "");
}

TEST_F(RunFolderTest, WhatAKilledRunHadNotPutTogetherIsFoundInTheEnginesFiles) {
  const RunFolder folder = begun();
  {
    SamplesWriter writer(folder.samples(), sample_columns(info_.keys));
    writer.add(0, {0, 0, 0, 0.25, 30});
  }
  write(folder.engine_samples(), "0\t30\n0.1\t31\n0.2\t32\n0.3\t3");  // killed within a line
  write(folder.stimulus(),
        "setting\twaveform\tsteered\nsample\t1000000000\t0\nsample\t1100000000\t0."
        "1\nsample\t1200000000\t0.2\n"
        "edge\t1050000000\t1050000000\ton\nsample\t13000");
  const lab::Run run = folder.read();
  EXPECT_THAT(run.samples.time_s,
              testing::ElementsAre(0, testing::DoubleEq(0.1), testing::DoubleEq(0.2)));
  EXPECT_THAT(run.samples.find("TC0D")->values, testing::ElementsAre(30, 31, 32));
  EXPECT_DOUBLE_EQ(run.samples.find(kAskedColumn)->values[1], 0.5);
  EXPECT_EQ(run.samples.find(kOthersColumn)->values[0], 0.25);
  EXPECT_EQ(run.delivery.edges, 1);
  EXPECT_FALSE(run.delivery.whole);
}

TEST_F(RunFolderTest, AKilledRunOfSeveralStartsIsFoundInTheFilesOfTheLast) {
  RunFolder folder = begun();
  info_.phases = {{.name = "one", .engine_start = 0, .fans = "", .pstate = ""},
                  {.name = "two", .engine_start = 0, .fans = "", .pstate = ""},
                  {.name = "three", .engine_start = 1, .fans = "", .pstate = ""}};
  folder.write_info(info_);
  {
    SamplesWriter writer(folder.samples(), sample_columns(info_.keys));
    writer.add(0, {0, 0, 0, 0, 30});
  }
  write(folder.stimulus(0), "sample\t1000000000\t0\n");
  write(folder.stimulus(1), "sample\t3000000000\t0\nsample\t3100000000\t0.1\n");
  write(folder.engine_samples(1), "0\t40\n0.1\t41\n");
  const lab::Run run = folder.read();
  EXPECT_THAT(run.samples.time_s,
              testing::ElementsAre(0, testing::DoubleEq(2), testing::DoubleEq(2.1)));
  EXPECT_THAT(run.samples.find("TC0D")->values, testing::ElementsAre(30, 40, 41));
  EXPECT_THAT(run.samples.find(kPhaseColumn)->values, testing::ElementsAre(0, 2, 2));
}

TEST_F(RunFolderTest, SamplesThatTheDiskDidNotTakeAreCounted) {
  const RunFolder folder = begun();
  {
    SamplesWriter writer(folder.samples(), sample_columns(info_.keys));
    writer.add(0, {0, 0, 0, 0, 30});
    writer.add(0.2, {0, 0, 0, 0, 30});
  }
  write(folder.stimulus(),
        "sample\t1000000000\t0\nsample\t1100000000\t0.1\nsample\t1200000000\t0.2\n");
  EXPECT_EQ(folder.read().delivery.samples, 3);
  EXPECT_EQ(folder.read().delivery.samples_lost, 1);
}

TEST_F(RunFolderTest, AFolderWithoutARunIsNamed) {
  EXPECT_THROW(RunFolder("/nowhere").read(), FolderError);
}

TEST_F(RunFolderTest, AnotherVersionIsRefused) {
  const RunFolder folder = begun();
  write(folder.info(), "{\"version\": 99}");
  EXPECT_THROW(folder.read(), FolderError);
  write(folder.info(), "not JSON");
  EXPECT_THROW(folder.read(), FolderError);
  write(folder.info(), "{\"version\": 1, \"keys\": 3, \"command\": {}}");
  EXPECT_THROW(folder.read(), FolderError);
}

TEST_F(RunFolderTest, TheResultHoldsTheFiguresBesideTheWords) {
  const RunFolder folder = begun();
  Answer answer;
  answer.sentences = {"It is warm."};
  answer.figures = {
      {"keys",
       {{"TC0D", {{"mean", to_json({.value = 30, .low = 29, .high = 31, .unit = "degC"})}}}}}};
  folder.write_result(folder.read(), answer);
  const auto json = nlohmann::json::parse(read_whole(folder.result()));
  EXPECT_EQ(json["version"], 1);
  EXPECT_EQ(json["question"], "run");
  EXPECT_EQ(json["end"], "cut short");
  EXPECT_EQ(json["answer"][0], "It is warm.");
  EXPECT_EQ(json["keys"]["TC0D"]["mean"]["high"], 31);
}

TEST(WholeFile, IsReplacedAtOnceOrNotAtAll) {
  EXPECT_THROW(write_whole("/nowhere/file", "text"), FolderError);
  EXPECT_THROW(read_whole("/nowhere/file"), FolderError);
}

}  // namespace
}  // namespace lab
