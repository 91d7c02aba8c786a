#include "lab/live/fitting.h"

#include <gmock/gmock.h>

#include "lab/fakes/fake_run.h"

namespace lab {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Fitting, ClippingLeavesAMarkAndNeverHalfACharacter) {
  EXPECT_EQ(clipped("package", 7, kBare), "package");
  EXPECT_EQ(clipped("package", 6, kBare), "packa…");
  EXPECT_EQ(clipped("package", 6, kBareAscii), "packa~");
  EXPECT_EQ(clipped("温度", 3, kBare), "温…");
  EXPECT_EQ(clipped("温度", 2, kBare), "…");
  EXPECT_EQ(clipped("package", 0, kBare), "");
}

TEST(Fitting, AlignsByColumns) {
  EXPECT_EQ(left_aligned("温", 4, kBare), "温  ");
  EXPECT_EQ(right_aligned("温", 4, kBare), "  温");
  EXPECT_EQ(left_aligned("package", 4, kBare), "pac…");
}

TEST(Fitting, TheRightEndIsLeftOutBeforeTheLeftOneBecomesUnreadable) {
  EXPECT_EQ(at_both_ends("load", "0:10", 12, kBare), "load    0:10");
  EXPECT_EQ(at_both_ends("a long phase", "0:10", 14, kBare), "a long p… 0:10");
  EXPECT_EQ(at_both_ends("a long phase", "0:10", 12, kBare), "a long phase");
}

TEST(Fitting, BreaksLinesBetweenWords) {
  EXPECT_THAT(broken_into_lines("hold the fans", 8), ElementsAre("hold the", "fans"));
  EXPECT_THAT(broken_into_lines("hold the fans", 7), ElementsAre("hold", "the", "fans"));
  EXPECT_THAT(broken_into_lines("", 7), IsEmpty());
}

TEST(Fitting, BreaksWordsThatAreLongerThanALine) {
  EXPECT_THAT(broken_into_lines("/sys/class", 4), ElementsAre("/sys", "/cla", "ss"));
  EXPECT_THAT(broken_into_lines("温度", 1), ElementsAre("温", "度"))
      << "an end even where nothing fits";
}

}  // namespace
}  // namespace lab
