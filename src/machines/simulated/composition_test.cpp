#include "machines/simulated/composition.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

namespace simulated {
namespace {

/// The driver of a class anywhere below `nodes`, or null.
std::shared_ptr<kx::Driver> find(const std::vector<kx::Node>& nodes, const std::string& wanted) {
  for (const kx::Node& node : nodes) {
    if (node.driver != nullptr) {
      const auto classes = node.driver->classes();
      if (std::find(classes.begin(), classes.end(), wanted) != classes.end()) {
        return node.driver;
      }
    }
    if (auto below = find(node.children, wanted)) {
      return below;
    }
  }
  return nullptr;
}

TEST(Composition, LinkedMachineHasBothServices) {
  const auto nodes = kx::compose_machine();
  EXPECT_NE(find(nodes, "VeltoSMC"), nullptr);
  EXPECT_NE(find(nodes, "KxPlatformPlugin"), nullptr);
}

TEST(Composition, PowerPluginHangsDeepInTheRegistry) {
  const auto nodes = kx::compose_machine();
  for (const kx::Node& top : nodes) {
    EXPECT_EQ(top.driver, nullptr);
    for (const kx::Node& second : top.children) {
      EXPECT_FALSE(second.driver != nullptr &&
                   second.driver->classes().back() == "KxPlatformPlugin");
    }
  }
}

TEST(Composition, BothDriversWorkOnTheOneMachineThatCanBeInspected) {
  const auto nodes = kx::compose_machine();
  std::unique_ptr<kx::UserClient> client;
  ASSERT_EQ(find(nodes, "VeltoSMC")->open(1, client), kKxReturnSuccess);
  EXPECT_EQ(&machine(), &machine());
  EXPECT_EQ(machine().inspect().fans().force_bits(), 0);
  EXPECT_EQ(machine().inspect().forced_pstate(), std::nullopt);
}

}  // namespace
}  // namespace simulated
