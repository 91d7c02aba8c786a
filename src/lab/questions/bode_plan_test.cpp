#include "lab/questions/bode_plan.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

TEST(BodeWishes, GiveADutyWithTheDigitsThatWereChosen) {
  BodeWishes wishes;
  wishes.duty = 0.45;
  wishes.depth = 0.8;
  EXPECT_EQ(bode_plan(wishes).phases.back().drive.duty, 0.05);  // 0.45 - 0.4 is less
}

}  // namespace
}  // namespace lab
