#include "vorn/monitor_thread.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "support/held_sync.h"
#include "support/machine_fixture.h"
#include "support/slow_controller.h"
#include "vorn/notes.h"
#include "vorn/run_sleep.h"
#include "vorn/sample_file.h"
#include "vorn/settings.h"

namespace {

using std::chrono::milliseconds;

std::string note(const std::string& text) {
  return std::string(program_name()) + ": note: " + text + "\n";
}

class MonitorThread : public MachineFixture {
 protected:
  MonitorThread() {
    monitor = true;
    keys = {"PC0C", "TC0D"};
    output = file_;
  }
  ~MonitorThread() override {
    end();
    std::filesystem::remove(file_);
  }

  static void end() {
    params.terminate = true;
    end_run_sleeps();
    monitor_thread.join();
  }

  std::string text() const {
    std::ifstream in(file_);
    return {std::istreambuf_iterator<char>(in), {}};
  }

  std::vector<std::string> lines() const {
    std::vector<std::string> found;
    std::istringstream in(text());
    for (std::string line; std::getline(in, line);) {
      found.push_back(line);
    }
    return found;
  }

  /// Runs the thread until it has written `count` lines.
  std::vector<std::string> first_lines(std::size_t count) {
    EXPECT_EQ(monitor_thread.start(monitor_thread_function, 63), 0);
    for (int tries = 0; tries < 10000 && lines().size() < count; ++tries) {
      std::this_thread::sleep_for(milliseconds(1));
    }
    end();
    return lines();
  }

  std::vector<double> first_times(std::size_t count) {
    std::vector<double> times;
    for (const std::string& line : first_lines(count)) {
      times.push_back(std::stod(line));
    }
    return times;
  }

  /// Whether a run is in time, the best of a few: what is wrong with the thread is wrong each time.
  template <typename InTime>
  bool soon_enough(InTime in_time) {
    constexpr int kRuns = 8;
    for (int run = 0; run < kRuns; ++run) {
      params.terminate = false;
      std::filesystem::remove(file_);  // or the lines of the run before would be taken for its own
      if (in_time()) {
        return true;
      }
    }
    return false;
  }

