#include "machines/linux/sysfs/patience.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <vector>

#include "machines/linux/sysfs/attribute.h"
#include "support/machine/memory_tree.h"
#include "support/machine/test_surroundings.h"

namespace sysfs {
namespace {

constexpr auto kAny = Patience::Rights::of_caller;

template <class Value>
std::string message_of(const Result<Value>& result) {
  return result ? "none: there is a value" : result.failure().message;
}

class PatienceTest : public testing::Test {
 protected:
  void SetUp() override {
    folder_ = world_.folder() + "/sys";
    std::filesystem::create_directories(folder_ + "/chip");
    std::filesystem::create_directories(folder_ + "/other");
    ASSERT_EQ(mkfifo((folder_ + "/chip/dead").c_str(), 0644), 0);
    for (const char* const name : {"chip/input", "other/input"}) {
      std::ofstream(folder_ + "/" + name) << "41\n";
    }
    tree_ = trees().emplace_back(std::make_unique<Folder>(folder_, 1)).get();
  }
  /// They are never destroyed: whoever has been given up may still be in them.
  static std::vector<std::unique_ptr<Folder>>& trees() {
    static auto& all = *new std::vector<std::unique_ptr<Folder>>;
    return all;
  }
  /// Lets whoever waits for the file go on, and end.
  void TearDown() override {
    const int end = open((folder_ + "/chip/dead").c_str(), O_RDWR | O_NONBLOCK);
    [[maybe_unused]] const ssize_t written = write(end, "7\n", 2);
    close(end);
  }

  MemoryTree none_;
  TestSurroundings world_{none_};
  std::string folder_;
  Folder* tree_ = nullptr;
};

TEST_F(PatienceTest, GivesUpWhatDoesNotAnswerAndSaysAfterWhatTime) {
  const Result<long long> value = read_integer(*tree_, "chip/dead");
  ASSERT_FALSE(value);
  EXPECT_EQ(value.failure().trouble, Trouble::silent);
  EXPECT_EQ(value.failure().message, "opening chip/dead: no answer within 1 s");
}

TEST_F(PatienceTest, DoesNotAskAgainNorWhatLiesBesideIt) {
  EXPECT_FALSE(read_integer(*tree_, "chip/dead"));
  EXPECT_EQ(message_of(read_integer(*tree_, "chip/dead")),
            "opening chip/dead: no answer within 1 s");
  EXPECT_EQ(message_of(read_integer(*tree_, "chip/input")),
            "opening chip/input: not asked, since chip/dead gave no answer within 1 s");
  EXPECT_EQ(*read_integer(*tree_, "other/input"), 41);
}

TEST_F(PatienceTest, GoesOnAskingWhatHasAnsweredBefore) {
  EXPECT_EQ(*read_integer(*tree_, "chip/input"), 41);
  Result<Attribute> open_before = Attribute::open(*tree_, "chip/input", Mode::read);
  EXPECT_FALSE(read_integer(*tree_, "chip/dead"));
  EXPECT_EQ(*read_integer(*tree_, "chip/input"), 41);
  EXPECT_EQ(*open_before->read_integer(), 41);
}

/// Reads do not come back until the gate is open.
class DeadBus : public MemoryTree {
 public:
  using MemoryTree::MemoryTree;
  DeadBus(const DeadBus&) = delete;
  DeadBus& operator=(const DeadBus&) = delete;

  void come_back() { gate_.set_value(); }
  ssize_t read(int handle, std::span<char> text) override {
    opened_.wait();
    const ssize_t got = MemoryTree::read(handle, text);
    returned_.set_value();
    return got;
  }
  void wait_for_the_read() { returned_.get_future().wait(); }
  sysfs::Patience* patience() override { return &patience_; }

