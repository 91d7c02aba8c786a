#include "machines/linux/fans/settling.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "support/machine/memory_tree.h"
#include "support/machine/test_surroundings.h"

namespace linux_machine {
namespace {

using sysfs::Done;
using sysfs::Result;

class SettlingTest : public testing::Test {
 protected:
  /// Reads 900 RPM, but where `fails` says so of a read's number, from 0.
  Result<Settled> settled(const std::function<bool(int)>& fails) {
    int reads = 0;
    return settle(
        world_.surroundings,
        [&]() -> Result<double> {
          return fails(reads++) ? Result<double>(sysfs::failure("reading", "fan1_input", EIO))
                                : Result<double>(900.0);
        },
        [] { return Result<Done>(Done{}); }, 20 * kNsPerS);
  }

  MemoryTree tree_;
  TestSurroundings world_{tree_};
};

TEST_F(SettlingTest, OnlyFailedReadsInARowEndIt) {
  const auto speed = settled([](int read) { return read % 3 != 2; });
  ASSERT_TRUE(speed) << speed.failure().message;
  EXPECT_EQ(speed->rpm, 900);
  EXPECT_FALSE(settled([](int read) { return read > 1; }));
}

}  // namespace
}  // namespace linux_machine