  std::string file_ = std::filesystem::temp_directory_path() /
                      ("vorn_monitor_test_" + std::to_string(getpid()) + ".txt");
};

TEST_F(MonitorThread, WritesTheTimeAndEachKeysValueInTheirOrder) {
  monitor_rate = 50;
  for (const std::string& line : first_lines(3)) {
    EXPECT_EQ(line.substr(line.find('\t')), "\t40.5\t42.25") << line;
  }
  EXPECT_TRUE(text().ends_with("\n"));
}

TEST_F(MonitorThread, CommitsItsLinesToTheDisk) {
  held_sync::reset();
  monitor_rate = 50;
  first_lines(2);
  EXPECT_GE(held_sync::commits, 1);
}

TEST_F(MonitorThread, ReplacesWhatTheFileHeld) {
  std::ofstream(file_) << "an older run\n";
  monitor_rate = 50;
  first_lines(2);
  EXPECT_EQ(text().find("older"), std::string::npos);
}

/// How far behind its point of the grid a time is, in seconds.
double behind_the_grid(double time, double period) {
  return time - std::floor(time / period) * period;
}

TEST_F(MonitorThread, SamplesAtOnceAndThenOnTheGridOfItsPeriod) {
  constexpr double kPeriod = 0.2;
  monitor_rate = 1 / kPeriod;
  std::vector<double> behind;
  // A machine that has no time for the thread makes it late; not each time, and not by as much.
  EXPECT_TRUE(soon_enough([&] {
    behind.clear();
    for (const double time : first_times(4)) {
      behind.push_back(behind_the_grid(time, kPeriod));
    }
    return *std::max_element(behind.begin(), behind.end()) < 0.04;
  })) << testing::PrintToString(behind);
}

// The first sample takes 260 ms of a period of 100: the next is due at 300, not at 360.
TEST_F(MonitorThread, AfterASlowReadingWaitsForTheNextPointOfTheGrid) {
  constexpr double kPeriod = 0.1;
  monitor_rate = 1 / kPeriod;
  std::vector<double> times;
  EXPECT_TRUE(soon_enough([&] {
    const int first_read = 2;  // after two key infos
    kx::install_machine(
        {{std::make_shared<SlowController>(controller, first_read, milliseconds(260)), {}}});
    times = first_times(2);
    return behind_the_grid(times[1], kPeriod) < 0.03;
  })) << testing::PrintToString(times);
  EXPECT_GE(times[0], 0.26);
}

TEST_F(MonitorThread, IsCutShortInItsSleepWithoutAFurtherSample) {
  monitor_rate = 0.001;
  EXPECT_EQ(first_lines(1).size(), 1U);
  EXPECT_TRUE(text().ends_with("\n"));
}

TEST_F(MonitorThread, AKeyThatCannotBeResolvedEndsItBeforeAnyLine) {
  keys = {"PC0C", "XXXX"};
  EXPECT_EQ(printed_by([] { monitor_thread_function(nullptr); }),
            "Expected data size 2 for SMC key \"XXXX\", instead got 0\n" +
                note("this machine has no key \"XXXX\"; vorn-keys lists those that it has"));
  EXPECT_TRUE(std::filesystem::exists(file_));
  EXPECT_EQ(text(), "");
  EXPECT_FALSE(params.terminate);
}

TEST_F(MonitorThread, AMalformedKeyEndsItBeforeAnyLine) {
  keys = {"PC0"};
  EXPECT_EQ(printed_by([] { monitor_thread_function(nullptr); }),
            "Malformed SMC key \"PC0\"\n" +
                note("\"PC0\" is no key: a key has four characters; vorn-keys lists them"));
  EXPECT_EQ(text(), "");
}

TEST_F(MonitorThread, AFailedReadingEndsItAndKeepsTheLinesBefore) {
  monitor_rate = 50;
  const std::size_t second_line = 2 + 2;  // two key infos, two reads
  controller->answer(second_line, {kKxReturnIOError, {}, {}, {}});
  EXPECT_EQ(printed_by([] { monitor_thread_function(nullptr); }),
            "KxConnectMethodStructureIStructureO(): error kKxReturnIOError\n");
  EXPECT_EQ(lines().size(), 1U);
  EXPECT_FALSE(params.terminate);
}

/// Whether something is printed on the captured standard error within ten seconds.
bool something_is_said() {
  for (int tries = 0; tries < 10000; ++tries) {
    struct stat captured {};
    if (fstat(STDERR_FILENO, &captured) == 0 && captured.st_size > 0) {
      return true;
    }
    std::this_thread::sleep_for(milliseconds(1));
  }
  return false;
}

// A commit takes as long as the disk does: seconds, or for ever if the disk has gone.
TEST_F(MonitorThread, SaysAFailureWithoutWaitingForTheDisk) {
  held_sync::reset();
  held_sync::held = true;
  monitor_rate = 50;
  const std::size_t second_line = 2 + 2;
  controller->answer(second_line, {kKxReturnIOError, {}, {}, {}});
  EXPECT_EQ(printed_by([] {
              EXPECT_EQ(monitor_thread.start(monitor_thread_function, 63), 0);
              EXPECT_TRUE(something_is_said());
              held_sync::held = false;
              end();
            }),
            "KxConnectMethodStructureIStructureO(): error kKxReturnIOError\n");
}

TEST_F(MonitorThread, AReadingThatIsRefusedEndsItAndNamesTheRight) {
  const std::size_t first_line = 2;  // after two key infos
  controller->answer(first_line, {kKxReturnNotPermitted, {}, {}, {}});
  const std::string printed = printed_by([] { monitor_thread_function(nullptr); });
  EXPECT_NE(printed.find(": note: no more samples: this user may not read one of the keys; "),
            std::string::npos)
      << printed;
  EXPECT_NE(printed.find("cap_dac_read_search"), std::string::npos) << printed;
  EXPECT_TRUE(sampling_report().failed);
}

TEST_F(MonitorThread, WithoutAServiceEndsAndSaysSo) {
  kx::install_machine({});
  EXPECT_EQ(printed_by([] { monitor_thread_function(nullptr); }),
            "KxIteratorNext() returned NULL\n" +
                note("this machine shows no controller, that is no sensor and no fan; vorn-keys "
                     "--check says what there is; leave -m out, or use vorn-sim, which has a "
                     "simulated one"));
}

/// The two notes of a run whose sample file takes nothing: at once, and with the count at the end.
void expect_loss_noted(const std::string& printed, const std::string& at_once,
                       const std::string& reason) {
  const std::string end =
      " lines of samples were lost: " + reason + "; sample again into another file (-o)\n";
  ASSERT_TRUE(printed.starts_with(at_once)) << printed;
  const std::string rest = printed.substr(at_once.size());
  EXPECT_TRUE(rest.ends_with(end)) << rest;
  EXPECT_EQ(std::count(rest.begin(), rest.end(), '\n'), 1) << rest;
}

TEST_F(MonitorThread, GoesOnWithoutAFileThatCannotBeOpenedAndSaysSo) {
  output = "/nonexistent/folder/file";
  monitor_rate = 0.001;
  const std::string printed = printed_by([] {
    EXPECT_EQ(monitor_thread.start(monitor_thread_function, 63), 0);
    run_sleep(50000);
    end();
  });
  expect_loss_noted(
      printed,
      note("the samples are lost, their file cannot be opened: \"/nonexistent/folder/file\": No "
           "such file or directory; name with -o a file that this user may write, in a folder that "
           "exists"),
      "\"/nonexistent/folder/file\": No such file or directory");
  EXPECT_FALSE(sampling_report().failed);
  EXPECT_EQ(sampling_report().lost, 1U);
  EXPECT_EQ(sampling_report().file_error, ENOENT);
}

TEST_F(MonitorThread, SaysOnceThatAFileIsFullAndCountsItsLossesAtTheEnd) {
  output = "/dev/full";
  monitor_rate = 1000;
  const std::string printed = printed_by([] {
    EXPECT_EQ(monitor_thread.start(monitor_thread_function, 63), 0);
    run_sleep(50000);
    end();
  });
  EXPECT_GT(sampling_report().lost, 1U);
  // Samples of a thousandth of a second may also be late on a busy machine.
  std::string about_the_file;
  std::istringstream in(printed);
  for (std::string line; std::getline(in, line);) {
    about_the_file += line.find(" were late ") == std::string::npos ? line + "\n" : "";
  }
  expect_loss_noted(
      about_the_file,
      note("samples are lost, they cannot be written: \"/dev/full\": No space left on "
           "device; lines are taken again when that is over"),
      "\"/dev/full\": No space left on device");
}

TEST_F(MonitorThread, WritesToAFileThatItIsHanded) {
  output = "/nonexistent/folder/file";
  auto file = std::make_unique<SampleFile>(file_);
  file->write_line("#time\n");
  use_sample_file(std::move(file));
  monitor_rate = 50;
  EXPECT_EQ(first_lines(3)[0], "#time");
  EXPECT_EQ(sampling_report().lost, 0U);
  EXPECT_EQ(sampling_report().written, lines().size());
}

// The second sample takes three periods of a tenth of a second.
TEST_F(MonitorThread, CountsTheSamplesThatASlowReadingLeftOut) {
  const int second_sample = 4;  // after two key infos and two reads
  kx::install_machine(
      {{std::make_shared<SlowController>(controller, second_sample, milliseconds(300)), {}}});
  monitor_rate = 10;
  const std::string printed = printed_by([this] { first_lines(3); });
  EXPECT_GE(sampling_report().left_out, 2U);
  EXPECT_NE(printed.find(" left out, the longest gap was 0."), std::string::npos) << printed;
}

TEST_F(MonitorThread, SaysThatItsSensorsWereOpenedLate) {
  const int first_key = 0;
  kx::install_machine(
      {{std::make_shared<SlowController>(controller, first_key, milliseconds(300)), {}}});
  monitor_rate = 10;
  const std::string printed = printed_by([] {
    EXPECT_EQ(spawn_monitor(), 0);
    end();
  });
  EXPECT_NE(printed.find(": note: of the first 0."), std::string::npos) << printed;
  EXPECT_NE(printed.find(" s there are no samples, "), std::string::npos) << printed;
}

TEST_F(MonitorThread, MissesNoSampleThatItHasTaken) {
  monitor_rate = 20;
  EXPECT_TRUE(soon_enough([this] {
    printed_by([this] { first_lines(3); });
    return sampling_report().left_out == 0 && sampling_report().late == 0;
  }));
}

TEST_F(MonitorThread, WritesToStandardOutputIfToldADash) {
  output = std::string(1, '-');
  monitor_rate = 100;
  testing::internal::CaptureStdout();
  ASSERT_EQ(monitor_thread.start(monitor_thread_function, 63), 0);
  std::this_thread::sleep_for(milliseconds(100));
  end();
  EXPECT_NE(testing::internal::GetCapturedStdout().find("\t40.5\t42.25\n"), std::string::npos);
}

TEST_F(MonitorThread, IsGivenHalfASecondBeforeTheLoad) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(spawn_monitor(), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(500));
  EXPECT_EQ(lines().size(), 1U);
}

TEST_F(MonitorThread, SpawnDoesNotFailIfTheRunEndsMeanwhile) {
  std::thread ender([] {
    std::this_thread::sleep_for(milliseconds(20));
    params.terminate = true;
    end_run_sleeps();
  });
  EXPECT_EQ(spawn_monitor(), 0);
  ender.join();
}

using MonitorThreadDeathTest = MonitorThread;

TEST_F(MonitorThreadDeathTest, NeedsAKey) {
  keys.clear();
  EXPECT_DEATH(monitor_thread_function(nullptr),
               "Assertion failed: \\(!keys.empty\\(\\)\\), function monitor_thread_function, "
               "file src/vorn\\.");
}

TEST_F(MonitorThreadDeathTest, NeedsToBeAskedFor) {
  monitor = false;
  EXPECT_DEATH(spawn_monitor(),
               "\\(using_monitor_thread\\(\\)\\), function spawn_monitor, file src/vorn\\.");
}

}  // namespace