 private:
  std::promise<void> gate_;
  std::promise<void> returned_;  // of the one read that there is
  std::shared_future<void> opened_ = gate_.get_future().share();
  Patience patience_{1};
};

TEST(DeadBusTest, AReadThatDoesNotComeBackIsGivenUp) {
  static DeadBus& tree = *new DeadBus("0444 chip/input = 41\n");
  Result<Attribute> attribute = Attribute::open(tree, "chip/input", Mode::read);
  ASSERT_TRUE(attribute) << attribute.failure().message;
  EXPECT_EQ(attribute->read_integer().failure().message,
            "reading chip/input: no answer within 1 s");
  EXPECT_EQ(message_of(attribute->read_text()), "reading chip/input: no answer within 1 s");
  tree.come_back();
  tree.wait_for_the_read();
  EXPECT_FALSE(attribute->read_text()) << "it is not asked again";
}

TEST(Patience, ReturnsWhatComesInTime) {
  Patience patience(60);
  EXPECT_FALSE(patience.has_answered("a/b"));
  EXPECT_EQ(patience.wait_for("a/b", Patience::Answers::yes, kAny, [] { return ssize_t{5}; }), 5);
  EXPECT_TRUE(patience.has_answered("a/b"));
  EXPECT_EQ(patience.wait_for("a/c", Patience::Answers::not_yet, kAny, [] { return ssize_t{-1}; }),
            -1);
  EXPECT_FALSE(patience.has_answered("a/c"));
  EXPECT_EQ(patience.why_not("a/b"), "");
}

/// What happens in a set-user-id program that is raised.
int first_accesses_of_a_raised_caller() {
  constexpr uid_t kUser = 65534;
  if (setresuid(kUser, 0, 0) != 0) {
    return 1;
  }
  const auto id = [] { return static_cast<ssize_t>(geteuid()); };
  Patience patience;
  const auto of_user =
      patience.wait_for("a", Patience::Answers::yes, Patience::Rights::of_user, id);
  const auto of_caller =
      patience.wait_for("a", Patience::Answers::yes, Patience::Rights::of_caller, id);
  return of_user == ssize_t{kUser} && of_caller == 0 && geteuid() == 0 ? 0 : 2;
}

TEST(PatienceDeathTest, AThreadOfARaisedCallerIsRaisedOnlyForWhatNeedsIt) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can be a raised caller";
  }
  EXPECT_EXIT(std::_Exit(first_accesses_of_a_raised_caller()), testing::ExitedWithCode(0), "");
}

/// A raised caller reads a file of root's, and one that everybody may read.
int reads_of_a_raised_caller(const std::string& folder) {
  if (setresuid(65534, 0, 0) != 0) {
    return 1;
  }
  Folder tree(folder);
  return read_integer(tree, "chip/input") && read_integer(tree, "other/input") ? 0 : 2;
}

TEST_F(PatienceTest, WhatItsUserIsRefusedARaisedCallerReads) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can be a raised caller";
  }
  for (const char* const folder : {"", "/sys", "/sys/chip", "/sys/other"}) {
    ASSERT_EQ(chmod((world_.folder() + folder).c_str(), 0755), 0);
  }
  ASSERT_EQ(chmod((folder_ + "/chip/input").c_str(), 0400), 0);
  EXPECT_EXIT(std::_Exit(reads_of_a_raised_caller(folder_)), testing::ExitedWithCode(0), "");
}

TEST(Patience, TellsOfWhatComesLate) {
  Patience patience(1);
  auto gate = std::make_shared<std::promise<void>>();
  auto late = std::make_shared<std::promise<ssize_t>>();
  EXPECT_EQ(patience.wait_for(
                "a/b", Patience::Answers::yes, kAny,
                [gate]() -> ssize_t {
                  gate->get_future().wait();
                  return 7;
                },
                [late](ssize_t result) { late->set_value(result); }),
            std::nullopt);
  EXPECT_FALSE(patience.has_answered("a/b"));
  EXPECT_EQ(patience.why_not("a/b"), "no answer within 1 s");
  gate->set_value();
  EXPECT_EQ(late->get_future().get(), 7);
}

}  // namespace
}  // namespace sysfs
