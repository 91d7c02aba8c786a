#include "machines/linux/checkup/work.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>

#include "machines/linux/fans/assignment.h"
#include "machines/linux/giving_back/journal.h"
#include "machines/linux/giving_back/left_behind.h"
#include "support/machine/fan_fixture.h"

namespace linux_machine {
namespace {

/// What is shown to the user, kept.
class KeptConsole {
 public:
  inspection::Console console() {
    return {.progress =
                [this](double fraction, const std::string& what) {
                  fractions.push_back(fraction);
                  steps.push_back(what);
                },
            .print = [this](const std::string& line) { printed += line + "\n"; },
            .complain = [this](const std::string& line) { complaints += line + "\n"; }};
  }

  std::vector<double> fractions;
  std::vector<std::string> steps;
  std::string printed;
  std::string complaints;
};

#define EXPECT_HAS(text, part) EXPECT_NE((text).find(part), std::string::npos) << (text)

class Calibrate : public testing::Test {
 protected:
  bool calibrate() {
    Machine machine(surroundings());
    return linux_machine::calibrate(machine, surroundings(), kept.console());
  }
  Surroundings& surroundings() { return bench.surroundings.surroundings; }
  std::size_t curves_kept() {
    const std::string& folder = surroundings().curves_folder;
    return std::filesystem::exists(folder) ? static_cast<std::size_t>(std::distance(
                                                 std::filesystem::directory_iterator(folder), {}))
                                           : 0;
  }

