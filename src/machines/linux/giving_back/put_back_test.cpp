#include "machines/linux/giving_back/put_back.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "support/machine/faulty_tree.h"
#include "support/machine/memory_tree.h"

namespace linux_machine {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kTree =
    "0644 p/scaling_max_freq = 1000\n"
    "0644 p/scaling_min_freq = 1000\n"
    "0644 p/scaling_governor = performance\n"
    "0644 p/energy_performance_preference = performance\n"
    "0444 h/name = nct6779\n"
    "0644 h/pwm2 = 255\n"
    "0644 h/pwm2_enable = 1\n"
    "0644 h/fan2_target = 3000\n";

constexpr const char* kFan = "fan h 2 nct6779 target=- pwm=153 enable=5 zero=full\n";

class PutBackTest : public testing::Test {
 protected:
  bool restored(const std::string& journal) { return restored(tree_, journal); }
  bool restored_if_forced(const std::string& journal) {
    return restored(tree_, journal, Extent::what_reads_as_forced);
  }
  bool restored(sysfs::Tree& tree, const std::string& journal, Extent what = Extent::everything) {
    const std::function<void(std::int64_t)> sleep = [this](std::int64_t ns) {
      slept_ns_ += ns;
      if (on_sleep_) {
        on_sleep_();
      }
    };
    const std::function<void(std::string_view)> report = [this](std::string_view line) {
      reports_.emplace_back(line);
    };
    return put_back(tree, journal, {sleep, report}, what);
  }

  /// The fan chip: refuses its pwm while automatic.
  void refuse_pwm_in_automatic() {
    tree_.on_write(
        "h/pwm2", [this](std::string&) { return tree_.text("h/pwm2_enable") == "1" ? 0 : -EBUSY; });
  }

