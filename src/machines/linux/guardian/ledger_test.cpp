#include "machines/linux/guardian/ledger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <thread>

#include "machines/linux/giving_back/journal.h"
#include "machines/linux/giving_back/left_behind.h"
#include "machines/linux/sysfs/attribute.h"
#include "program/guardians.h"
#include "support/machine/machine_file.h"
#include "support/machine/test_surroundings.h"

namespace linux_machine {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class LedgerTest : public testing::Test {
 protected:
  std::string file(const std::string& part = "fans") {
    std::ifstream in(surroundings_.folder() + "/state/" + part);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
  }
  void leave_behind(const std::string& text) {
    Ledger maker(surroundings_.surroundings, "fans");
    ASSERT_TRUE(maker.begin());
    maker.end();  // its file stays
    std::ofstream(surroundings_.folder() + "/state/fans") << text;
  }

  MemoryTree tree_{std::string("0644 a = 1\n0644 b = 1\n")};
  TestSurroundings surroundings_{tree_};
  Ledger ledger_{surroundings_.surroundings, "fans"};
};

TEST_F(LedgerTest, KeepsWhatIsNotedInTheStateFile) {
  ASSERT_TRUE(ledger_.begin());
  EXPECT_EQ(file(), "");
  ASSERT_TRUE(ledger_.note(set_line("a", "1")));
  ASSERT_TRUE(ledger_.note(set_line("b", "1")));
  ASSERT_TRUE(ledger_.note(set_line("a", "1"))) << "again, and not twice";
  EXPECT_EQ(file(), "set a 1\nset b 1\n");
}

TEST_F(LedgerTest, GivesBackOneLineOrAll) {
  ASSERT_TRUE(ledger_.begin());
  ASSERT_TRUE(ledger_.note("set a 1"));
  ASSERT_TRUE(ledger_.note("set b 1"));
  tree_.put("a", "9");
  tree_.put("b", "9");
  EXPECT_TRUE(ledger_.give_back("set a 1"));
  EXPECT_EQ(tree_.text("a"), "1");
  EXPECT_EQ(tree_.text("b"), "9");
  EXPECT_EQ(file(), "set b 1\n");
  EXPECT_TRUE(ledger_.give_back_all());
  EXPECT_EQ(tree_.text("b"), "1");
  EXPECT_EQ(file(), "");
  EXPECT_TRUE(ledger_.give_back("set a 1")) << "not noted any more";
}

TEST_F(LedgerTest, KeepsWhatCouldNotBeGivenBack) {
  ASSERT_TRUE(ledger_.begin());
  ASSERT_TRUE(ledger_.note("set a 1"));
  tree_.put("a", "9");
  tree_.fail("a", EIO);
  EXPECT_FALSE(ledger_.give_back_all());
  EXPECT_EQ(file(), "set a 1\n");
  EXPECT_TRUE(surroundings_.reported("a could not be put back to 1"));
  tree_.fail("a", 0);
  EXPECT_TRUE(ledger_.give_back_all());
  EXPECT_EQ(tree_.text("a"), "1");
}

TEST_F(LedgerTest, OwesWhatCouldNotBeGivenBack) {
  ASSERT_TRUE(ledger_.begin());
  ASSERT_TRUE(ledger_.note("set a 1"));
  ASSERT_TRUE(ledger_.note("set b 1"));
  tree_.put("a", "9");
  tree_.put("b", "9");
  tree_.fail("a", EIO);
  EXPECT_TRUE(ledger_.give_back_or_owe("set b 1", "b"));
  EXPECT_FALSE(ledger_.owes());
  EXPECT_FALSE(ledger_.give_back_or_owe("set a 1", "the switch"));
  const auto owed = ledger_.give_back_owed();
  ASSERT_FALSE(owed);
  EXPECT_EQ(owed.failure().message, "the switch could not be put back");
  tree_.fail("a", 0);
  EXPECT_TRUE(ledger_.owes());
  EXPECT_TRUE(ledger_.give_back_owed());
  EXPECT_FALSE(ledger_.owes());
  EXPECT_EQ(tree_.text("a"), "1");
}

TEST_F(LedgerTest, WithoutThePrivilegeALineIsOwedUntried) {
  ASSERT_TRUE(ledger_.begin());
  ASSERT_TRUE(ledger_.note("set a 1"));
  tree_.put("a", "9");
  surroundings_.user = 1000;
  EXPECT_FALSE(ledger_.give_back_or_owe("set a 1", "a"));
  EXPECT_FALSE(ledger_.is_to_try_again());
  EXPECT_EQ(tree_.text("a"), "9");
  surroundings_.user = 0;
  EXPECT_TRUE(ledger_.is_to_try_again());
}

TEST_F(LedgerTest, TriesAFewTimesAndAnewForALineMore) {
  ASSERT_TRUE(ledger_.begin());
  ASSERT_TRUE(ledger_.note("set a 1"));
  ASSERT_TRUE(ledger_.note("set b 1"));
  tree_.put("a", "9");
  tree_.put("b", "9");
  tree_.fail("a", EIO);
  tree_.fail("b", EIO);
  for (const char* line : {"set a 1", "set b 1"}) {
    EXPECT_FALSE(ledger_.give_back_or_owe(line, line));
    for (int tries = 0; tries < Ledger::kTries; ++tries) {
      EXPECT_TRUE(ledger_.is_to_try_again()) << tries;
      ledger_.try_again();
    }
    EXPECT_FALSE(ledger_.is_to_try_again());
  }
  EXPECT_TRUE(ledger_.owes());
}

TEST_F(LedgerTest, TwoRunsDoNotChangeTheSamePart) {
  ASSERT_TRUE(ledger_.begin());
  Ledger second(surroundings_.surroundings, "fans");
  const auto refused = second.begin();
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.failure().trouble, sysfs::Trouble::held);
  EXPECT_THAT(refused.failure().message, HasSubstr("another run holds the fans"));
  Ledger other_part(surroundings_.surroundings, "pstates");
  EXPECT_TRUE(other_part.begin());
  ledger_.end();
  EXPECT_TRUE(second.begin());
}

