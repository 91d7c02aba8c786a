#include "lab/engine_process/machine_keys.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

constexpr const char* kListing =
    "#key\ttype\tsize\tvalue\tunit\tsource\n"
    "PC0C\tfp88\t2\t12.7344\tW\tpackage-0\n"
    "TC0D\tsp78\t2\t33.5\tdegrees C\tcoretemp\n"
    "FS! \tui16\t2\t0\t-\tsimulated\n"
    "F0Ac\tfpe2\t2\t800\tRPM\tfan1\n"
    "F0Tg\tfpe2\t2\t800\tRPM\tfan1\n"
    "F0Mx\tfpe2\t2\tnot measured\tRPM\tfan1\n"
    "TA0P\tsp78\t2\tPermission denied\tdegrees C\tacpitz\n";

TEST(MachineKeys, AreReadFromTheListing) {
  const std::vector<MachineKey> keys = parse_listing(kListing);
  ASSERT_EQ(keys.size(), 7U);
  EXPECT_EQ(keys[0].name, "PC0C");
  EXPECT_EQ(keys[0].source, "package-0");
  EXPECT_EQ(keys[1].unit, "degC");
  EXPECT_EQ(keys[2].name, "FS! ");
  EXPECT_EQ(keys[2].unit, "");
  EXPECT_FALSE(keys[2].sampled);
  EXPECT_FALSE(keys[6].readable);
}

TEST(MachineKeys, WorthSamplingAreReadableTemperaturesPowersAndRealSpeeds) {
  std::string worth;
  for (const MachineKey& key : parse_listing(kListing)) {
    worth += worth_sampling(key) ? key.name + " " : "";
  }
  EXPECT_EQ(worth, "PC0C TC0D F0Ac ");
}

TEST(MachineKeys, TheCheckTellsHowManyPStatesThereAre) {
  EXPECT_EQ(pstates_in(parse_check("ok     keys: 12\nok     P-states: 0 to 29 (intel_pstate)\n")),
            30U);
  EXPECT_EQ(pstates_in(parse_check("ok     P-states: 0 to 2 (acpi-cpufreq)\n")), 3U);
  EXPECT_EQ(pstates_in(parse_check("lacks  P-states: the kernel shows none (cpufreq)\n")), 0U);
  EXPECT_EQ(pstates_in({}), 0U);
}

TEST(MachineKeys, AListingThatIsNoneHasNoKeys) {
  EXPECT_TRUE(parse_listing("").empty());
  EXPECT_TRUE(parse_listing("No controller was found on this machine\n").empty());
}

TEST(MachineCheck, FindingsHaveTheirRemedies) {
  const std::vector<Finding> findings = parse_check(
      "ok     fixed priority: this user may have it\n"
      "lacks  keys: the kernel shows no sensor\n"
      "       -> load the drivers\n");
  ASSERT_EQ(findings.size(), 2U);
  EXPECT_TRUE(findings[0].well);
  EXPECT_EQ(findings[0].text, "fixed priority: this user may have it");
  EXPECT_EQ(findings[0].remedy, "");
  EXPECT_FALSE(findings[1].well);
  EXPECT_EQ(findings[1].remedy, "load the drivers");
}

TEST(MachineKeys, OfAMachineWithoutAnyTheDoctorKnowsMore) {
  EXPECT_EQ(
      no_keys("f() returned NULL\nNothing was found; --check says what it lacks.\n"),
      "this machine shows no keys: \"vorn-lab-sim doctor\" says what it lacks, and the remedy");
  EXPECT_EQ(no_keys("vorn-keys: no memory\n"),
            "this machine shows no keys: \"vorn-lab-sim doctor\" says what it lacks, and the "
            "remedy; vorn-keys: no memory");
  EXPECT_EQ(no_keys(""), no_keys("--check\n"));
}

}  // namespace
}  // namespace lab
