#include <gtest/gtest.h>

#include "contract/machine_under_test.h"

// What every driver of a power plugin promises, whatever is behind it.

namespace {

constexpr std::uint32_t kType = 0x50505543;
constexpr std::uint32_t kStep = 3;

class PluginContract : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    machine_ = make_machine(GetParam());
    const auto drivers = machine_->drivers("KxPlatformPlugin");
    ASSERT_EQ(drivers.size(), 1U);
    driver_ = drivers.front();
  }

  kx_return_t step(std::uint32_t n) {
    const std::array<std::uint32_t, 1> inputs{n};
    return client_->scalar_method(kStep, inputs, {});
  }

  void connect() { ASSERT_EQ(driver_->open(kType, client_), kKxReturnSuccess); }

  std::unique_ptr<MachineUnderTest> machine_;
  std::shared_ptr<kx::Driver> driver_;
  std::unique_ptr<kx::UserClient> client_;
};

TEST_P(PluginContract, RefusesAnotherTypeOfConnection) {
  EXPECT_EQ(driver_->open(1, client_), kKxReturnUnsupported);
  EXPECT_EQ(client_, nullptr);
}

TEST_P(PluginContract, IsTheSuperusersOnly) {
  machine_->become_user(1000);
  EXPECT_EQ(driver_->open(kType, client_), kKxReturnNotPermitted);
  EXPECT_EQ(client_, nullptr);
}

TEST_P(PluginContract, HasOneConnectionAtATime) {
  connect();
  std::unique_ptr<kx::UserClient> second;
  EXPECT_EQ(driver_->open(kType, second), kKxReturnExclusiveAccess);
  client_.reset();
  EXPECT_EQ(driver_->open(kType, second), kKxReturnSuccess);
}

TEST_P(PluginContract, ForcesPStatesAndGivesThemBack) {
  connect();
  EXPECT_EQ(step(100), kKxReturnSuccess);
  EXPECT_EQ(step(101), kKxReturnSuccess);
  EXPECT_EQ(step(100), kKxReturnSuccess);
  EXPECT_EQ(step(0), kKxReturnSuccess);
  EXPECT_EQ(step(0), kKxReturnSuccess) << "again, with nothing forced";
}

TEST_P(PluginContract, RefusesStepsThatThereAreNot) {
  connect();
  for (const std::uint32_t n : {1U, 50U, 99U, 5000U, 0xFFFFFFFFU, 100U + 0x7FFFFFFFU}) {
    EXPECT_EQ(step(n), kKxReturnBadArgument) << n;
  }
}

TEST_P(PluginContract, RefusesOtherMethods) {
  connect();
  const std::array<std::uint32_t, 2> two{100, 0};
  std::array<std::uint32_t, 1> output{};
  EXPECT_EQ(client_->scalar_method(kStep, two, {}), kKxReturnBadArgument);
  EXPECT_EQ(client_->scalar_method(kStep, {}, {}), kKxReturnBadArgument);
  EXPECT_EQ(client_->scalar_method(kStep, std::span(two).first(1), output), kKxReturnBadArgument);
  EXPECT_EQ(client_->scalar_method(2, {}, {}), kKxReturnUnsupported);
  std::size_t size = 0;
  EXPECT_EQ(client_->structure_method(kStep, {}, {}, size), kKxReturnUnsupported);
}

/// All but the one whose cpufreq says nonsense.
std::vector<std::string> sound_machines() {
  std::vector<std::string> names = machines_with("KxPlatformPlugin");
  std::erase(names, "trouble_everywhere");
  return names;
}

INSTANTIATE_TEST_SUITE_P(Machines, PluginContract, testing::ValuesIn(sound_machines()),
                         [](const auto& machine) { return machine.param; });

TEST(PluginInTrouble, ForcesNothing) {
  const auto machine = make_machine("trouble_everywhere");
  const auto driver = machine->drivers("KxPlatformPlugin").front();
  std::unique_ptr<kx::UserClient> client;
  ASSERT_EQ(driver->open(kType, client), kKxReturnSuccess);
  const std::array<std::uint32_t, 1> inputs{100};
  EXPECT_EQ(client->scalar_method(kStep, inputs, {}), kKxReturnIOError);
}

}  // namespace