  FanFixture bench;
  KeptConsole kept;
};

TEST_F(Calibrate, MeasuresKeepsAndPrintsEveryFan) {
  EXPECT_TRUE(calibrate());
  EXPECT_EQ(kept.complaints, "");
  for (const char* fan : {"fan 1", "fan 2"}) {
    EXPECT_HAS(kept.printed, std::string("chip nct6779\n") + fan + "\nstops-and-starts yes\n");
  }
  EXPECT_HAS(kept.printed, "\n255 19");  // 2000, but for what the fan still gains
  EXPECT_HAS(kept.printed, "\n255 14");  // 1500
  EXPECT_HAS(kept.printed, "# kept in " + surroundings().curves_folder + "/");
  EXPECT_EQ(curves_kept(), 2U);
}

TEST_F(Calibrate, IsKnownToTheNextRun) {
  ASSERT_TRUE(calibrate());
  Machine next(surroundings());
  EXPECT_NEAR(*next.fans().maximum_rpm(1), 1500, 15);
  EXPECT_FALSE(next.fans().maximum_is_measured_on_demand(1));
}

TEST_F(Calibrate, LeavesTheFansAsTheyWereAndOtherRunsFree) {
  const auto before = bench.state();
  Machine machine(surroundings());
  ASSERT_TRUE(linux_machine::calibrate(machine, surroundings(), kept.console()));
  EXPECT_EQ(bench.state(), before);
  EXPECT_TRUE(StateFile::lock(surroundings(), kFansPart)) << "while the machine is still there";
  EXPECT_TRUE(parts_with_state(surroundings()).empty());
}

TEST_F(Calibrate, ShowsItsProgressFanByFan) {
  ASSERT_TRUE(calibrate());
  const auto second = std::find_if(kept.steps.begin(), kept.steps.end(), [](const auto& step) {
    return step.starts_with("nct6779 fan2: ");
  });
  ASSERT_NE(second, kept.steps.end());
  EXPECT_TRUE(std::all_of(kept.steps.begin(), second,
                          [](const auto& step) { return step.starts_with("nct6779 fan1: "); }));
  const auto middle = kept.fractions.begin() + (second - kept.steps.begin());
  for (const auto& [from, to] :
       {std::pair(kept.fractions.begin(), middle), std::pair(middle, kept.fractions.end())}) {
    EXPECT_EQ(*from, 0);
    EXPECT_TRUE(std::is_sorted(from, to));
    EXPECT_EQ(*std::prev(to), 1);
  }
}

TEST_F(Calibrate, MeasuresTheOthersWhenOneFanFails) {
  Machine machine(surroundings());
  const auto before = bench.state();
  bench.memory.fail(FanFixture::attribute("fan1_input"), EIO);
  EXPECT_FALSE(linux_machine::calibrate(machine, surroundings(), kept.console()));
  EXPECT_TRUE(kept.complaints.starts_with("nct6779 fan1: the measurement was ended: reading "))
      << kept.complaints;
  EXPECT_HAS(kept.printed, "fan 2\n");
  EXPECT_EQ(curves_kept(), 1U);
  EXPECT_EQ(bench.state(), before);
}

TEST_F(Calibrate, RemembersAFanThatDoesNotTurn) {
  {
    Machine machine(surroundings());
    bench.moving.block(0, true);
    EXPECT_TRUE(linux_machine::calibrate(machine, surroundings(), kept.console()));
  }
  EXPECT_EQ(kept.complaints, "");
  EXPECT_HAS(kept.printed, "fan 1\nturns no\n");
  EXPECT_HAS(kept.printed, "# it does not turn at full speed: perhaps nothing is connected there");
  EXPECT_EQ(curves_kept(), 2U);
  Machine next(surroundings());
  EXPECT_EQ(next.fans().channels()[1].connection, FanChannel::Connection::none);
  EXPECT_TRUE(linux_machine::calibrate(next, surroundings(), kept.console())) << "it may be tried";
}

TEST_F(Calibrate, NumbersThatAreAssignedStay) {
  const auto assign = [this](const std::string& wish) {
    Machine machine(surroundings());
    return assign_fan(machine, surroundings(), wish, kept.console());
  };
  const auto numbers = [this] {
    std::string all;
    Machine machine(surroundings());
    for (const FanChannel& fan : machine.fans().channels()) {
      all += std::to_string(fan.channel) + (fan.is_assigned ? "a" : "");
    }
    return all;
  };
  ASSERT_EQ(numbers(), "12");
  EXPECT_TRUE(assign("F0=devices/platform/board/fan2"));
  EXPECT_EQ(numbers(), "2a1");
  EXPECT_TRUE(assign("F1=nct6779/fan2")) << "by its chip";
  EXPECT_EQ(numbers(), "12a");
  const std::string folder = std::string(FanFixture::kFolder);
  EXPECT_TRUE(assign("F0=" + folder + "/fan2")) << "as in the listing";
  EXPECT_EQ(numbers(), "2a1");
  EXPECT_TRUE(assign("F0="));
  EXPECT_EQ(numbers(), "12");
  EXPECT_EQ(kept.complaints, "");
}

TEST_F(Calibrate, AnAssignmentThatCannotBeIsRefused) {
  Machine machine(surroundings());
  const auto refused = [&](const std::string& wish) {
    kept.complaints.clear();
    EXPECT_FALSE(assign_fan(machine, surroundings(), wish, kept.console())) << wish;
    return kept.complaints;
  };
  EXPECT_HAS(refused("F0=fan1"), "this is no number and fan");
  EXPECT_HAS(refused("F0=nct6779/fan3"), "no such fan");
  EXPECT_HAS(refused("F2=nct6779/fan1"), "fewer fans");
  bench.surroundings.user = 1000;
  EXPECT_HAS(refused("F0=nct6779/fan2"), "needs root: sudo vorn-keys --assign F0=nct6779/fan2");
}

TEST_F(Calibrate, AFaultCostsAnAssignmentAndNoneThatIsThere) {
  const auto assign = [this](const std::string& wish) {
    kept.complaints.clear();
    Machine machine(surroundings());
    return assign_fan(machine, surroundings(), wish, kept.console());
  };
  const auto assigned = [this] {
    std::string wrong;
    const auto all = load_assigned(surroundings().curves_folder, wrong);
    EXPECT_EQ(wrong, "");
    return all.size() == 1 ? all[0].channel : 0;
  };
  for (const auto how_long : {FaultyTree::For::once, FaultyTree::For::ever}) {
    int refused = 0;
    bool reached = true;
    for (int n = 1; reached; ++n) {
      SCOPED_TRACE("access " + std::to_string(n));
      ASSERT_TRUE(assign("F0=devices/platform/board/fan1"));
      bench.faulty.fail(n, EIO, how_long);
      const bool done = assign("F0=devices/platform/board/fan2");
      reached = bench.faulty.accesses() >= n;
      bench.faulty.heal();
      ASSERT_EQ(assigned(), done ? 2 : 1);
      ASSERT_EQ(kept.complaints.empty(), done);
      refused += done ? 0 : 1;
    }
    EXPECT_GT(refused, 3);
  }
}

TEST_F(Calibrate, IsRefusedToOrdinaryUsers) {
  bench.surroundings.user = 1000;
  EXPECT_FALSE(calibrate());
  EXPECT_HAS(kept.complaints, "needs the superuser");
  EXPECT_EQ(curves_kept(), 0U);
}

TEST_F(Calibrate, IsRefusedBesideAFanDaemon) {
  bench.surroundings.proc.put("5/comm", "fan2go\n");
  EXPECT_FALSE(calibrate());
  EXPECT_HAS(kept.complaints, "systemctl stop fan2go");
}

TEST_F(Calibrate, ComplainsOfACurveThatCannotBeKept) {
  surroundings().curves_folder = bench.surroundings.folder() + "/a file/curves";
  std::ofstream(bench.surroundings.folder() + "/a file") << "in the way\n";
  EXPECT_FALSE(calibrate());
  EXPECT_HAS(kept.complaints, "/a file/curves: Not a directory");
  EXPECT_HAS(kept.printed, "\n255 19") << "\nwhat was measured is not lost";
}

/// A machine on which nothing moves.
bool calibrate_on(const std::string& text, KeptConsole& kept) {
  MemoryTree tree(text);
  const TestSurroundings world(tree);
  Machine machine(world.surroundings);
  return linux_machine::calibrate(machine, world.surroundings, kept.console());
}

TEST(CalibrateWithout, AnythingToMeasureIsWell) {
  KeptConsole kept;
  EXPECT_TRUE(calibrate_on("", kept));
  EXPECT_EQ(kept.printed, "# no fan of this machine can be forced: nothing to measure\n");
}

TEST(CalibrateWithout, AFanThatCanBeForcedSaysWhy) {
  KeptConsole kept;
  EXPECT_TRUE(
      calibrate_on("link class/hwmon/hwmon0 -> ../../devices/x\n"
                   "0444 devices/x/name = nct6779\n0444 devices/x/fan1_input = 900\n",
                   kept));
  EXPECT_TRUE(kept.printed.starts_with("# nct6779 fan1 cannot be forced: devices/x/fan1_input: "))
      << kept.printed;
  EXPECT_HAS(kept.printed, "# no fan of this machine can be forced: nothing to measure\n");
  EXPECT_EQ(kept.complaints, "");
}

TEST(CalibrateWithout, AControlCharacterOfANameOnTheTerminal) {
  KeptConsole kept;
  EXPECT_TRUE(
      calibrate_on("link class/hwmon/hwmon0 -> ../../devices/x\n"
                   "0444 devices/x/name = nct\x1b[2J\n0444 devices/x/fan1_input = 900\n",
                   kept));
  EXPECT_HAS(kept.printed, "# nct\\x1b[2J fan1 cannot be forced: ");
  EXPECT_EQ(kept.printed.find('\x1b'), std::string::npos);
}

class Restore : public testing::Test {
 protected:
  /// As a run that was killed leaves it.
  void leave(const std::string& part, const std::string& journal) {
    const auto state = StateFile::lock(world.surroundings, part);
    ASSERT_TRUE(state);
    ASSERT_TRUE(state->append(journal));
  }
  bool restore() { return give_back_parts(world.surroundings, kept.console()); }

