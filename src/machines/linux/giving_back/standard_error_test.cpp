#include "machines/linux/giving_back/standard_error.h"

#include <gtest/gtest.h>

namespace linux_machine {
namespace {

TEST(StandardError, IsToldInOneLine) {
  testing::internal::CaptureStderr();
  say_on_standard_error("TC0D: reading class/x: \"4\x1b[2J\n\" is not a number");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "vorn: TC0D: reading class/x: \"4\\x1b[2J\\x0a\" is not a number\n");
}

}  // namespace
}  // namespace linux_machine
