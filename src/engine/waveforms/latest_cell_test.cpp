#include "engine/waveforms/latest_cell.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

/// Whole only if all its parts are equal.
struct Parts {
  std::int64_t first = 0;
  std::array<std::int64_t, 6> others{};
};

Parts parts_of(std::int64_t number) {
  Parts parts{.first = number, .others = {}};
  parts.others.fill(number);
  return parts;
}

bool is_whole(const Parts& parts) {
  return parts.others == parts_of(parts.first).others;
}

TEST(LatestCell, HasNothingUntilSomethingIsPut) {
  LatestCell<int> cell;
  int value = 7;
  EXPECT_FALSE(cell.take(value));
  EXPECT_EQ(value, 7);
}

TEST(LatestCell, GivesTheLastValueOnce) {
  LatestCell<int> cell;
  int value = 0;
  for (int number = 1; number < 50; ++number) {
    for (int times = 0; times < number % 5 + 1; ++times) {
      cell.put(-1);
    }
    cell.put(number);
    ASSERT_TRUE(cell.take(value));
    ASSERT_EQ(value, number);
    ASSERT_FALSE(cell.take(value));
  }
}

TEST(LatestCell, BetweenTwoThreadsGivesWholeValuesInOrderAndTheLastOneAtTheEnd) {
  constexpr std::int64_t kValues = 300000;
  LatestCell<Parts> cell;
  std::thread writer([&] {
    for (std::int64_t number = 1; number <= kValues; ++number) {
      cell.put(parts_of(number));
    }
  });
  Parts parts;
  bool whole = true;
  bool ascending = true;
  while (parts.first < kValues && whole && ascending) {
    const std::int64_t before = parts.first;
    if (cell.take(parts)) {
      whole = is_whole(parts);
      ascending = parts.first > before;
    }
  }
  writer.join();
  EXPECT_TRUE(whole);
  EXPECT_TRUE(ascending);
  EXPECT_FALSE(cell.take(parts));
}

}  // namespace
