#include "machines/linux/sensors/rapl.h"

#include <gtest/gtest.h>

#include "support/machine/memory_tree.h"

namespace linux_machine {
namespace {

class RaplTest : public testing::Test {
 protected:
  void zone(const std::string& zone, const std::string& name) {
    put(zone, "name", name);
    put(zone, "energy_uj", "1000000");
    put(zone, "max_energy_range_uj", "262143328850");
  }
  void put(const std::string& zone, const std::string& attribute, const std::string& text) {
    tree_.put("class/powercap/" + zone + "/" + attribute, text);
  }
  static std::vector<std::string> descriptions(const std::vector<RaplZone>& zones) {
    std::vector<std::string> texts;
    for (const RaplZone& one : zones) {
      texts.push_back(one.description);
    }
    return texts;
  }

  MemoryTree tree_;
};

using Texts = std::vector<std::string>;

TEST_F(RaplTest, PackagesAreFoundByNameInTheirOrder) {
  zone("intel-rapl:0", "package-10");
  zone("intel-rapl:1", "package-1-die-1");
  zone("intel-rapl:a", "package-1-die-0");
  zone("intel-rapl:3", "package-2");
  EXPECT_EQ(descriptions(find_rapl_zones(tree_).packages),
            (Texts{"class/powercap/intel-rapl:a (package-1-die-0)",
                   "class/powercap/intel-rapl:1 (package-1-die-1)",
                   "class/powercap/intel-rapl:3 (package-2)",
                   "class/powercap/intel-rapl:0 (package-10)"}));
}

TEST_F(RaplTest, PartsOfAPackageAndThePlatformAreNoPackages) {
  zone("intel-rapl:0", "package-0");
  zone("intel-rapl:0:0", "core");
  zone("intel-rapl:0:1", "uncore");
  zone("intel-rapl:0:2", "dram");
  zone("intel-rapl:1", "psys");
  const RaplZones found = find_rapl_zones(tree_);
  EXPECT_EQ(descriptions(found.packages), Texts{"class/powercap/intel-rapl:0 (package-0)"});
  EXPECT_EQ(descriptions(found.memory), Texts{"class/powercap/intel-rapl:0:2 (dram of package-0)"});
  EXPECT_EQ(descriptions(found.platform), Texts{"class/powercap/intel-rapl:1 (psys)"});
}

TEST_F(RaplTest, APackageThatIsThereTwiceCountsOnce) {
  zone("intel-rapl-mmio:0", "package-0");
  zone("intel-rapl:0", "package-0");
  EXPECT_EQ(descriptions(find_rapl_zones(tree_).packages),
            Texts{"class/powercap/intel-rapl:0 (package-0)"});
}

TEST_F(RaplTest, APackageThatOnlyMmioHasCounts) {
  zone("intel-rapl-mmio:0", "package-0");
  zone("intel-rapl-mmio:1", "package-1");
  zone("intel-rapl:0", "package-0");
  EXPECT_EQ(descriptions(find_rapl_zones(tree_).packages),
            (Texts{"class/powercap/intel-rapl:0 (package-0)",
                   "class/powercap/intel-rapl-mmio:1 (package-1)"}));
}

TEST_F(RaplTest, MemoryThatIsThereTwiceCountsOnce) {
  for (const std::string type : {"intel-rapl", "intel-rapl-mmio"}) {
    zone(type + ":0", "package-0");
    zone(type + ":0:0", "dram");
    zone(type + ":1", "package-1");
    zone(type + ":1:0", "dram");
  }
  EXPECT_EQ(descriptions(find_rapl_zones(tree_).memory),
            (Texts{"class/powercap/intel-rapl:0:0 (dram of package-0)",
                   "class/powercap/intel-rapl:1:0 (dram of package-1)"}));
}

TEST_F(RaplTest, AZoneThatCountsNoEnergyIsNoSource) {
  put("intel-rapl:0", "name", "package-0");
  EXPECT_TRUE(find_rapl_zones(tree_).packages.empty());
}

TEST_F(RaplTest, TheLargestLimitIsTheOneThatCounts) {
  zone("intel-rapl:0", "package-0");
  put("intel-rapl:0", "constraint_0_power_limit_uw", "135000000");
  put("intel-rapl:0", "constraint_0_max_power_uw", "55000000");
  put("intel-rapl:0", "constraint_2_power_limit_uw", "315000000");
  put("intel-rapl:0", "constraint_2_time_window_us", "999999999");
  const RaplZone found = find_rapl_zones(tree_).packages.at(0);
  EXPECT_EQ(found.limit_w, 315);
  EXPECT_EQ(found.counter.limits.most_w, 630);
  EXPECT_EQ(found.counter.limits.range_uj, 262143328850);
  EXPECT_EQ(found.counter.attribute, "class/powercap/intel-rapl:0/energy_uj");
}

TEST_F(RaplTest, LimitsThatSayNothingAreUnknown) {
  zone("intel-rapl:0", "package-0");
  put("intel-rapl:0", "constraint_0_power_limit_uw", "0");
  put("intel-rapl:0", "constraint_0_max_power_uw", "");
  put("intel-rapl:0", "constraint_1_max_power_uw", "lots");
  const RaplZone found = find_rapl_zones(tree_).packages.at(0);
  EXPECT_EQ(found.limit_w, std::nullopt);
  EXPECT_EQ(found.counter.limits.most_w, 1000);
}

TEST_F(RaplTest, ARangeThatCannotBeIsUnknown) {
  zone("intel-rapl:0", "package-0");
  for (const char* range : {"", "0", "-1", "wide", "9223372036854775807"}) {
    put("intel-rapl:0", "max_energy_range_uj", range);
    EXPECT_EQ(find_rapl_zones(tree_).packages.at(0).counter.limits.range_uj, 0) << range;
  }
}

TEST(MostPlausiblePower, IsTwiceTheLimitWithinBounds) {
  EXPECT_EQ(most_plausible_w(200), 400);
  EXPECT_EQ(most_plausible_w(15), 100);
  EXPECT_EQ(most_plausible_w(4095), 1000);
  EXPECT_EQ(most_plausible_w(std::nullopt), 1000);
}

}  // namespace
}  // namespace linux_machine
