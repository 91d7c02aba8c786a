#include "engine/exit_status.h"

#include <gtest/gtest.h>

namespace engine {
namespace {

TEST(Verdict, OfAnOrdinaryRunIsZero) {
  Verdict verdict;
  EXPECT_EQ(verdict.status(), ExitStatus::kEnded);
  verdict.add(ExitStatus::kEnded);
  EXPECT_EQ(static_cast<int>(verdict.status()), 0);
}

TEST(Verdict, IsTheGravestOfSeveralInWhateverOrder) {
  constexpr ExitStatus kFromTheGravest[] = {ExitStatus::kWrongResult, ExitStatus::kLimitReached,
                                            ExitStatus::kStartMissed, ExitStatus::kSamplingFailed,
                                            ExitStatus::kRecordFailed};
  for (const ExitStatus graver : kFromTheGravest) {
    bool below = false;
    for (const ExitStatus other : kFromTheGravest) {
      if (below) {
        Verdict first;
        first.add(graver);
        first.add(other);
        EXPECT_EQ(first.status(), graver);
        Verdict last;
        last.add(other);
        last.add(graver);
        EXPECT_EQ(last.status(), graver);
      }
      below = below || other == graver;
    }
  }
}

}  // namespace
}  // namespace engine
