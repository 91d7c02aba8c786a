#include "engine/processors.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <cerrno>
#include <thread>

namespace engine {
namespace {

TEST(Processors, AreThoseThatTheThreadMayRunOn) {
  const std::vector<unsigned> allowed = allowed_processors();
  ASSERT_FALSE(allowed.empty());
  cpu_set_t set;
  CPU_ZERO(&set);
  ASSERT_EQ(sched_getaffinity(0, sizeof set, &set), 0);
  EXPECT_EQ(allowed.size(), static_cast<std::size_t>(CPU_COUNT(&set)));
  for (const unsigned processor : allowed) {
    EXPECT_TRUE(CPU_ISSET(processor, &set));
  }
}

TEST(Processors, AThreadThatIsBoundMayRunOnThatOneAlone) {
  std::thread([] {
    const unsigned last = allowed_processors().back();
    ASSERT_EQ(bind_to_processor(last), 0);
    EXPECT_EQ(allowed_processors(), std::vector<unsigned>{last});
    EXPECT_EQ(sched_getcpu(), static_cast<int>(last));
  }).join();
}

TEST(Processors, NoThreadIsBoundToOneThatDoesNotExist) {
  EXPECT_EQ(bind_to_processor(100000), EINVAL);
}

TEST(Processors, ThreadsTakeTheAllowedOnesInTurn) {
  const std::vector<unsigned> allowed = {2, 3, 7};
  EXPECT_EQ(processor_of(0, allowed, std::nullopt), 2U);
  EXPECT_EQ(processor_of(2, allowed, std::nullopt), 7U);
  EXPECT_EQ(processor_of(3, allowed, std::nullopt), 2U);
}

TEST(Processors, ABindingIsEveryThreads) {
  EXPECT_EQ(processor_of(0, {2, 3, 7}, 3), 3U);
  EXPECT_EQ(processor_of(5, {2, 3, 7}, 3), 3U);
}

}  // namespace
}  // namespace engine
