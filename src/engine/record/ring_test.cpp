#include "engine/record/ring.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

TEST(Ring, GivesBackWhatItTookInOrder) {
  Ring<int> ring(4);
  int entry = 0;
  EXPECT_FALSE(ring.pop(entry));
  for (int i = 1; i <= 100; ++i) {
    ring.push(i);
    ring.push(-i);
    ASSERT_TRUE(ring.pop(entry) && entry == i);
    ASSERT_TRUE(ring.pop(entry) && entry == -i);
  }
  EXPECT_FALSE(ring.pop(entry));
  EXPECT_EQ(ring.dropped(), 0U);
}

TEST(Ring, DropsAndCountsWhatFindsNoRoom) {
  Ring<int> ring(3);
  ASSERT_EQ(ring.capacity(), 4U);
  for (int i = 0; i < 10; ++i) {
    ring.push(i);
  }
  EXPECT_EQ(ring.dropped(), 6U);
  int entry = 0;
  for (int i = 0; i < 4; ++i) {
    ASSERT_TRUE(ring.pop(entry) && entry == i);
  }
  ring.push(10);
  EXPECT_TRUE(ring.pop(entry) && entry == 10);
}

TEST(Ring, BetweenTwoThreadsLosesOnlyWhatItCounts) {
  constexpr int kEntries = 500000;
  Ring<int> ring(64);
  std::atomic<bool> over{false};
  std::thread writer([&] {
    for (int i = 0; i < kEntries; ++i) {
      ring.push(i);
    }
    over = true;
  });
  std::uint64_t popped = 0;
  int last = -1;
  bool ascending = true;
  for (bool ended = false; !ended;) {
    ended = over;
    for (int entry = 0; ring.pop(entry); ++popped) {
      ascending = ascending && entry > last;
      last = entry;
    }
  }
  writer.join();
  EXPECT_TRUE(ascending);
  EXPECT_EQ(popped + ring.dropped(), std::uint64_t{kEntries});
}

}  // namespace
