#include "machines/linux/fans/assignment.h"

#include <gtest/gtest.h>

#include "machines/linux/fans/kept_file.h"
#include "support/machine/memory_tree.h"
#include "support/machine/test_surroundings.h"

namespace linux_machine {
namespace {

TEST(AssignmentWish, NamesANumberAndAFan) {
  const auto wish = parse_wish("F2=devices/platform/nct6775.656/fan4");
  ASSERT_TRUE(wish);
  EXPECT_EQ(wish->number, 2U);
  EXPECT_EQ(wish->device, "devices/platform/nct6775.656");
  EXPECT_EQ(wish->channel, 4);
  EXPECT_EQ(parse_wish("F0=nct6799/fan12")->channel, 12);
  EXPECT_EQ(parse_wish("F9=")->device, "") << "which takes the number away";
  for (const char* no : {"", "F0", "F10=a/fan1", "f0=a/fan1", "F0=fan1", "F0=a/1", "F0=/fan1",
                         "F0=a/fan", "F0=a/fan-1", "F0=a/fan1x", "=a/fan1", "F0Tg=a/fan1"}) {
    EXPECT_FALSE(parse_wish(no)) << no;
  }
}

class AssignedTest : public testing::Test {
 protected:
  MemoryTree tree_;
  TestSurroundings world_{tree_};
  const std::string folder_ = world_.surroundings.curves_folder;
  std::string wrong_;
};

TEST_F(AssignedTest, AreKeptAsTheyWereSaved) {
  EXPECT_TRUE(load_assigned(folder_, wrong_).empty());
  ASSERT_TRUE(save_assigned(folder_, {{.number = 0, .device = "devices/a b", .channel = 2},
                                      {.number = 3, .device = "devices/c", .channel = 1}}));
  EXPECT_EQ(kept_text(assignment_path(folder_)),
            "vorn fan numbers 1\nF0 devices/a b fan2\nF3 devices/c fan1\n");
  const auto all = load_assigned(folder_, wrong_);
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0].device, "devices/a b");
  EXPECT_EQ(all[1].number, 3U);
  EXPECT_EQ(all[1].channel, 1);
  EXPECT_EQ(wrong_, "");
}

TEST_F(AssignedTest, OfADamagedFileNothingIsUsed) {
  for (const char* text : {"vorn fan numbers 2\n", "vorn fan numbers 1\nF0 devices/a fan1\nF1\n",
                           "vorn fan numbers 1\nF0 fan1\n", "vorn fan numbers 1\nFx a fan1\n"}) {
    ASSERT_TRUE(keep_text(folder_, assignment_path(folder_), text));
    wrong_.clear();
    EXPECT_TRUE(load_assigned(folder_, wrong_).empty()) << text;
    EXPECT_NE(wrong_.find("/assigned: "), std::string::npos) << text;
  }
}

}  // namespace
}  // namespace linux_machine
