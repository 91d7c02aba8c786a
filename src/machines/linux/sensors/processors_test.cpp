#include "machines/linux/sensors/processors.h"

#include <gtest/gtest.h>

#include "support/machine/memory_tree.h"

namespace linux_machine {
namespace {

TEST(Processors, SayTheirVendorInTheirModalias) {
  const auto amd = [](const std::string& modalias) {
    MemoryTree tree("0444 devices/system/cpu/modalias = " + modalias + "\n");
    return are_amd(tree);
  };
  EXPECT_TRUE(amd("cpu:type:x86,ven0002fam0019mod0011:feature:,0000"));
  EXPECT_TRUE(amd("cpu:type:x86,ven0009fam0018mod0001:feature:,0000"));
  EXPECT_FALSE(amd("cpu:type:x86,ven0000fam0006mod008F:feature:,0000"));
  EXPECT_FALSE(amd("cpu:type:aarch64:feature:,0000"));
  MemoryTree nothing;
  EXPECT_FALSE(are_amd(nothing));
}

TEST(Processors, AreInAsManyPackagesAsTheyName) {
  MemoryTree tree;
  EXPECT_EQ(count_packages(tree), 0U);
  const char* const ids[] = {"0", "0", "36", "36"};
  for (int cpu = 0; cpu < 4; ++cpu) {
    tree.put("devices/system/cpu/cpu" + std::to_string(cpu) + "/topology/physical_package_id",
             ids[cpu]);
  }
  tree.put("devices/system/cpu/cpu4/online", "0");
  tree.put("devices/system/cpu/cpufreq/policy0/scaling_driver", "acpi-cpufreq");
  EXPECT_EQ(count_packages(tree), 2U);
}

}  // namespace
}  // namespace linux_machine
