#include "engine/refusals.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "support/machine_fixture.h"
#include "vorn/settings.h"

namespace engine {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kSecond = 1000000000;

ExitStatus status_of(const std::optional<Refusal>& refusal) {
  return refusal ? refusal->status : ExitStatus::kEnded;
}

std::string text_of(const std::optional<Refusal>& refusal) {
  return refusal ? refusal->text : "none";
}

class Refusals : public MachineFixture {
 protected:
  Refusals() {
    std::string name = (fs::temp_directory_path() / "vorn-refusals-XXXXXX").string();
    folder_ = mkdtemp(name.data());
  }
  ~Refusals() override { fs::remove_all(folder_); }

  std::string path(const char* name) const { return (folder_ / name).string(); }

  Request request_;

 private:
  fs::path folder_;
};

TEST_F(Refusals, FansAndPStatesTakeRoot) {
  for (const char letter : {'s', 'a', 'F', 'p'}) {
    rpm = 2000;
    given_options = std::string("mc") + letter;
    EXPECT_EQ(status_of(refuse_rights(false)), ExitStatus::kRightMissing) << letter;
    EXPECT_EQ(status_of(refuse_rights(true)), ExitStatus::kEnded) << letter;
  }
  EXPECT_EQ(text_of(refuse_rights(false)),
            "--pstate changes the machine, which takes root: start the program as root");
}

TEST_F(Refusals, WhatChangesNothingTakesNoRight) {
  given_options = "mcs";
  rpm = 0;
  EXPECT_EQ(text_of(refuse_rights(false)), "none");
  given_options = "mnrkoct";
  EXPECT_EQ(text_of(refuse_rights(false)), "none");
}

TEST_F(Refusals, ALoadThatIgnoresTheWaveformIsNamedWithOneThatDoesNot) {
  EXPECT_EQ(text_of(refuse_deaf_loads(request_, true, {"fma", "spin"})),
            "the waveform is ignored by \"fma\", which never pauses: choose \"bfma\"");
  EXPECT_EQ(text_of(refuse_deaf_loads(request_, true, {})), "none");
  EXPECT_EQ(text_of(refuse_deaf_loads(request_, false, {"spin"})), "none");
  request_.at_ns = 1;
  EXPECT_EQ(text_of(refuse_deaf_loads(request_, false, {"spin"})),
            "--at is ignored by \"spin\", which never pauses: choose \"bspin\"");
  EXPECT_EQ(status_of(refuse_deaf_loads(request_, false, {"spin"})), ExitStatus::kWaveformIgnored);
}

TEST_F(Refusals, OnlyLoadsOfThisRunAreAskedWhetherTheyFollow) {
  workloads = {"bspin", "spin"};
  cores = 1;
  EXPECT_TRUE(deaf_loads().empty());
  cores = 4;
  EXPECT_EQ(deaf_loads(), std::vector<std::string>{"spin"});
}

TEST_F(Refusals, AnAgreedStartLiesInTheFuture) {
  request_.at_ns = 10 * kSecond;
  EXPECT_EQ(text_of(refuse_start(request_, 12 * kSecond, false)), "--at lies 2 s in the past");
  EXPECT_EQ(text_of(refuse_start(request_, 10 * kSecond, false)), "--at lies 0 s in the past");
  EXPECT_EQ(status_of(refuse_start(request_, 12 * kSecond, false)), ExitStatus::kTooLate);
  EXPECT_EQ(text_of(refuse_start(request_, 9 * kSecond, false)), "none");
  request_.at_ns.reset();
  EXPECT_EQ(text_of(refuse_start(request_, 12 * kSecond, false)), "none");
}

TEST_F(Refusals, AnAgreedStartLeavesTimeForASampleWithoutLoad) {
  request_.at_ns = 10 * kSecond + kSecond / 2;
  EXPECT_EQ(text_of(refuse_start(request_, 10 * kSecond, false)), "none");
  EXPECT_EQ(text_of(refuse_start(request_, 10 * kSecond, true)),
            "--at is only 0.5 s ahead; the run needs 0.7 s to be ready");
}

TEST_F(Refusals, AThreadIsBoundToNoProcessorThatIsNotAllowed) {
  EXPECT_EQ(text_of(refuse_binding(request_, 9, {2, 3})), "none");
  request_.pin = true;
  EXPECT_EQ(text_of(refuse_binding(request_, 3, {2, 3})), "none");
  EXPECT_EQ(text_of(refuse_binding(request_, std::nullopt, {2, 3})), "none");
  EXPECT_EQ(text_of(refuse_binding(request_, 9, {2, 3})),
            "--bind 9 is not among the cores that this process may run on: 2 3");
  EXPECT_EQ(status_of(refuse_binding(request_, 0, {})), ExitStatus::kRightMissing);
}

TEST_F(Refusals, BoundThreadsHaveAProcessorEach) {
  EXPECT_EQ(text_of(refuse_crowding(request_, std::nullopt, 3, 2)), "none");
  request_.pin = true;
  EXPECT_EQ(text_of(refuse_crowding(request_, std::nullopt, 2, 2)), "none");
  EXPECT_EQ(status_of(refuse_crowding(request_, std::nullopt, 3, 2)), ExitStatus::kRightMissing);
  EXPECT_EQ(text_of(refuse_crowding(request_, std::nullopt, 3, 2)),
            "--pin: 3 threads have only 2 cores that this process may run on, and some would have "
            "no turn; lower --cores");
  EXPECT_EQ(text_of(refuse_crowding(request_, 0, 3, 2)), "none") << "they are to share it";
}

TEST_F(Refusals, AFileInNoFolderCannotBeWritten) {
  const auto refusal = refuse_file("--output", path("nowhere/file"));
  EXPECT_EQ(status_of(refusal), ExitStatus::kFileRefused);
  EXPECT_EQ(text_of(refusal), "--output \"" + path("nowhere/file") +
                                  "\" cannot be written: No such file or directory; name a file "
                                  "in a folder of yours");
}

TEST_F(Refusals, AFolderIsNoFile) {
  EXPECT_EQ(status_of(refuse_file("--record", path("."))), ExitStatus::kFileRefused);
}

TEST_F(Refusals, AFileThatIsTriedLosesNothing) {
  std::ofstream(path("file")) << "kept";
  EXPECT_EQ(text_of(refuse_file("--output", path("file"))), "none");
  EXPECT_EQ(fs::file_size(path("file")), 4U);
}

TEST_F(Refusals, APipeIsNotOpened) {
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(text_of(refuse_file("--output", path("pipe"))), "none");
}

TEST_F(Refusals, AFileHasOnePurpose) {
  std::ofstream(path("file")) << "kept";
  fs::create_symlink(path("file"), path("link"));
  const auto refusal =
      refuse_shared_file({{"--edges", path("file"), false}, {"--record", path("link"), true}});
  EXPECT_EQ(status_of(refusal), ExitStatus::kFileRefused);
  EXPECT_EQ(text_of(refusal),
            "--edges and --record name one file, \"" + path("file") + "\"; give each its own");
  std::ofstream(path("other"));
  EXPECT_EQ(text_of(refuse_shared_file(
                {{"--record", path("file"), true}, {"--output", path("other"), true}})),
            "none");
  EXPECT_EQ(text_of(refuse_shared_file(
                {{"--record", "/dev/null", true}, {"--output", "/dev/null", true}})),
            "none")
      << "it holds nothing";
}

TEST_F(Refusals, TheFilesOfARunAreThoseThatItUses) {
  const auto count = [&] { return named_files(request_).size(); };
  output = path("samples");
  EXPECT_EQ(count(), 0U);
  monitor = true;
  EXPECT_EQ(count(), 1U);
  request_.profile = path("profile");
  request_.record = path("record");
  EXPECT_EQ(count(), 3U);
}

TEST_F(Refusals, AKeyThatTheMachineDoesNotHaveIsNamed) {
  monitor = true;
  keys = {"PC0C", "TXXX"};
  const auto refusal = refuse_keys(request_);
  EXPECT_EQ(status_of(refusal), ExitStatus::kKeyUnknown);
  EXPECT_TRUE(text_of(refusal).starts_with("this machine has no key \"TXXX\"")) << text_of(refusal);
}

TEST_F(Refusals, AFanThatTheMachineDoesNotHaveIsNamedBeforeAnyIsChanged) {
  rpm = 3000;
  fans = {"F0Tg", "F9Tg"};
  const auto refusal = refuse_fans();
  EXPECT_EQ(status_of(refusal), ExitStatus::kKeyUnknown);
  EXPECT_TRUE(text_of(refusal).starts_with("this machine has no fan \"F9Tg\"; "))
      << text_of(refusal);
  EXPECT_TRUE(written_to("F0Tg").empty());
  fans = {"F0Tg"};
  EXPECT_EQ(text_of(refuse_fans()), "none");
  rpm = 0;
  fans = {"F9Tg"};
  EXPECT_EQ(text_of(refuse_fans()), "none") << "they are left alone";
}

TEST_F(Refusals, APStateIsOneOfTheMachines) {
  pstate = 8;
  EXPECT_EQ(status_of(refuse_pstate(8)), ExitStatus::kRightMissing);
  EXPECT_EQ(text_of(refuse_pstate(8)), "--pstate 8: this machine has 0 to 7");
  EXPECT_EQ(text_of(refuse_pstate(9)), "none");
  pstate = -2;
  EXPECT_EQ(text_of(refuse_pstate(8)), "--pstate -2: this machine has 0 to 7");
  pstate = -1;
  EXPECT_EQ(text_of(refuse_pstate(0)), "none") << "it is left alone";
}

TEST_F(Refusals, KeysThatAreNotReadMayBeMissing) {
  keys = {"TXXX"};
  EXPECT_EQ(text_of(refuse_keys(request_)), "none");
  request_.limits = {{"TXXX", 1.0F}};
  EXPECT_EQ(status_of(refuse_keys(request_)), ExitStatus::kKeyUnknown);
  request_.limits = {{"TC0D", 1.0F}};
  EXPECT_EQ(text_of(refuse_keys(request_)), "none");
}

}  // namespace
}  // namespace engine
