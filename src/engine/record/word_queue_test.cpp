#include "engine/record/word_queue.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

Word word(std::string_view text, std::uint32_t thread = 0, std::int64_t at_ns = 0) {
  Word word;
  word.append(text);
  word.thread = thread;
  word.at_ns = at_ns;
  return word;
}

TEST(WordQueue, GivesBackWhatItTookInOrder) {
  const auto queue = std::make_unique<WordQueue>();
  Word out;
  EXPECT_FALSE(queue->pop(out));
  for (int round = 0; round < 1000; ++round) {
    queue->push(word(std::to_string(round)));
    queue->push(word("and"));
    ASSERT_TRUE(queue->pop(out));
    ASSERT_EQ(out.view(), std::to_string(round));
    ASSERT_TRUE(queue->pop(out));
  }
  EXPECT_FALSE(queue->pop(out));
}

TEST(WordQueue, DropsAndCountsWhatFindsNoRoom) {
  const auto queue = std::make_unique<WordQueue>();
  for (std::size_t i = 0; i < WordQueue::kCapacity + 7; ++i) {
    queue->push(word("x"));
  }
  EXPECT_EQ(queue->dropped(), 7U);
}

TEST(WordQueue, CutsWhatIsTooLong) {
  EXPECT_EQ(word(std::string(1000, 'x')).view(), std::string(Word::kLongest, 'x'));
}

TEST(WordQueue, OfManyThreadsLosesOnlyWhatItCounts) {
  constexpr std::uint32_t kThreads = 4;
  constexpr std::int64_t kWords = 20000;
  const auto queue = std::make_unique<WordQueue>();
  std::atomic<std::uint32_t> over{0};
  std::vector<std::thread> writers;
  for (std::uint32_t thread = 0; thread < kThreads; ++thread) {
    writers.emplace_back([&queue, &over, thread] {
      for (std::int64_t i = 0; i < kWords; ++i) {
        queue->push(word("thread " + std::to_string(thread), thread, i));
      }
      ++over;
    });
  }
  std::uint64_t popped = 0;
  std::vector<std::int64_t> last(kThreads, -1);
  for (bool ended = false; !ended;) {
    ended = over == kThreads;
    for (Word out; queue->pop(out); ++popped) {
      ASSERT_LT(out.thread, kThreads);
      ASSERT_EQ(out.view(), "thread " + std::to_string(out.thread));
      ASSERT_GT(out.at_ns, last[out.thread]);
      last[out.thread] = out.at_ns;
    }
  }
  for (std::thread& writer : writers) {
    writer.join();
  }
  EXPECT_EQ(popped + queue->dropped(), kThreads * std::uint64_t{kWords});
}

}  // namespace
