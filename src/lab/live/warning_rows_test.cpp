#include "lab/live/warning_rows.h"

#include <gmock/gmock.h>

#include "lab/fakes/fake_run.h"

namespace lab {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(WarningRows, AreTheWarningsInTheirOrder) {
  EXPECT_THAT(warning_rows({"hot", "slow"}, 4, 20, kBare), ElementsAre("! hot", "! slow"));
  EXPECT_THAT(warning_rows({}, 4, 20, kBare), IsEmpty());
}

TEST(WarningRows, BreakLongWarnings) {
  EXPECT_THAT(warning_rows({"fans cannot be held"}, 4, 12, kBare),
              ElementsAre("! fans", "  cannot be", "  held"));
}

TEST(WarningRows, SayHowManyAreOlder) {
  EXPECT_THAT(warning_rows({"a", "b", "c", "d"}, 3, 20, kBare),
              ElementsAre("! + 2 earlier", "! c", "! d"));
  EXPECT_THAT(warning_rows({"a", "b", "c"}, 3, 20, kBare), ElementsAre("! a", "! b", "! c"));
}

TEST(WarningRows, InOneRowTheNewestIsShown) {
  EXPECT_THAT(warning_rows({"a", "b", "slowed down for heat"}, 1, 20, kBare),
              ElementsAre("! (+ 2) slowed down…"));
}

TEST(WarningRows, AWarningThatIsTooLongIsClipped) {
  EXPECT_THAT(warning_rows({"fans cannot be held here"}, 2, 12, kBare),
              ElementsAre("! fans", "  cannot be…"));
}

TEST(WarningRows, SpellOutControlCharacters) {
  EXPECT_THAT(warning_rows({"a\x1b[31m"}, 2, 20, kBare), ElementsAre("! a\\x1b[31m"));
}

}  // namespace
}  // namespace lab
