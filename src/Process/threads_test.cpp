#include "Process/threads.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

namespace {

TEST(Threads, HoldTheCallingOne) {
  const std::vector<pid_t> threads = process::threads();
  EXPECT_NE(std::find(threads.begin(), threads.end(), gettid()), threads.end());
}

}  // namespace
