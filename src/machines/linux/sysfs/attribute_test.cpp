#include "machines/linux/sysfs/attribute.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "support/machine/faulty_tree.h"
#include "support/machine/machine_file.h"
#include "support/machine/memory_tree.h"
#include "support/machine/test_surroundings.h"

namespace sysfs {
namespace {

constexpr const char* kTree =
    "0444 a/input = 1098\n"
    "0400 a/energy_uj = 5\n"
    "0644 a/pwm1 = 153\n"
    "0444 a/empty = \n"
    "0444 a/garbage = twelve\n"
    "0444 a/asleep ! ENODATA\n"
    "link class/one -> ../a\n";

class AttributeTest : public testing::Test {
 protected:
  MemoryTree tree_{std::string(kTree)};
};

TEST_F(AttributeTest, ReadsANumber) {
  EXPECT_EQ(*read_integer(tree_, "class/one/input"), 1098);
}

TEST_F(AttributeTest, TellsFourKindsOfTroubleApart) {
  tree_.superuser = false;
  const auto trouble = [&](const char* path) {
    const Result<long long> result = read_integer(tree_, path);
    return result.failure();
  };
  EXPECT_EQ(trouble("a/nothing").trouble, Trouble::absent);
  EXPECT_EQ(trouble("a/energy_uj").trouble, Trouble::refused);
  EXPECT_EQ(trouble("a/asleep").trouble, Trouble::silent);
  EXPECT_EQ(trouble("a/empty").trouble, Trouble::silent);
  EXPECT_EQ(trouble("a/garbage").trouble, Trouble::nonsense);

  EXPECT_EQ(trouble("a/nothing").message, "opening a/nothing: No such file or directory");
  EXPECT_EQ(trouble("a/energy_uj").message, "opening a/energy_uj: Permission denied");
  EXPECT_EQ(trouble("a/asleep").message, "reading a/asleep: No data available");
  EXPECT_EQ(trouble("a/empty").message, "reading a/empty: it is empty");
  EXPECT_EQ(trouble("a/garbage").message, "reading a/garbage: \"twelve\" is not a number");
}

TEST_F(AttributeTest, IsOpenedOnceAndReadWithOneRead) {
  FaultyTree counted(tree_);
  Result<Attribute> attribute = Attribute::open(counted, "a/input", Mode::read);
  ASSERT_TRUE(attribute);
  EXPECT_EQ(counted.accesses(), 1);
  EXPECT_EQ(*attribute->read_integer(), 1098);
  EXPECT_EQ(*attribute->read_integer(), 1098);
  EXPECT_EQ(counted.accesses(), 3);
}

TEST_F(AttributeTest, IsAskedAgainWhenItSaysSo) {
  FaultyTree faulty(tree_);
  Result<Attribute> attribute = Attribute::open(faulty, "a/input", Mode::read);
  faulty.fail(1, EAGAIN, FaultyTree::For::once);
  EXPECT_EQ(*attribute->read_integer(), 1098);
  faulty.fail(1, EAGAIN, FaultyTree::For::ever);
  EXPECT_EQ(attribute->read_integer().failure().error, EAGAIN);
  EXPECT_EQ(faulty.accesses(), 3);
}

TEST_F(AttributeTest, IsWrittenAndClosed) {
  {
    Result<Attribute> attribute = Attribute::open(tree_, "a/pwm1", Mode::write);
    ASSERT_TRUE(attribute->write(255));
    EXPECT_EQ(tree_.text("a/pwm1"), "255");
    tree_.fail("a/pwm1", EBUSY);
    EXPECT_EQ(attribute->write(1).failure().message, "writing a/pwm1: Device or resource busy");
  }
  EXPECT_EQ(tree_.open_handles(), 0);
}

// The same machine as files: what the kernel's own calls make of it.
TEST_F(AttributeTest, FolderBehavesAsTheMachineInMemory) {
  const TestSurroundings surroundings(tree_);
  build_machine(kTree, surroundings.folder());
  Folder folder(surroundings.folder());
  EXPECT_EQ(*read_integer(folder, "class/one/input"), 1098);
  EXPECT_EQ(folder.real_path("class/one"), "a");
  EXPECT_EQ(folder.real_path("class/two"), "");
  EXPECT_EQ(list(folder, "class/one"), list(tree_, "class/one"));
  EXPECT_TRUE(list(folder, "nowhere").empty());
  ASSERT_TRUE(write_text(folder, "a/pwm1", "7"));
  EXPECT_EQ(read_text(folder, "a/nothing").failure().message,
            "opening a/nothing: No such file or directory");
  EXPECT_TRUE(exists(folder, "a/energy_uj"));
  EXPECT_FALSE(exists(folder, "a/nothing"));
}

}  // namespace
}  // namespace sysfs
