#include "lab/report/shell_words.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

TEST(ShellWords, StandAsTheyAreIfAShellReadsThemSo) {
  EXPECT_EQ(shell_words({"vorn-lab", "step", "--out=runs/a", "-k", "TC0D"}),
            "vorn-lab step --out=runs/a -k TC0D");
  EXPECT_EQ(shell_words({}), "");
}

TEST(ShellWords, StandInQuotesOtherwise) {
  EXPECT_EQ(shell_words({"a b", "", "it's", "$x"}), "'a b' '' 'it'\\''s' '$x'");
}

}  // namespace
}  // namespace lab