TEST_F(LedgerTest, GivesBackFirstWhatAnEarlierRunLeftBehind) {
  leave_behind("set a 5\nset b 1\n");
  tree_.put("b", "9");
  ASSERT_TRUE(ledger_.begin());
  EXPECT_EQ(tree_.text("a"), "5");
  EXPECT_EQ(tree_.text("b"), "1");
  EXPECT_EQ(file(), "");
  EXPECT_THAT(surroundings_.reports(),
              ElementsAre("an earlier run had left the fans changed: given back first"));
}

TEST_F(LedgerTest, DoesNotBeginOverWhatCannotBeGivenBack) {
  leave_behind("set a 5\n");
  tree_.fail("a", EIO);
  const auto refused = ledger_.begin();
  ASSERT_FALSE(refused);
  EXPECT_THAT(refused.failure().message, HasSubstr("state/fans"));
  EXPECT_EQ(file(), "set a 5\n");
}

TEST_F(LedgerTest, TakesNothingForOriginalWhenTheFileCannotBeRead) {
  leave_behind("");
  std::filesystem::remove(surroundings_.folder() + "/state/fans");
  std::filesystem::create_directory(surroundings_.folder() + "/state/fans");
  EXPECT_FALSE(ledger_.begin());
}

TEST_F(LedgerTest, ALineThatWasCutOffIsNothingToGiveBack) {
  leave_behind("set a 5");
  ASSERT_TRUE(ledger_.begin());
  EXPECT_EQ(tree_.text("a"), "1");
  EXPECT_THAT(surroundings_.reports(), IsEmpty());
}

