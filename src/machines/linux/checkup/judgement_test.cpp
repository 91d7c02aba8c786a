#include "machines/linux/checkup/judgement.h"

#include <gtest/gtest.h>

namespace linux_machine {
namespace {

using inspection::Finding;

Facts::Fan measured(const char* name) {
  Facts::Fan fan;
  fan.name = name;
  fan.has_curve = true;
  fan.has_maximum = true;
  return fan;
}

/// A machine and a user on which nothing is lacking.
Facts all_well() {
  Facts facts;
  facts.superuser = true;
  facts.fixed_priority = true;
  facts.fixed_runtime_us = 950'000;
  facts.keys = 12;
  facts.power = {{"PC0C", true, false}, {"PD0C", true, false}};
  facts.watched_temperature = true;
  facts.fans = {measured("F0Tg (nct6779 fan2)"), measured("F1Tg (nct6779 fan3)")};
  facts.pstates = 30;
  facts.pstate_driver = "intel_pstate";
  return facts;
}

std::vector<Finding> lacks(const Facts& facts) {
  std::vector<Finding> all = judge(facts);
  std::erase_if(all, [](const Finding& finding) { return finding.well; });
  return all;
}

/// The one thing that is lacking: "text -> remedy".
std::string only_lack(const Facts& facts) {
  const std::vector<Finding> all = lacks(facts);
  EXPECT_EQ(all.size(), 1U);
  return all.empty() ? "" : all.front().text + " -> " + all.front().remedy;
}

bool says(const Facts& facts, const std::string& text) {
  for (const Finding& finding : judge(facts)) {
    if (finding.well && finding.text == text) {
      return true;
    }
  }
  return false;
}

#define EXPECT_HAS(text, part) EXPECT_NE((text).find(part), std::string::npos) << (text)

TEST(Judgement, OfAMachineWithEverythingIsThatAllIsWell) {
  const std::vector<Finding> all = judge(all_well());
  EXPECT_EQ(all.size(), 9U);
  for (const Finding& finding : all) {
    EXPECT_TRUE(finding.well) << finding.text;
    EXPECT_EQ(finding.remedy, "");
    EXPECT_NE(finding.text, "");
  }
}

TEST(Judgement, HasARemedyForEverythingThatIsLacking) {
  Facts nothing;
  nothing.fixed_runtime_us = -1;
  nothing.fan_daemon = "fancontrol";
  nothing.left_behind = {"fans"};
  const std::vector<Finding> all = lacks(nothing);
  EXPECT_EQ(all.size(), 7U);
  for (const Finding& finding : all) {
    EXPECT_NE(finding.remedy, "") << finding.text;
  }
}

TEST(Judgement, ShowsNoControlCharacterOfAName) {
  Facts facts = all_well();
  facts.pstate_driver = "intel\x1b[2J";
  EXPECT_TRUE(says(facts, "P-states: 0 to 29 (intel\\x1b[2J)"));
  facts.fans.front().name = "F0Tg (nct\r6779 fan2)";
  facts.fans.front().refusal =
      "it is \x9b"
      "31m";
  EXPECT_HAS(only_lack(facts), "F0Tg (nct\\x0d6779 fan2) cannot be forced: it is \\x9b31m");
}

TEST(Judgement, MissesFixedPriorityThatNobodyGrants) {
  Facts facts = all_well();
  facts.fixed_priority = false;
  const std::string lack = only_lack(facts);
  EXPECT_TRUE(lack.starts_with("fixed priority: this user may not have it")) << lack;
  EXPECT_HAS(lack, "setcap cap_sys_nice+ep");
  EXPECT_HAS(lack, "\"USER - rtprio 64\" in /etc/security/limits.d/");
}

TEST(Judgement, NamesProgramsThatNeedNotBeInstalled) {
  Facts facts = all_well();
  facts.fixed_priority = false;
  facts.programs = "/home/ann/vorn/build/release/";
  EXPECT_HAS(only_lack(facts), "setcap cap_sys_nice+ep /home/ann/vorn/build/release/vorn;");
  facts.programs = "/home/ann/my builds/";
  EXPECT_HAS(only_lack(facts), "setcap cap_sys_nice+ep '/home/ann/my builds/vorn';");
}

TEST(Judgement, FindsFixedPriorityGrantedByTheFile) {
  Facts facts = all_well();
  facts.fixed_priority = false;
  facts.vorn_capabilities = {"cap_dac_read_search", "cap_sys_nice"};
  EXPECT_TRUE(lacks(facts).empty());
  EXPECT_TRUE(says(facts, "fixed priority: granted to vorn by its file's capability"));
}

TEST(Judgement, TakesAnotherCapabilityForNoFixedPriority) {
  Facts facts = all_well();
  facts.fixed_priority = false;
  facts.vorn_capabilities = {"cap_dac_read_search"};
  EXPECT_TRUE(only_lack(facts).starts_with("fixed priority:"));
}

TEST(Judgement, IsContentWithAnyLimitOfFixedPrioritiesAboveZero) {
  Facts facts = all_well();
  facts.fixed_runtime_us = 1;
  EXPECT_TRUE(says(
      facts, "sched_rt_runtime_us: 1 us, the rest of each period stays with ordinary programs"));
  facts.fixed_runtime_us.reset();
  EXPECT_TRUE(says(facts, "sched_rt_runtime_us: this kernel has no such limit"));
  EXPECT_TRUE(lacks(facts).empty());
}

TEST(Judgement, WarnsOfFixedPrioritiesWithoutLimitAndWithoutTime) {
  const std::string remedy = "sudo sysctl kernel.sched_rt_runtime_us=950000";
  Facts facts = all_well();
  facts.fixed_runtime_us = -1;
  EXPECT_HAS(only_lack(facts), "sched_rt_runtime_us is -1");
  EXPECT_HAS(only_lack(facts), remedy);
  facts.fixed_runtime_us = 0;
  EXPECT_HAS(only_lack(facts), "sched_rt_runtime_us is 0");
  EXPECT_HAS(only_lack(facts), remedy);
}

TEST(Judgement, SaysNoMoreOfKeysThanThatThereAreNone) {
  Facts facts = all_well();
  facts.keys = 0;
  facts.power.clear();
  const std::string lack = only_lack(facts);
  EXPECT_TRUE(lack.starts_with("keys: the kernel shows no sensor and no fan")) << lack;
  EXPECT_HAS(lack, "vorn-sim");
}

TEST(Judgement, CountsTheKeys) {
  EXPECT_TRUE(says(all_well(),
                   "keys: 12 (vorn-keys lists them): powers (PC0C: the processor's), temperatures "
                   "(TC0D) and fan speeds (F0Ac)"));
}

TEST(Judgement, MissesAPowerMeter) {
  Facts facts = all_well();
  facts.power.clear();
  EXPECT_HAS(only_lack(facts), "power: the kernel shows no power meter");
  EXPECT_HAS(only_lack(facts), "modprobe intel_rapl_msr");
}

TEST(Judgement, TellsAPowerThatIsRefusedFromOneThatIsBroken) {
  Facts facts = all_well();
  facts.power[1] = {"PD0C", false, true};
  EXPECT_HAS(only_lack(facts), "PD0C: only root may read the energy counters");
  EXPECT_HAS(only_lack(facts), "cap_dac_read_search+ep");
  facts.power[1] = {"PD0C", false, false};
  EXPECT_HAS(only_lack(facts), "PD0C: its source does not answer as it should");
  EXPECT_HAS(only_lack(facts), "dmesg");
  EXPECT_TRUE(says(facts, "PC0C: can be read"));
}

TEST(Judgement, FindsARefusedPowerGrantedByTheFile) {
  Facts facts = all_well();
  facts.power[0] = {"PC0C", false, true};
  facts.vorn_capabilities = {"cap_sys_nice", "cap_dac_read_search"};
  EXPECT_TRUE(says(facts, "PC0C: granted to vorn by its file's capability"));
  EXPECT_TRUE(lacks(facts).empty());
  facts.power[0].refused = false;
  EXPECT_HAS(only_lack(facts), "does not answer") << "no capability mends a broken sensor";
}

TEST(Judgement, SaysNoMoreOfFansThanThatThereAreNone) {
  Facts facts = all_well();
  facts.fans.clear();
  facts.watched_temperature = false;
  EXPECT_HAS(only_lack(facts), "fans: the kernel shows none");
  EXPECT_HAS(only_lack(facts), "-s 0");
}

TEST(Judgement, SaysWhyAFanCannotBeForced) {
  Facts facts = all_well();
  facts.fans[1].refusal = "class/x/fan3_input: there is no pwm3";
  const std::string lack = only_lack(facts);
  EXPECT_TRUE(lack.starts_with(
      "F1Tg (nct6779 fan3) cannot be forced: class/x/fan3_input: there is no pwm3"))
      << lack;
  EXPECT_HAS(lack, "leave it out with -a");
}

TEST(Judgement, NamesAFanThatPerhapsIsNotThere) {
  Facts facts = all_well();
  facts.fans.push_back(measured("F2Tg (nct6798 fan1)"));
  facts.fans[2].refusal = "x/fan1_input: it stands still";
  facts.fans[2].connection = FanChannel::Connection::doubtful;
  EXPECT_HAS(only_lack(facts), "F2Tg (nct6798 fan1): perhaps nothing is connected");
  EXPECT_HAS(only_lack(facts), "sudo vorn-keys --calibrate finds out");
  EXPECT_HAS(only_lack(facts), "-a F0Tg");
  facts.fans[2].connection = FanChannel::Connection::none;
  EXPECT_TRUE(lacks(facts).empty()) << "it has been found out";
  facts.fans.erase(facts.fans.begin() + 1);
  EXPECT_HAS(only_lack(facts), "fans: one can be forced, and a run as root sets two");
}

TEST(Judgement, NamesASwitchThatCannotBeRead) {
  Facts facts = all_well();
  facts.fans[1].keeps_no_mode = true;
  EXPECT_HAS(only_lack(facts), "F1Tg (nct6779 fan3): its mode cannot be read");
  EXPECT_HAS(only_lack(facts), "Linux 6.18 or later");
}

TEST(Judgement, NamesAProcessorThatRunsAtItsLimit) {
  Facts facts = all_well();
  facts.at_limit = Facts::AtLimit{.attribute = "x/temp1_input", .celsius = 94.6, .limit_c = 95};
  EXPECT_HAS(only_lack(facts), "x/temp1_input reads 95 degrees, and this processor runs at 95 at");
  EXPECT_HAS(only_lack(facts), "no slower than they turn");
}

TEST(Judgement, AFourthFanIsNothingThatLacks) {
  Facts facts = all_well();
  facts.fans.push_back(measured("F3Tg (nct6798 fan1)"));
  facts.fans[2].refusal = "the first three fans can be forced";
  facts.fans[2].beyond_forced = true;
  EXPECT_TRUE(lacks(facts).empty());
}

TEST(Judgement, SendsAFanWithoutAGoodCurveToCalibration) {
  Facts facts = all_well();
  facts.fans[0].has_curve = false;
  EXPECT_HAS(only_lack(facts), "F0Tg (nct6779 fan2): its curve is not measured");
  EXPECT_HAS(only_lack(facts), "sudo vorn-keys --calibrate");
  facts.fans[0].damaged = "reading x.curve: it is of another fan";
  EXPECT_HAS(only_lack(facts), "F0Tg (nct6779 fan2): reading x.curve: it is of another fan");
  EXPECT_HAS(only_lack(facts), "sudo vorn-keys --calibrate");
}

TEST(Judgement, SaysThatARunMeasuresAMaximumOnlyWhereItIsNotKnown) {
  Facts facts = all_well();
  facts.fans[0].has_curve = false;
  const std::string first = "a run measures its maximum first";
  EXPECT_EQ(only_lack(facts).find(first), std::string::npos);
  facts.fans[0].has_maximum = false;
  EXPECT_HAS(only_lack(facts), first);
}

TEST(Judgement, WarnsThatARunSetsTwoFansWhereThereIsOne) {
  Facts facts = all_well();
  facts.fans.pop_back();
  EXPECT_HAS(only_lack(facts), "fans: there is one");
  EXPECT_HAS(only_lack(facts), "-a F0Tg");
}

TEST(Judgement, MissesATemperatureToWatch) {
  Facts facts = all_well();
  facts.watched_temperature = false;
  EXPECT_HAS(only_lack(facts), "no temperature of the processor to watch");
  EXPECT_HAS(only_lack(facts), "coretemp, k10temp");
}

TEST(Judgement, NamesTheFanDaemonAndHowToStopIt) {
  Facts facts = all_well();
  facts.fan_daemon = "thinkfan";
  EXPECT_EQ(only_lack(facts),
            "fans: thinkfan is running and controls them -> sudo systemctl stop thinkfan");
}

TEST(Judgement, NumbersThePStatesFromZero) {
  EXPECT_TRUE(says(all_well(), "P-states: 0 to 29 (intel_pstate)"));
}

TEST(Judgement, TellsPStatesThatAreNotThereFromThoseThatCannotBeRead) {
  Facts facts = all_well();
  facts.pstates = 0;
  EXPECT_HAS(only_lack(facts), "P-states: the kernel shows none (cpufreq)");
  EXPECT_HAS(only_lack(facts), "ordinary user");
  facts.pstate_trouble = "reading policy0/cpuinfo_min_freq: it is empty";
  EXPECT_EQ(only_lack(facts),
            "P-states: reading policy0/cpuinfo_min_freq: it is empty -> "
            "see the kernel's log (dmesg)");
}

TEST(Judgement, SaysWhatAnOrdinaryUserCannotChange) {
  Facts facts = all_well();
  facts.superuser = false;
  EXPECT_HAS(only_lack(facts), "not root: -s, -a and -p change nothing");
  EXPECT_HAS(only_lack(facts), "sudo vorn");
}

TEST(Judgement, NamesEachPartThatWasLeftChanged) {
  Facts facts = all_well();
  facts.left_behind = {"P-states", "fans"};
  const std::vector<Finding> all = lacks(facts);
  ASSERT_EQ(all.size(), 2U);
  EXPECT_TRUE(all[0].text.starts_with("P-states: changed by a run")) << all[0].text;
  EXPECT_TRUE(all[1].text.starts_with("fans: changed by a run")) << all[1].text;
  EXPECT_HAS(all[1].remedy, "sudo vorn-keys --restore");
}

}  // namespace
}  // namespace linux_machine