  MemoryTree tree{"0644 devices/a = 5\n0644 devices/b = 5\n"};
  TestSurroundings world{tree};
  KeptConsole kept;
};

TEST_F(Restore, SaysWhenThereIsNothingToDo) {
  EXPECT_TRUE(restore());
  EXPECT_EQ(kept.printed, "nothing was left changed\n");
  EXPECT_EQ(tree.writes(), 0);
}

TEST_F(Restore, GivesBackEveryPart) {
  leave("fans", set_line("devices/a", "1") + "\n");
  leave("P-states", set_line("devices/b", "2") + "\n");
  EXPECT_TRUE(restore());
  EXPECT_EQ(tree.text("devices/a"), "1");
  EXPECT_EQ(tree.text("devices/b"), "2");
  EXPECT_EQ(kept.printed, "P-states: given back\nfans: given back\n");
  EXPECT_EQ(kept.complaints, "");
  EXPECT_TRUE(parts_with_state(world.surroundings).empty());
}

TEST_F(Restore, IsDoneOnce) {
  leave("fans", set_line("devices/a", "1") + "\n");
  ASSERT_TRUE(restore());
  tree.put("devices/a", "9");
  EXPECT_TRUE(restore());
  EXPECT_EQ(tree.text("devices/a"), "9");
}

TEST_F(Restore, KeepsWhatCouldNotBeGivenBackAndDoesTheRest) {
  leave("P-states", set_line("devices/a", "1") + "\n");
  leave("fans", set_line("devices/b", "2") + "\n");
  tree.fail("devices/a", EIO);
  EXPECT_FALSE(restore());
  EXPECT_TRUE(kept.complaints.starts_with("P-states: could not all be given back; "))
      << kept.complaints;
  EXPECT_HAS(kept.complaints, world.surroundings.state_folder + "/P-states keeps what is left");
  EXPECT_TRUE(world.reported("devices/a could not be put back to 1"));
  EXPECT_EQ(tree.text("devices/b"), "2");
  EXPECT_EQ(parts_with_state(world.surroundings), std::vector<std::string>{"P-states"});

  tree.fail("devices/a", 0);
  EXPECT_TRUE(restore());
  EXPECT_EQ(tree.text("devices/a"), "1");
}

TEST_F(Restore, LeavesAloneWhatARunHolds) {
  leave("fans", set_line("devices/a", "1") + "\n");
  const auto run = StateFile::lock(world.surroundings, "fans");
  ASSERT_TRUE(run);
  EXPECT_FALSE(restore());
  EXPECT_HAS(kept.complaints, "another run holds the fans");
  EXPECT_EQ(tree.text("devices/a"), "5");
}

TEST_F(Restore, TakesOverFromAHolderWhoShowsNoLife) {
  leave("fans", set_line("devices/a", "1") + "\n");
  const auto stopped = StateFile::lock(world.surroundings, "fans");
  ASSERT_TRUE(stopped);
  const std::array<timespec, 2> long_ago{timespec{.tv_sec = 1000, .tv_nsec = 0},
                                         timespec{.tv_sec = 1000, .tv_nsec = 0}};
  ASSERT_EQ(futimens(stopped->descriptor(), long_ago.data()), 0);
  EXPECT_TRUE(restore());
  EXPECT_EQ(kept.printed, "fans: given back\n");
  EXPECT_EQ(tree.text("devices/a"), "1");
  EXPECT_TRUE(stopped->is_removed()) << "which tells him";
  EXPECT_TRUE(StateFile::lock(world.surroundings, "fans")) << "for the next run";
}

TEST_F(Restore, NeedsRoot) {
  leave("fans", set_line("devices/a", "1") + "\n");
  world.user = 1000;
  EXPECT_FALSE(restore());
  EXPECT_EQ(kept.complaints, "giving back needs root: sudo vorn-keys --restore\n");
  EXPECT_EQ(tree.text("devices/a"), "5");
}

TEST_F(Restore, LeavesWhatSomebodyHasSetSince) {
  leave("P-states",
        set_line("devices/a", "1", "3") + "\n" + set_line("devices/b", "2", "5") + "\n");
  EXPECT_TRUE(restore());
  EXPECT_EQ(tree.text("devices/a"), "5") << "which is neither 1 nor 3";
  EXPECT_EQ(tree.text("devices/b"), "2");
  EXPECT_TRUE(world.reported("devices/a reads 5, which was set since: left as it is"));
}

}  // namespace
}  // namespace linux_machine