TEST_F(LedgerTest, DoesNotTrustAFileThatOthersCanWrite) {
  leave_behind("set a 5\n");
  chmod((surroundings_.folder() + "/state/fans").c_str(), 0666);
  const auto refused = ledger_.begin();
  ASSERT_FALSE(refused);
  EXPECT_THAT(refused.failure().message, HasSubstr("state/fans can be written by others"));
  EXPECT_EQ(tree_.text("a"), "1");
}

TEST_F(LedgerTest, DoesNotTrustAFolderThatOthersCanWrite) {
  leave_behind("set a 5\n");
  chmod((surroundings_.folder() + "/state").c_str(), 0777);
  ASSERT_FALSE(ledger_.begin());
  EXPECT_EQ(tree_.text("a"), "1");
}

TEST_F(LedgerTest, MakesItsFolderForItselfWhateverTheUmask) {
  const mode_t before = umask(0);
  ASSERT_TRUE(ledger_.begin());
  umask(before);
  struct stat status {};
  ASSERT_EQ(stat((surroundings_.folder() + "/state").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0755U);
  ASSERT_EQ(stat((surroundings_.folder() + "/state/fans").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(LedgerTest, SaysWhichPartsHaveState) {
  EXPECT_THAT(parts_with_state(surroundings_.surroundings), IsEmpty());
  leave_behind("set a 5\n");
  EXPECT_THAT(parts_with_state(surroundings_.surroundings), ElementsAre("fans"));
}

/// Runs of their own, as processes, on a machine of real files.
class GuardianTest : public testing::Test {
 protected:
  void SetUp() override {
    build_machine("0644 a = 1\n", folder_);
    for_runs_.surroundings.guarded = true;
    for_runs_.surroundings.sleep_for = [](std::int64_t ns) {
      std::this_thread::sleep_for(std::chrono::nanoseconds(ns));
    };
  }

  /// A run that changes `a` and then does `end`. Returns its status, as waitpid gives it.
  int run(const std::function<void()>& end) {
    int status = 0;
    waitpid(start(end), &status, 0);
    return status;
  }

  pid_t start(const std::function<void()>& end) {
    const pid_t child = fork();
    if (child == 0) {
      Ledger& ledger = *new Ledger(for_runs_.surroundings, "fans");
      if (!ledger.begin() || !ledger.note("set a 1") || !sysfs::write_text(tree_, "a", "9")) {
        _exit(99);
      }
      end();
      _exit(98);
    }
    return child;
  }

  /// "" in the moment when it is being written.
  std::string a() {
    const sysfs::Result<std::string> text = sysfs::read_text(tree_, "a");
    return text ? *text : "";
  }

  bool a_becomes(const std::string& text) {
    for (int tries = 0; tries < 5000 && a() != text; ++tries) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return a() == text;
  }

  MemoryTree none_;
  TestSurroundings place_{none_};
  std::string folder_ = place_.folder();
  sysfs::Folder tree_{folder_};
  TestSurroundings for_runs_{tree_};
};

TEST_F(GuardianTest, GivesBackWhatAKilledRunHadChanged) {
  const int status = run([] { kill(getpid(), SIGKILL); });
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_TRUE(a_becomes("1"));
}

TEST_F(GuardianTest, GivesBackWhatAnAbortedRunHadChanged) {
  run([] { kill(getpid(), SIGABRT); });
  EXPECT_TRUE(a_becomes("1"));
}

TEST_F(GuardianTest, LetsGoOfThePartOnlyWhenItIsGivenBack) {
  run([] { kill(getpid(), SIGKILL); });
  Ledger next(for_runs_.surroundings, "fans");
  ASSERT_TRUE(next.begin());
  EXPECT_EQ(a(), "1");
  EXPECT_THAT(for_runs_.reports(), IsEmpty()) << "there was nothing left to give back";
}

TEST_F(GuardianTest, GivesBackWhatARunLeftAtItsOrdinaryEnd) {
  const int status = run([] { std::_Exit(0); });
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(a_becomes("1"));
}

/// At which of the forks to come the new process is killed at once; 0: at none.
int fork_to_be_killed = 0;

void be_killed_if_it_is_that_fork() {
  if (fork_to_be_killed > 0 && --fork_to_be_killed == 0) {
    kill(getpid(), SIGKILL);
  }
}

// Whoever kills it at its birth must not get a run without one. With SIGCHLD ignored, there is no
// status to learn that from.
TEST_F(GuardianTest, NothingBeginsWithoutItsWord) {
  for (const bool ignored : {false, true}) {
    for (const int killed : {1, 2}) {
      const pid_t child = fork();
      if (child == 0) {
        signal(SIGCHLD, ignored ? SIG_IGN : SIG_DFL);
        pthread_atfork(nullptr, nullptr, be_killed_if_it_is_that_fork);
        fork_to_be_killed = killed;
        Ledger ledger(for_runs_.surroundings, "fans");
        const auto begun = ledger.begin();
        const std::string wanted =
            "starting the guardian of the fans: it was ended before it was ready";
        std::_Exit(begun || begun.failure().message != wanted ? 1 : 0);
      }
      int status = -1;
      waitpid(child, &status, 0);
      EXPECT_EQ(status, 0) << killed << ignored;
    }
  }
}

TEST_F(GuardianTest, GivesBackWhenTheRunStandsStill) {
  const pid_t stopped = start([] { pause(); });
  ASSERT_TRUE(a_becomes("9"));
  kill(stopped, SIGSTOP);
  EXPECT_TRUE(a_becomes("1"));
  Ledger next(for_runs_.surroundings, "fans");
  EXPECT_TRUE(next.begin()) << "though the stopped run has the file open";
  kill(stopped, SIGKILL);
  waitpid(stopped, nullptr, 0);
}

TEST_F(GuardianTest, DoesNotKeepTheRunsStreamsOpen) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  if (child == 0) {
    Ledger& ledger = *new Ledger(for_runs_.surroundings, "fans");
    if (!ledger.begin()) {
      _exit(99);
    }
    close(ends[0]);
    const char word = 'x';
    [[maybe_unused]] const ssize_t told = write(ends[1], &word, 1);
    close(ends[1]);
    pause();
  }
  close(ends[1]);
  char text[2];
  EXPECT_EQ(read(ends[0], text, 1), 1);
  EXPECT_EQ(read(ends[0], text, 1), 0) << "the end of the stream, though the guardian lives";
  close(ends[0]);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
}

TEST_F(GuardianTest, GivesBackTheSecondPartToo) {
  const pid_t child = fork();
  if (child == 0) {
    Ledger& first = *new Ledger(for_runs_.surroundings, "fans");
    Ledger& second = *new Ledger(for_runs_.surroundings, "pstates");
    if (!first.begin() || !second.begin() || !second.note("set a 1") ||
        !sysfs::write_text(tree_, "a", "9")) {
      _exit(99);
    }
    kill(getpid(), SIGKILL);
  }
  waitpid(child, nullptr, 0);
  EXPECT_TRUE(a_becomes("1"));
}

// Ctrl-C reaches every process of the terminal's group, and a caller may signal whom he likes.
TEST_F(GuardianTest, IsEndedByNoSignalBeforeItHasGivenBack) {
  const pid_t run = start([] {
    for (;;) {
      pause();
    }
  });
  ASSERT_TRUE(a_becomes("9"));
  const std::vector<pid_t> guardians = living_guardians(for_runs_.folder());
  ASSERT_EQ(guardians.size(), 1U);
  for (const int signo : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGALRM, SIGPIPE, SIGUSR1, SIGUSR2,
                          SIGXCPU, SIGXFSZ, SIGRTMIN}) {
    kill(guardians.front(), signo);
  }
  kill(run, SIGKILL);
  waitpid(run, nullptr, 0);
  EXPECT_TRUE(a_becomes("1"));
}

}  // namespace
}  // namespace linux_machine
