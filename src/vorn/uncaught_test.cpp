#include "vorn/uncaught.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <exception>

namespace {

TEST(UncaughtDeathTest, AThreadThatFailsWhileItExplainsEndsTheProcess) {
  EXPECT_EXIT(
      {
        alarm(10);
        std::set_terminate([] { std::terminate(); });
        explain_uncaught_exceptions();
        std::terminate();
      },
      testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
