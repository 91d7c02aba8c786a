#include "machines/linux/sensors/die_zones.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "support/machine/memory_tree.h"

namespace linux_machine {
namespace {

constexpr const char* kAmd = "cpu:type:x86,ven0002fam0019mod0011:feature:,0000";
constexpr const char* kIntel = "cpu:type:x86,ven0000fam0006mod008F:feature:,0000";

class DieZonesTest : public testing::Test {
 protected:
  void processors(const char* modalias) { tree_.put("devices/system/cpu/modalias", modalias); }
  void zone(const std::string& zone, const std::string& name, long long energy_uj) {
    const std::string folder = "class/powercap/intel-rapl:" + zone;
    tree_.put(folder + "/name", name);
    tree_.put(folder + "/energy_uj", std::to_string(energy_uj), 0400);
    tree_.put(folder + "/max_energy_range_uj", "65532610987");
  }
  std::vector<std::string> packages() {
    std::vector<std::string> texts;
    for (const RaplZone& one : find_rapl_zones(tree_).packages) {
      texts.push_back(one.description);
    }
    return texts;
  }

  MemoryTree tree_;
};

using DieTexts = std::vector<std::string>;

TEST_F(DieZonesTest, OfAmdShowOneCounterAndCountOnce) {
  processors(kAmd);
  zone("0", "package-0-die-0", 10360237493);
  zone("1", "package-0-die-1", 10359908363);
  EXPECT_EQ(packages(), DieTexts{"class/powercap/intel-rapl:0 (package-0-die-0: the counter of the "
                                 "whole package; 1 other die shows it too)"});
}

TEST_F(DieZonesTest, OfIntelAreAddedEvenIfTheyReadTheSame) {
  processors(kIntel);
  zone("0", "package-0-die-0", 10360237493);
  zone("1", "package-0-die-1", 10360237493);
  EXPECT_EQ(packages().size(), 2U);
}

TEST_F(DieZonesTest, OfAVendorThatIsNotKnownAreAdded) {
  zone("0", "package-0-die-0", 10360237493);
  zone("1", "package-0-die-1", 10360237493);
  EXPECT_EQ(packages().size(), 2U);
}

TEST_F(DieZonesTest, OfAmdWithCountersOfTheirOwnAreAdded) {
  processors(kAmd);
  zone("0", "package-0-die-0", 10360237493);
  zone("1", "package-0-die-1", 9260237493);
  EXPECT_EQ(packages(), (DieTexts{
                            "class/powercap/intel-rapl:0 (package-0-die-0: a counter of its own)",
                            "class/powercap/intel-rapl:1 (package-0-die-1: a counter of its own)",
                        }));
}

TEST_F(DieZonesTest, OfEachSocketCountOnce) {
  processors(kAmd);
  for (int die = 0; die < 26; ++die) {
    zone(std::to_string(die),
         "package-" + std::to_string(die / 13) + "-die-" + std::to_string(die % 13),
         die < 13 ? 70'000'000'000 : 5'000'000);
  }
  const DieTexts found = packages();
  ASSERT_EQ(found.size(), 2U);
  EXPECT_NE(found[0].find("package-0-die-0"), std::string::npos) << found[0];
  EXPECT_NE(found[1].find("package-1-die-0: the counter of the whole package; 12 other dies"),
            std::string::npos)
      << found[1];
}

TEST_F(DieZonesTest, AreNotComparedByAUserWhoMayNotReadThem) {
  processors(kAmd);
  tree_.superuser = false;
  zone("0", "package-0-die-0", 10360237493);
  zone("1", "package-0-die-1", 60237493);
  EXPECT_EQ(packages(), DieTexts{"class/powercap/intel-rapl:0 (package-0-die-0: the counter of the "
                                 "whole package; 1 other die shows it too, as on all of AMD's)"});
}

TEST_F(DieZonesTest, LeaveWholePackagesAsTheyAre) {
  processors(kAmd);
  zone("0", "package-0", 5);
  zone("1", "package-1", 5);
  EXPECT_EQ(packages(), (DieTexts{"class/powercap/intel-rapl:0 (package-0)",
                                  "class/powercap/intel-rapl:1 (package-1)"}));
}

TEST(OneCounter, IsReadTwiceWithinWhatAPackageCanDraw) {
  const auto one = [](long long a, long long b) {
    const long long energies_uj[] = {a, b};
    return may_be_one_counter(energies_uj, 65'532'610'987);
  };
  EXPECT_TRUE(one(5'000'000'000, 5'010'000'000));
  EXPECT_TRUE(one(5'010'000'000, 5'000'000'000));
  EXPECT_FALSE(one(5'000'000'000, 5'010'000'001));
  EXPECT_TRUE(one(65'532'610'000, 900'000)) << "it has begun anew between the two";
  EXPECT_FALSE(one(65'512'610'000, 900'000));
}

}  // namespace
}  // namespace linux_machine
