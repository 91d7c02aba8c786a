#include "engine/placement.h"

#include <gtest/gtest.h>

#include <thread>

#include "engine/processors.h"

namespace engine {
namespace {

TEST(Placement, GivesThreadsTheAllowedProcessorsInTurn) {
  const Placement placement({2, 5}, std::nullopt, Placement::Binding::kLabels);
  EXPECT_EQ(placement.core(0), 2U);
  EXPECT_EQ(placement.core(1), 5U);
  EXPECT_EQ(placement.core(2), 2U);
}

TEST(Placement, GivesAllThreadsTheOneProcessorThatIsNamed) {
  const Placement placement({2, 5}, 5, Placement::Binding::kLabels);
  EXPECT_EQ(placement.core(0), 5U);
  EXPECT_EQ(placement.core(1), 5U);
}

TEST(Placement, BindsAThreadOnlyIfThatIsAskedFor) {
  const std::vector<unsigned> allowed = allowed_processors();
  std::thread([&allowed] {
    Placement(allowed, std::nullopt, Placement::Binding::kLabels).begin(0, allowed.back());
    EXPECT_EQ(allowed_processors(), allowed);
    Placement(allowed, std::nullopt, Placement::Binding::kBound).begin(0, allowed.back());
    EXPECT_EQ(allowed_processors(), std::vector<unsigned>{allowed.back()});
  }).join();
}

TEST(Placement, SaysWhichThreadIsBoundWhere) {
  const Placement placement({2, 5}, std::nullopt, Placement::Binding::kBound);
  EXPECT_EQ(placement.text(2), "thread 0 is bound to core 2, thread 1 is bound to core 5");
}

}  // namespace
}  // namespace engine
