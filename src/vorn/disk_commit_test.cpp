#include "vorn/disk_commit.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "support/held_sync.h"

namespace {

using held_sync::commits;
using held_sync::held;
using held_sync::waiting;

class DiskCommitTest : public testing::Test {
 protected:
  DiskCommitTest() { held_sync::reset(); }

  static bool reaches(int count) {
    for (int tries = 0; tries < 10000 && commits < count; ++tries) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return commits == count;
  }
};

TEST_F(DiskCommitTest, CommitsOnceForEachLine) {
  DiskCommit commit;
  for (int line = 1; line <= 5; ++line) {
    commit.line_written();
    EXPECT_TRUE(reaches(line));
  }
}

TEST_F(DiskCommitTest, DoesNotHoldTheNextLineUp) {
  DiskCommit commit;
  held = true;
  commit.line_written();
  while (waiting == 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  for (int line = 1; line < 100; ++line) {
    commit.line_written();
  }
  held = false;
  EXPECT_TRUE(reaches(2)) << "one was under way, and one does for all that came meanwhile";
}

TEST_F(DiskCommitTest, AtItsEndCommitsAllThatIsLeftAtOnce) {
  std::thread release;
  {
    DiskCommit commit;
    held = true;
    for (int line = 0; line < 100; ++line) {
      commit.line_written();
    }
    release = std::thread([] {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      held = false;
    });
  }
  release.join();
  EXPECT_GE(commits, 1);
  EXPECT_LE(commits, 2);
}

TEST_F(DiskCommitTest, WithoutALineCommitsNothing) {
  { DiskCommit commit; }
  EXPECT_EQ(commits, 0);
}

}  // namespace
