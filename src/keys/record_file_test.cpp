#include "keys/record_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "support/fake_inspection.h"

namespace vorn_keys {
namespace {

class RecordFile : public testing::Test {
 protected:
  RecordFile() { fake_inspection::reset(); }
  ~RecordFile() override { std::filesystem::remove(file_); }

  inspection::Console console() {
    return {.progress = [](double, const std::string&) {},
            .print = [](const std::string&) {},
            .complain = [this](const std::string& line) { complaints_.push_back(line); }};
  }

  std::string file_ = std::filesystem::temp_directory_path() /
                      ("vorn_record_test_" + std::to_string(getpid()) + ".machine");
  std::vector<std::string> complaints_;
};

TEST_F(RecordFile, HasTheWholeRecord) {
  const std::string record = "# a machine\n0444 a = 1\n";
  fake_inspection::state().recorded = record;
  std::ofstream(file_) << "an older and longer record than the one that is written over it\n";
  EXPECT_TRUE(record_into(file_, console()));
  std::ifstream in(file_);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), record);
  EXPECT_TRUE(use_record_of(file_, console()));
  EXPECT_EQ(fake_inspection::state().used_record, record);
  EXPECT_TRUE(complaints_.empty());
}

TEST_F(RecordFile, IsRefusedBeforeTheMachineIsRead) {
  fake_inspection::state().recorded = "0444 a = 1\n";
  EXPECT_FALSE(record_into("/nonexistent/folder/file", console()));
  EXPECT_EQ(complaints_,
            std::vector<std::string>{"/nonexistent/folder/file: No such file or directory"});
  EXPECT_EQ(fake_inspection::state().records, 0);
}

TEST_F(RecordFile, ThatTakesNothingIsNamed) {
  fake_inspection::state().recorded = "0444 a = 1\n";
  EXPECT_FALSE(record_into("/dev/full", console()));
  EXPECT_EQ(complaints_, std::vector<std::string>{"/dev/full: No space left on device"});
}

TEST_F(RecordFile, OfAMachineThatHasNoneIsNotWell) {
  EXPECT_FALSE(record_into(file_, console()));
}

TEST_F(RecordFile, ThatIsNoneIsNamedWithTheReason) {
  EXPECT_FALSE(use_record_of("/nonexistent", console()));
  EXPECT_FALSE(use_record_of("/tmp", console()));
  EXPECT_FALSE(use_record_of("/dev/zero", console()));
  EXPECT_EQ(complaints_, (std::vector<std::string>{"/nonexistent: No such file or directory",
                                                   "/tmp: Is a directory",
                                                   "/dev/zero: too large for a record"}));
  std::ofstream(file_) << "no machine\n";
  fake_inspection::state().wrong_with_record = "line 1: too few words";
  EXPECT_FALSE(use_record_of(file_, console()));
  EXPECT_EQ(complaints_.back(), file_ + ": line 1: too few words");
}

}  // namespace
}  // namespace vorn_keys
