#include "machines/simulated/power_plugin.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <optional>

#include "support/fake_simulation.h"

namespace simulated {
namespace {

constexpr std::uint32_t kType = 0x50505543;

class PowerPluginTest : public ::testing::Test {
 protected:
  PowerPluginTest() { EXPECT_EQ(driver_.open(kType, client_), kKxReturnSuccess); }

  kx_return_t set_step(std::uint32_t step) { return client_->scalar_method(3, {&step, 1}, {}); }

  std::optional<std::size_t> forced() { return machine_.inspect().forced_pstate(); }

  FakeSurroundings fake_;
  Machine machine_{fake_.surroundings(2)};
  PowerPlugin driver_{machine_};
  std::unique_ptr<kx::UserClient> client_;
};

TEST_F(PowerPluginTest, IsAKindOfPlatformPlugin) {
  EXPECT_EQ(driver_.classes().back(), "KxPlatformPlugin");
}

TEST_F(PowerPluginTest, OpeningForcesNothing) {
  EXPECT_EQ(forced(), std::nullopt);
}

TEST_F(PowerPluginTest, StepsFrom100ForceThePStates) {
  for (std::uint32_t pstate = 0; pstate < 8; ++pstate) {
    EXPECT_EQ(set_step(100 + pstate), kKxReturnSuccess);
    EXPECT_EQ(forced(), pstate);
  }
}

TEST_F(PowerPluginTest, Step0ReturnsToPowerBalancing) {
  ASSERT_EQ(set_step(103), kKxReturnSuccess);
  EXPECT_EQ(set_step(0), kKxReturnSuccess);
  EXPECT_EQ(forced(), std::nullopt);
}

TEST_F(PowerPluginTest, OtherStepsAreRefusedAndChangeNothing) {
  ASSERT_EQ(set_step(103), kKxReturnSuccess);
  for (const std::uint32_t step : {1U, 99U, 108U, 0xFFFFFFFFU}) {
    EXPECT_EQ(set_step(step), kKxReturnBadArgument) << step;
    EXPECT_EQ(forced(), 3U);
  }
}

TEST_F(PowerPluginTest, ClosingTheConnectionGivesThePStateBack) {
  ASSERT_EQ(set_step(105), kKxReturnSuccess);
  client_.reset();
  EXPECT_EQ(forced(), std::nullopt);
}

TEST_F(PowerPluginTest, ServesOneConnectionAtATime) {
  ASSERT_EQ(set_step(105), kKxReturnSuccess);
  std::unique_ptr<kx::UserClient> second;
  EXPECT_EQ(driver_.open(kType, second), kKxReturnExclusiveAccess);
  EXPECT_EQ(second, nullptr);
  EXPECT_EQ(forced(), 5U);
  client_.reset();
  EXPECT_EQ(driver_.open(kType, second), kKxReturnSuccess);
}

TEST_F(PowerPluginTest, RefusesOrdinaryUsers) {
  client_.reset();
  fake_.effective_user = 1000;
  EXPECT_EQ(driver_.open(kType, client_), kKxReturnNotPermitted);
  EXPECT_EQ(client_, nullptr);
}

TEST_F(PowerPluginTest, RefusesAConnectionTypeItDoesNotKnow) {
  client_.reset();
  EXPECT_EQ(driver_.open(1, client_), kKxReturnUnsupported);
  EXPECT_EQ(client_, nullptr);
}

TEST_F(PowerPluginTest, RefusesSelectorsAndArgumentCountsThatItDoesNotKnow) {
  std::array<std::uint32_t, 2> words{100, 100};
  EXPECT_EQ(client_->scalar_method(2, {words.data(), 1}, {}), kKxReturnUnsupported);
  EXPECT_EQ(client_->scalar_method(3, {}, {}), kKxReturnBadArgument);
  EXPECT_EQ(client_->scalar_method(3, words, {}), kKxReturnBadArgument);
  EXPECT_EQ(client_->scalar_method(3, {words.data(), 1}, {words.data(), 1}), kKxReturnBadArgument);
  EXPECT_EQ(forced(), std::nullopt);
}

TEST_F(PowerPluginTest, HasNoStructureMethods) {
  std::size_t size = 0;
  EXPECT_EQ(client_->structure_method(3, {}, {}, size), kKxReturnUnsupported);
}

}  // namespace
}  // namespace simulated
