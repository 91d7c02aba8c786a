#include "engine/record/record.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>

#include "engine/record/clock_reading.h"
#include "engine/record/edge_log.h"
#include "engine/record/record_parts.h"
#include "engine/record/record_writer.h"
#include "engine/record/ring.h"
#include "support/record_reader.h"
#include "vorn/edge_observer.h"

namespace {

namespace fs = std::filesystem;

std::int64_t number(const std::string& field) {
  return std::stoll(field);
}

/// Runs until the clock of the thread has moved by some milliseconds.
void use_the_processor() {
  timespec time{};
  do {
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  } while (time.tv_sec == 0 && time.tv_nsec < 3000000);
}

class TheRecord : public testing::Test {
 protected:
  TheRecord() : path_(testing::TempDir() + "record." + std::to_string(getpid())) {
    unlink(path_.c_str());
  }
  ~TheRecord() override { unlink(path_.c_str()); }

  RecordPlan plan(unsigned threads = 0) const {
    RecordPlan plan;
    plan.path = path_;
    plan.program = "vorn-engine";
    plan.version = "1.2";
    plan.threads = threads;
    plan.sys = "/nowhere";
    return plan;
  }

  const std::string path_;
};

TEST_F(TheRecord, BeginsWithWhatWasAskedAndEndsWithTheStatus) {
  RecordPlan asked = plan(3);
  asked.arguments = {"/usr/libexec/vorn/vorn-engine", "--note", "a\tb"};
  asked.settings = {{"frequency", "50"}, {"workload", "bfma"}};
  Record record(asked);
  EXPECT_TRUE(record.finish("the time is over", 7).none());

  const RecordReader reader(path_);
  EXPECT_EQ(reader.of("program"), (std::vector<RecordLine>{{"program", "vorn-engine", "1.2"}}));
  EXPECT_EQ(reader.of("argument"),
            (std::vector<RecordLine>{{"argument", "/usr/libexec/vorn/vorn-engine"},
                                     {"argument", "--note"},
                                     {"argument", "a\tb"}}));
  EXPECT_EQ(reader.of("setting"), (std::vector<RecordLine>{{"setting", "frequency", "50"},
                                                           {"setting", "workload", "bfma"}}));
  EXPECT_EQ(reader.of("threads"), (std::vector<RecordLine>{{"threads", "3"}}));
  EXPECT_EQ(reader.of("host").size(), 1U);
  EXPECT_EQ(reader.of("lost"), (std::vector<RecordLine>{{"lost", "0", "0"}}));
  const RecordLine& last = reader.lines().back();
  EXPECT_EQ(last.front(), "end");
  EXPECT_EQ(last[2], "7");
  EXPECT_EQ(last[3], "the time is over");
}

TEST_F(TheRecord, HoldsBothClocksSideBySide) {
  const ClockReading before = clock_reading();
  Record record(plan());
  record.finish("", 0);
  const ClockReading after = clock_reading();
  const auto clocks = RecordReader(path_).of("clock");
  ASSERT_EQ(clocks.size(), 2U);  // at the beginning and at the end
  for (const RecordLine& clock : clocks) {
    EXPECT_GE(number(clock[1]), before.monotonic_ns);
    EXPECT_LE(number(clock[1]), after.monotonic_ns);
    const std::int64_t offset = number(clock[2]) - number(clock[1]);
    EXPECT_NEAR(static_cast<double>(offset - (before.wall_ns - before.monotonic_ns)), 0.0, 5e6);
  }
}

TEST_F(TheRecord, ItsFirstClocksAreOfBeforeTheRunHoweverLateTheWriterIs) {
  RecordParts parts(plan());
  const std::int64_t made_ns = clock_reading().monotonic_ns;
  while (clock_reading().monotonic_ns < made_ns + 1000) {
  }
  parts.ending.set();
  RecordWriter(parts).write_until_the_end();
  EXPECT_LE(number(RecordReader(path_).of("clock").front()[1]), made_ns);
}

TEST_F(TheRecord, SaysEachEdgeAndHowEachThreadFollowedIt) {
  Record record(plan(2));
  record.edge_observer().switched(1000, 1010, true);
  record.edge_observer().switched(2000, 2020, false);
  record.thread(0).entered(1015, 4);
  record.thread(1).entered(1016, -1);
  record.thread(1).held_up(1500, 1700);
  record.thread(0).left(2019);
  record.finish("", 0);

  const RecordReader reader(path_);
  EXPECT_EQ(reader.of("edge"), (std::vector<RecordLine>{{"edge", "1000", "1010", "on"},
                                                        {"edge", "2000", "2020", "off"}}));
  EXPECT_EQ(reader.of("entered"), (std::vector<RecordLine>{{"entered", "1015", "0", "4"},
                                                           {"entered", "1016", "1", "-1"}}));
  ASSERT_EQ(reader.of("left").size(), 1U);
  EXPECT_EQ(reader.of("left")[0][1], "2019");
  EXPECT_GE(number(reader.of("left")[0][3]), 0);  // where this thread is
  ASSERT_EQ(reader.of("gap").size(), 1U);
  EXPECT_EQ(reader.of("gap")[0][4], "200");
}

TEST_F(TheRecord, SaysWhatASteeredWaveformWasAskedFor) {
  Record record(plan());
  record.asked({.at_ns = 100, .shape = "duty", .hz = 0.0, .offset = 0.35, .depth = 0.0});
  record.asked({.at_ns = 200, .shape = "triangle", .hz = 0.1, .offset = 0.25, .depth = 0.5});
  record.finish("", 0);
  EXPECT_EQ(RecordReader(path_).of("asked"),
            (std::vector<RecordLine>{{"asked", "100", "duty", "0", "0.35", "0"},
                                     {"asked", "200", "triangle", "0.1", "0.25", "0.5"}}));
}

TEST_F(TheRecord, SaysHowTheAgreedStartWasMet) {
  Record record(plan());
  const ClockReading now = clock_reading();
  record.start_agreed(now.wall_ns - 5000000, now.monotonic_ns - 1);
  record.start_agreed(now.wall_ns - 1000000, now.monotonic_ns - 1000000);
  record.edge_observer().switched(now.monotonic_ns - 1000000, now.monotonic_ns, true);
  record.edge_observer().switched(now.monotonic_ns, now.monotonic_ns, false);
  record.finish("", 0);
  const auto starts = RecordReader(path_).of("start");
  ASSERT_EQ(starts.size(), 1U);
  EXPECT_EQ(number(starts[0][1]), now.wall_ns - 1000000);
  EXPECT_EQ(number(starts[0][2]), now.monotonic_ns - 1000000);
  EXPECT_EQ(number(starts[0][3]), now.monotonic_ns);
  EXPECT_NEAR(static_cast<double>(number(starts[0][4])), 1e6, 1e6);
}

TEST_F(TheRecord, SaysNothingOfAStartThatNobodyAgreedOn) {
  Record record(plan());
  record.edge_observer().switched(1, 2, true);
  record.finish("", 0);
  EXPECT_TRUE(RecordReader(path_).of("start").empty());
}

TEST_F(TheRecord, SaysWhatWasSaid) {
  Record record(plan(1));
  record.refused("priority 63", "a line\nwith two ends");
  record.forced("F0Tg", "maximum");
  record.load_error(0, 5, 777, "fma: wrong result");
  record.finish("", 0);
  const RecordReader reader(path_);
  ASSERT_EQ(reader.of("refused").size(), 1U);
  EXPECT_EQ(reader.of("refused")[0][2], "priority 63");
  EXPECT_EQ(reader.of("refused")[0][3], "a line\nwith two ends");
  ASSERT_EQ(reader.of("forced").size(), 1U);
  EXPECT_EQ(reader.of("forced")[0][2], "F0Tg");
  EXPECT_EQ(reader.of("forced")[0][3], "maximum");
  EXPECT_EQ(reader.of("error"),
            (std::vector<RecordLine>{{"error", "777", "0", "5", "fma: wrong result"}}));
}

TEST_F(TheRecord, CountsEachThreadsProcessorTimeWorkAndSwitches) {
  Record record(plan(3));
  std::thread worker([&record] {
    record.thread(1).begun("bmem", 0, [] { return Work{.operations = 10, .bytes = 20}; });
    use_the_processor();
    record.sample_taken(1.5);
    record.thread(1).ended();
  });
  worker.join();
  record.sample_taken(2.0);
  record.finish("", 0);

  const RecordReader reader(path_);
  ASSERT_EQ(reader.of("thread").size(), 1U);
  EXPECT_EQ(reader.of("thread")[0][1], "1");
  EXPECT_EQ(reader.of("thread")[0][3], "bmem");
  EXPECT_EQ(reader.of("thread")[0][4], "0");
  EXPECT_EQ(reader.of("thread")[0][5], "ordinary");
  const auto samples = reader.of("sample");
  ASSERT_EQ(samples.size(), 2U);
  EXPECT_EQ(samples[0][2], "1.5");
  EXPECT_EQ(samples[1][2], "2");
  const auto times = reader.of("time");
  ASSERT_EQ(times.size(), 2U);
  EXPECT_GE(number(times[0][3]), 3000000);
  EXPECT_GE(number(times[1][3]), number(times[0][3]));
  const auto use = reader.of("use");
  ASSERT_EQ(use.size(), 1U);  // at the end
  EXPECT_EQ(use[0][2], "1");
  EXPECT_EQ(use[0][3], times[1][3]);
  for (const RecordLine& work : reader.of("work")) {
    EXPECT_EQ((RecordLine{work.begin() + 2, work.end()}), (RecordLine{"1", "10", "20"}));
  }
}

TEST_F(TheRecord, SaysNoWorkOfALoadThatDoesNotCount) {
  Record record(plan(1));
  std::thread worker([&record] {
    record.thread(0).begun("spin", -1, {});
    record.sample_taken(0.5);
    record.thread(0).ended();
  });
  worker.join();
  record.finish("", 0);
  const RecordReader reader(path_);
  EXPECT_EQ(reader.of("time").size(), 1U);
  EXPECT_TRUE(reader.of("work").empty());
}

TEST_F(TheRecord, SaysTheClocksAndThrottlesThatTheKernelShows) {
  const fs::path sys = path_ + ".sys";
  fs::create_directories(sys / "devices/system/cpu/cpu3/thermal_throttle");
  fs::create_directories(sys / "devices/system/cpu/cpufreq/policy3");
  std::ofstream(sys / "devices/system/cpu/cpu3/thermal_throttle/core_throttle_count") << "6\n";
  std::ofstream(sys / "devices/system/cpu/cpufreq/policy3/scaling_cur_freq") << "800000\n";
  RecordPlan asked = plan();
  asked.sys = sys;
  Record record(asked);
  record.finish("", 0);
  fs::remove_all(sys);
  const RecordReader reader(path_);
  ASSERT_EQ(reader.of("frequency").size(), 2U);
  EXPECT_EQ(reader.of("frequency")[0][2], "3");
  EXPECT_EQ(reader.of("frequency")[0][3], "800000");
  ASSERT_EQ(reader.of("throttled").size(), 1U);  // and once more when it changes
  EXPECT_EQ(reader.of("throttled")[0][3], "6");
  EXPECT_EQ(reader.of("throttled")[0][4], "-1");
}

TEST_F(TheRecord, ThatCannotBeMadeIsAnError) {
  RecordPlan asked = plan();
  asked.path = "/nowhere/record";
  EXPECT_THROW(Record{asked}, RecordError);
}

TEST_F(TheRecord, IsFinishedIfNobodyFinishesIt) {
  { const Record record(plan()); }
  EXPECT_EQ(RecordReader(path_).lines().back().front(), "end");
}

TEST_F(TheRecord, OnAFullDiskSaysSo) {
  RecordPlan asked = plan();
  asked.path = "/dev/full";
  Record record(asked);
  const RecordLosses losses = record.finish("", 0);
  EXPECT_FALSE(losses.none());
  EXPECT_GT(losses.lines, 5U);
  EXPECT_EQ(losses.reason, "No space left on device");
}

/// Finishes the record. Waits for a writer that a busy machine holds up beyond what a run waits.
RecordLosses finish_and_wait(Record& record) {
  constexpr int kMostTries = 600;
  RecordLosses losses = record.finish("", 0);
  for (int tries = 0; !losses.complete && tries < kMostTries; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    losses = record.finish("", 0);
  }
  return losses;
}

// Four threads and the edges write at once, faster than anybody reads.
TEST_F(TheRecord, OfConcurrentWritersIsWholeOrSaysHowMuchIsMissing) {
  constexpr unsigned kThreads = 3;
  constexpr std::int64_t kEvents = 150000;  // more than a buffer holds
  Record record(plan(kThreads));
  std::vector<std::thread> writers;
  for (unsigned thread = 0; thread < kThreads; ++thread) {
    writers.emplace_back([&record, thread] {
      record.thread(thread).begun("spin", -1, {});
      for (std::int64_t i = 0; i < kEvents; ++i) {
        record.thread(thread).entered(i, static_cast<int>(thread));
      }
      record.thread(thread).ended();
    });
  }
  writers.emplace_back([&record] {
    for (std::int64_t i = 0; i < kEvents; ++i) {
      record.edge_observer().switched(i, i + 1, i % 2 == 0);
    }
  });
  for (std::thread& writer : writers) {
    writer.join();
  }
  const RecordLosses losses = finish_and_wait(record);
  EXPECT_TRUE(losses.complete);

  const RecordReader reader(path_);
  std::map<std::string, std::int64_t> read;
  std::map<std::string, std::int64_t> last;
  for (const RecordLine& line : reader.of("entered")) {
    ++read[line[2]];
    ASSERT_GE(number(line[1]), last[line[2]]);
    ASSERT_EQ(line[2], line[3]);
    last[line[2]] = number(line[1]);
  }
  for (const RecordLine& line : reader.of("edge")) {
    ++read["edges"];
    ASSERT_EQ(number(line[2]), number(line[1]) + 1);
    ASSERT_EQ(line[3], number(line[1]) % 2 == 0 ? "on" : "off");
  }
  std::map<std::string, std::int64_t> dropped;  // by the last line of each
  for (const RecordLine& line : reader.of("dropped")) {
    dropped[line[1] == "edge" ? "edges" : line[3]] = number(line[2]);
  }
  std::int64_t all_dropped = 0;
  for (const std::string what : {"0", "1", "2", "edges"}) {
    EXPECT_EQ(read[what] + dropped[what], kEvents) << what;
    all_dropped += dropped[what];
  }
  EXPECT_EQ(static_cast<std::int64_t>(losses.events), all_dropped);
}

// A pipe that nobody empties stands for a disk that takes nothing.
class AStuckRecord : public TheRecord {
 protected:
  AStuckRecord() {
    EXPECT_EQ(mkfifo(path_.c_str(), 0600), 0);
    reader_ = open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  }
  ~AStuckRecord() override { close(reader_); }

  int reader_ = -1;
};

TEST_F(AStuckRecord, HoldsNobodyUpAndIsGivenUpAtTheEnd) {
  Record record(plan(1));
  // More than the buffers and the pipe hold; each call is counted, and returns at once.
  for (std::int64_t i = 0; i < 1000000; ++i) {
    record.edge_observer().switched(i, i, true);
    record.thread(0).entered(i, 0);
  }
  const auto begin = std::chrono::steady_clock::now();
  const RecordLosses losses = finish_and_wait(record);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
  EXPECT_FALSE(losses.none());
  EXPECT_GT(losses.lines + losses.events, 1000000U);
}

}  // namespace
