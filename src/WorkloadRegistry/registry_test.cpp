#include "WorkloadRegistry/registry.h"

#include <gtest/gtest.h>

#include <vector>

#include "SpinLoop/SpinLoop.h"
#include "Workload/WorkloadFactory.h"

namespace {

TEST(Registry, HoldsBothWorkloadsInTheOrderOfTheirNames) {
  std::map<std::string, WorkloadFactory*> factories;
  load_factories(factories);
  std::vector<std::string> names;
  for (const auto& [name, factory] : factories) {
    EXPECT_EQ(factory->name(), name);
    names.push_back(name);
    delete factory;  // the program never does
  }
  EXPECT_EQ(names, (std::vector<std::string>{"bspin", "spin"}));
}

TEST(Registry, ALaterFactoryOfTheSameNameTakesTheEarlierOnesPlace) {
  std::map<std::string, WorkloadFactory*> factories;
  SpinLoopFactory earlier;
  SpinLoopFactory later;
  load_workload(factories, &earlier);
  load_workload(factories, &later);
  EXPECT_EQ(factories.size(), 1U);
  EXPECT_EQ(factories.at("spin"), &later);
}

}  // namespace