  MemoryTree tree_{std::string(kTree)};
  std::vector<std::string> reports_;
  std::int64_t slept_ns_ = 0;
  std::function<void()> on_sleep_;
};

TEST_F(PutBackTest, NothingIsToBeDoneForAnEmptyJournal) {
  EXPECT_TRUE(restored(""));
  EXPECT_EQ(tree_.writes(), 0);
}

TEST_F(PutBackTest, AttributesAreWrittenEvenIfTheyReadRight) {
  EXPECT_TRUE(restored("set p/scaling_max_freq 1000\nset p/scaling_min_freq 400\n"));
  EXPECT_EQ(tree_.text("p/scaling_min_freq"), "400");
  EXPECT_EQ(tree_.writes(), 2);
  EXPECT_THAT(reports_, IsEmpty());
}

TEST_F(PutBackTest, AnOrderThatTheKernelRefusesIsTriedAgain) {
  tree_.on_write("p/scaling_max_freq", [this](std::string& text) {
    return std::stoi(text) < std::stoi(tree_.text("p/scaling_min_freq")) ? -EINVAL : 0;
  });
  EXPECT_TRUE(restored("set p/scaling_max_freq 800\nset p/scaling_min_freq 400\n"));
  EXPECT_EQ(tree_.text("p/scaling_max_freq"), "800");
  EXPECT_THAT(reports_, IsEmpty());
}

TEST_F(PutBackTest, WhatIsAppliedLaterIsWaitedFor) {
  std::string asked;
  tree_.on_write("p/scaling_max_freq", [&](std::string& text) {
    asked = text;
    text = "1000";
    return 0;
  });
  on_sleep_ = [&] {
    if (slept_ns_ >= 200'000'000) {
      tree_.put("p/scaling_max_freq", asked);
    }
  };
  EXPECT_TRUE(restored("set p/scaling_max_freq 800\n"));
  EXPECT_EQ(tree_.text("p/scaling_max_freq"), "800");
}

TEST_F(PutBackTest, WhatDoesNotComeIsReportedByNameAfterASecond) {
  tree_.fail("p/scaling_max_freq", EIO);
  EXPECT_FALSE(restored("set p/scaling_max_freq 800\nset p/scaling_min_freq 400\n"));
  EXPECT_EQ(tree_.text("p/scaling_min_freq"), "400") << "the others are put back all the same";
  EXPECT_THAT(reports_, ElementsAre("p/scaling_max_freq could not be put back to 800: writing it: "
                                    "Input/output error"));
  EXPECT_EQ(slept_ns_, 1'000'000'000);
}

TEST_F(PutBackTest, WhatHasGoneIsReportedAndNoFailure) {
  tree_.remove("p");
  tree_.remove("h");
  EXPECT_TRUE(restored(std::string("set p/scaling_max_freq 800\n") + kFan));
  EXPECT_THAT(reports_, ElementsAre("p/scaling_max_freq has gone", "h has gone, or is no nct6779"));
}

TEST_F(PutBackTest, AFanGetsItsPwmWhileItIsManualAndItsModeLast) {
  refuse_pwm_in_automatic();
  EXPECT_TRUE(restored(kFan));
  EXPECT_EQ(tree_.text("h/pwm2"), "153");
  EXPECT_EQ(tree_.text("h/pwm2_enable"), "5");
  EXPECT_EQ(tree_.text("h/fan2_target"), "3000") << "not touched, not restored";
}

TEST_F(PutBackTest, AFanThatIsAutomaticAlreadyIsPutBackAllTheSame) {
  refuse_pwm_in_automatic();
  tree_.put("h/pwm2_enable", "5");
  EXPECT_TRUE(restored(kFan));
  EXPECT_EQ(tree_.text("h/pwm2"), "153");
  EXPECT_EQ(tree_.text("h/pwm2_enable"), "5");
}

TEST_F(PutBackTest, AManualFanStaysManual) {
  EXPECT_TRUE(restored("fan h 2 nct6779 target=- pwm=100 enable=1 zero=full\n"));
  EXPECT_EQ(tree_.text("h/pwm2"), "100");
  EXPECT_EQ(tree_.text("h/pwm2_enable"), "1");
}

TEST_F(PutBackTest, AFanThatHadATargetGetsItBack) {
  EXPECT_TRUE(restored("fan h 2 nct6779 target=1200 pwm=100 enable=3 zero=full\n"));
  EXPECT_EQ(tree_.text("h/fan2_target"), "1200");
  EXPECT_EQ(tree_.text("h/pwm2_enable"), "3");
}

TEST_F(PutBackTest, AModeThatCannotBeReadIsSetToAutomatic) {
  tree_.put("h/pwm2_enable", "1", 0200);
  EXPECT_TRUE(restored("fan h 2 nct6779 target=- pwm=- enable=? zero=full\n"));
  EXPECT_EQ(tree_.text("h/pwm2_enable"), "2");
}

TEST_F(PutBackTest, AChannelWithoutModeGetsItsPwm) {
  tree_.remove("h/pwm2_enable");
  EXPECT_TRUE(restored("fan h 2 nct6779 target=- pwm=90 enable=- zero=full\n"));
  EXPECT_EQ(tree_.text("h/pwm2"), "90");
}

TEST_F(PutBackTest, ManualAtFullPwmMayReadAsFullSpeed) {
  tree_.on_read("h/pwm2_enable", [](const std::string& stored) {
    return MemoryTree::Answer{stored == "1" ? "0" : stored, 0};
  });
  EXPECT_TRUE(restored("fan h 2 nct6779 target=- pwm=255 enable=1 zero=full\n"));
}

TEST_F(PutBackTest, AModeThatTheChipRefusesPutsTheFanAtFullSpeed) {
  tree_.put("h/pwm2", "60");
  tree_.on_write("h/pwm2_enable", [](std::string& text) { return text == "5" ? -EINVAL : 0; });
  EXPECT_FALSE(restored(kFan));
  EXPECT_EQ(tree_.text("h/pwm2"), "255");
  EXPECT_EQ(tree_.text("h/pwm2_enable"), "1");
  EXPECT_THAT(reports_, ElementsAre("h/pwm2_enable could not be put back (pwm 153, mode 5): "
                                    "Invalid argument; the fan is at full speed instead"));
}

TEST_F(PutBackTest, AModeThatDoesNotStayPutsTheFanAtFullSpeed) {
  tree_.on_write("h/pwm2_enable", [](std::string& text) {
    text = "1";
    return 0;
  });
  EXPECT_FALSE(restored(kFan));
  EXPECT_EQ(tree_.text("h/pwm2"), "255");
  EXPECT_THAT(reports_, ElementsAre(HasSubstr("it reads differently")));
}

TEST_F(PutBackTest, AnErrorOfTheKernelsOwnIsReportedByItsNumber) {
  constexpr int kNotSupported = 524;
  tree_.fail("p/scaling_max_freq", kNotSupported);
  tree_.fail("h/pwm2", kNotSupported);
  tree_.fail("h/pwm2_enable", kNotSupported);
  EXPECT_FALSE(restored("set p/scaling_max_freq 800\n"));
  EXPECT_FALSE(restored(kFan));
  EXPECT_THAT(reports_, ElementsAre(HasSubstr("800: writing it: Unknown error 524"),
                                    HasSubstr("): Unknown error 524; neither")));
}

TEST_F(PutBackTest, AFanThatCannotEvenBePutAtFullSpeedIsSaidSo) {
  tree_.fail("h/pwm2", EIO);
  tree_.fail("h/pwm2_enable", EIO);
  EXPECT_FALSE(restored(kFan));
  EXPECT_THAT(reports_, ElementsAre(HasSubstr("neither could the fan be put at full speed")));
}

TEST_F(PutBackTest, AnotherChipAtTheSamePlaceIsLeftAlone) {
  tree_.put("h/name", "it8689");
  EXPECT_TRUE(restored(kFan));
  EXPECT_EQ(tree_.text("h/pwm2_enable"), "1");
}

TEST_F(PutBackTest, AnAttributeOutsideOfTheMachineIsNotWritten) {
  tree_.put("etc/shadow", "root");
  for (const char* path : {"../etc/shadow", "p/../../etc/shadow", "/etc/shadow", "p/.."}) {
    EXPECT_FALSE(restored(std::string("set ") + path + " mine\n")) << path;
  }
  EXPECT_EQ(tree_.text("etc/shadow"), "root");
}

TEST_F(PutBackTest, AMaximumThatHeatHoldsDownIsGivenBack) {
  tree_.on_write("p/scaling_max_freq", [](std::string& text) {
    text = "700";
    return 0;
  });
  EXPECT_TRUE(restored("set p/scaling_max_freq 800\n"));
  EXPECT_THAT(reports_, ElementsAre("p/scaling_max_freq is given back, and held lower for now"));
}

TEST_F(PutBackTest, AFanIsFoundUnderTheNumberThatItsDriverHasNow) {
  tree_.put("devices/nct/hwmon/hwmon5/name", "nct6779", 0444);
  tree_.put("devices/nct/hwmon/hwmon5/pwm2", "255");
  tree_.put("devices/nct/hwmon/hwmon5/pwm2_enable", "1");
  EXPECT_TRUE(
      restored("fan devices/nct/hwmon/hwmon3 2 nct6779 target=- pwm=153 enable=5 zero=full\n"));
  EXPECT_EQ(tree_.text("devices/nct/hwmon/hwmon5/pwm2_enable"), "5");
  EXPECT_THAT(reports_, IsEmpty());
}

TEST_F(PutBackTest, AChipWhoseModeZeroIsOffIsNotPutIntoIt) {
  tree_.fail("h/pwm2", EIO);
  tree_.on_write("h/pwm2_enable", [](std::string& text) { return text == "5" ? -EINVAL : 0; });
  EXPECT_FALSE(restored("fan h 2 nct6779 target=- pwm=153 enable=5 zero=off\n"));
  EXPECT_EQ(tree_.text("h/pwm2_enable"), "1");
}

TEST_F(PutBackTest, TheSwitchOfAllFansComesWhenEachHasItsPwm) {
  std::vector<std::string> order;
  tree_.on_write("h/pwm2", [&](std::string& text) {
    order.push_back("pwm " + text);
    return 0;
  });
  tree_.put("h/pwm1", "0");
  tree_.put("h/pwm1_enable", "", 0200);
  tree_.on_write("h/pwm1_enable", [&](std::string& text) {
    order.push_back("mode " + text);
    return 0;
  });
  tree_.remove("h/pwm2_enable");
  EXPECT_TRUE(
      restored("fan h 1 nct6779 target=- pwm=- enable=? zero=off\n"
               "fan h 2 nct6779 target=- pwm=90 enable=- zero=off\n"));
  EXPECT_THAT(order, ElementsAre("pwm 90", "mode 1", "mode 2"));
}

// Every access fails once: everything is put back all the same.
TEST_F(PutBackTest, OneFaultAnywhereIsOvercome) {
  const std::string journal =
      std::string("set p/scaling_max_freq 800\nset p/scaling_governor powersave\n") + kFan;
  FaultyTree counted(tree_);
  ASSERT_TRUE(restored(counted, journal));
  const int accesses = counted.accesses();
  EXPECT_GT(accesses, 10);
  for (const int error : {EIO, EBUSY, EINVAL, EACCES, ENODATA, EINTR, EAGAIN, ENODEV, ENOENT}) {
    for (int access = 1; access <= accesses; ++access) {
      MemoryTree machine{std::string(kTree)};
      FaultyTree faulty(machine);
      faulty.fail(access, error, FaultyTree::For::once);
      EXPECT_TRUE(restored(faulty, journal)) << access << " " << error;
      EXPECT_EQ(machine.text("p/scaling_max_freq"), "800") << access << " " << error;
      EXPECT_EQ(machine.text("p/scaling_governor"), "powersave") << access << " " << error;
      EXPECT_EQ(machine.text("h/pwm2"), "153") << access << " " << error;
      EXPECT_EQ(machine.text("h/pwm2_enable"), "5") << access << " " << error;
      EXPECT_EQ(machine.open_handles(), 0);
    }
  }
}

TEST_F(PutBackTest, FaultsForEverAreReportedByAttribute) {
  const std::string journal = std::string("set p/scaling_max_freq 800\n") + kFan;
  for (int access = 1; access <= 12; ++access) {
    MemoryTree machine{std::string(kTree)};
    FaultyTree faulty(machine);
    faulty.fail(access, EIO, FaultyTree::For::ever);
    reports_.clear();
    if (!restored(faulty, journal)) {
      ASSERT_FALSE(reports_.empty());
      EXPECT_THAT(reports_.back(),
                  testing::AnyOf(HasSubstr("h/pwm2_enable"), HasSubstr("p/scaling_max_freq")));
    }
  }
}

TEST_F(PutBackTest, OfAStaleJournalOnlyWhatReadsAsForcedIsPutBack) {
  EXPECT_TRUE(restored_if_forced(
      "set p/scaling_max_freq 3000 forced=1000\nset p/scaling_min_freq 800 forced=1200\n"));
  EXPECT_EQ(tree_.text("p/scaling_max_freq"), "3000");
  EXPECT_EQ(tree_.text("p/scaling_min_freq"), "1000");
  EXPECT_THAT(reports_, ElementsAre("p/scaling_min_freq reads 1000, which was set since: left as "
                                    "it is"));
}

TEST_F(PutBackTest, WhatADriverRoundedReadsAsForced) {
  EXPECT_TRUE(restored_if_forced("set p/scaling_max_freq 3000 forced=1009\n"));
  EXPECT_EQ(tree_.text("p/scaling_max_freq"), "3000");
}

TEST_F(PutBackTest, WhatWasForcedTwiceReadsAsOneOfBoth) {
  EXPECT_TRUE(restored_if_forced(
      "set p/scaling_max_freq 3000 forced=2000\nset p/scaling_max_freq 3000 forced=1000\n"));
  EXPECT_EQ(tree_.text("p/scaling_max_freq"), "3000");
  EXPECT_THAT(reports_, IsEmpty());
}

TEST_F(PutBackTest, AFanOfAStaleJournalIsPutBackInAModeThatItWasForcedIn) {
  const std::string forced = "fan h 2 nct6779 target=- pwm=153 enable=5 zero=full forced=1,4\n";
  tree_.put("h/pwm2_enable", "2");
  EXPECT_TRUE(restored_if_forced(forced));
  EXPECT_EQ(tree_.text("h/pwm2_enable"), "2");
  EXPECT_THAT(reports_, ElementsAre("h/pwm2_enable was set since: left as it is"));
  tree_.put("h/pwm2_enable", "5");
  EXPECT_TRUE(restored_if_forced(forced));
  EXPECT_EQ(tree_.text("h/pwm2"), "255") << "it is back, and not touched";
  for (const char* mode : {"1", "0", "4"}) {  // 0: manual at full pwm, as some chips show it
    tree_.put("h/pwm2_enable", mode);
    EXPECT_TRUE(restored_if_forced(forced));
    EXPECT_EQ(tree_.text("h/pwm2_enable"), "5") << mode;
  }
  EXPECT_EQ(reports_.size(), 1U);
}

// What it shows of full speed is a matter of its rounding, and of its range of pwm values.
TEST_F(PutBackTest, AChipThatRoundsIsAtFullSpeedFromThreeQuartersOn) {
  const char* const kOff = "fan h 2 nct6779 target=- pwm=153 enable=5 zero=off\n";
  tree_.on_write("h/pwm2_enable", [](std::string& text) { return text == "5" ? -EINVAL : 0; });
  for (const char* shown : {"190", "252"}) {
    tree_.on_read("h/pwm2", [shown](const std::string&) { return MemoryTree::Answer{shown, 0}; });
    EXPECT_FALSE(restored(kOff));
    EXPECT_THAT(reports_.back(), HasSubstr("; the fan is at full speed instead"));
  }
  tree_.on_read("h/pwm2", [](const std::string&) { return MemoryTree::Answer{"189", 0}; });
  EXPECT_FALSE(restored(kOff));
  EXPECT_THAT(reports_.back(), HasSubstr("neither could the fan be put at full speed"));
}

TEST_F(PutBackTest, AFanIsFoundUnderANumberOfTwoDigits) {
  for (const char* number : {"10", "99"}) {
    const std::string folder = std::string("devices/nct/hwmon/hwmon") + number;
    tree_.put(folder + "/name", "nct6779", 0444);
    tree_.put(folder + "/pwm2", "255");
    tree_.put(folder + "/pwm2_enable", "1");
    EXPECT_TRUE(
        restored("fan devices/nct/hwmon/hwmon3 2 nct6779 target=- pwm=153 enable=5 zero=full\n"));
    EXPECT_EQ(tree_.text(folder + "/pwm2_enable"), "5");
    EXPECT_THAT(reports_, IsEmpty());
    tree_.remove(folder);
  }
}

}  // namespace
}  // namespace linux_machine
