#include "lab/commands/run_end.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

TEST(RunEnd, IsTheGravestOfWhatHappened) {
  EXPECT_EQ(end_of(0, false, true), RunEnd::complete);
  EXPECT_EQ(end_of(0, false, false), RunEnd::failed);  // somebody else ended the engine
  EXPECT_EQ(end_of(0, true, false), RunEnd::interrupted);
  EXPECT_EQ(end_of(20, true, false), RunEnd::limit);
  EXPECT_EQ(end_of(21, false, true), RunEnd::complete);
  EXPECT_EQ(end_of(13, false, true), RunEnd::failed);
}

TEST(RunEnd, OfALimitSaysItsKeyAndValueFirst) {
  EXPECT_EQ(limit_reason("limit TC0D=36: the key shows 36.25"),
            "TC0D shows 36.25, and its limit is 36");
  EXPECT_EQ(limit_reason("limit TC0D=36: the key cannot be read any more"),
            "TC0D cannot be read any more, and its limit is 36");
  EXPECT_EQ(limit_reason("the disk is full"), "");
  EXPECT_EQ(limit_reason("limit of 3 = none"), "");
}

TEST(RunEnd, AStatusThatIsNoShortcomingHasNoText) {
  EXPECT_NE(shortcoming(24), nullptr);
  EXPECT_EQ(shortcoming(0), nullptr);
  EXPECT_EQ(shortcoming(20), nullptr);
}

}  // namespace
}  // namespace lab
