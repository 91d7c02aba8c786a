#include "vorn/workload_threads.h"

#include <sys/prctl.h>

#include <atomic>
#include <cerrno>
#include <mutex>
#include <set>
#include <thread>

#include "Workload/Workload.h"
#include "Workload/WorkloadFactory.h"
#include "support/fake_host.h"
#include "support/no_room_for_threads.h"
#include "support/settings_fixture.h"
#include "vorn/settings.h"
#include "vorn/workload_placement.h"

namespace {

/// A workload that notes where it was made, and ends at once.
class NotingFactory : public WorkloadFactory {
 public:
  class Noting : public Workload {
   public:
    Noting(unsigned core, unsigned priority) : Workload(core, priority) {}
    void run(workload_params* /*params*/) override { slack_ns = prctl(PR_GET_TIMERSLACK); }
  };

  Workload* make(unsigned core, unsigned priority) override {
    ++made;
    last_core = core;
    last_thread = std::this_thread::get_id();
    return new Noting(core, priority);
  }
  std::string name() override { return "noting"; }
  std::string description() override { return "for tests"; }

  static inline std::atomic<int> slack_ns{0};  ///< of the thread that ran last
  std::atomic<int> made{0};
  std::atomic<unsigned> last_core{0};
  std::atomic<std::thread::id> last_thread{};
};

class WorkloadThreads : public SettingsFixture {
 protected:
  WorkloadThreads() {
    workloads = {"noting"};
    factories["noting"] = &noting_;
  }
  ~WorkloadThreads() override { factories.erase("noting"); }

  NotingFactory noting_;
};

TEST_F(WorkloadThreads, AreOneForEachProcessorByDefault) {
  fake_host::state().processors = 5;
  EXPECT_EQ(ncpus(), 5);
  EXPECT_EQ(num_workload_threads(), 5);
  cores = 3;
  EXPECT_EQ(num_workload_threads(), 3);
}

TEST_F(WorkloadThreads, RunBelowTheTimingAndMonitorThreads) {
  EXPECT_EQ(workload_thread_priority(), 63);
  frequency = 1.0;
  EXPECT_EQ(workload_thread_priority(), 31);
  frequency = 0.0;
  monitor = true;
  EXPECT_EQ(workload_thread_priority(), 31);
  monitor = false;
  threads_beside = true;
  EXPECT_EQ(workload_thread_priority(), 31);
}

TEST_F(WorkloadThreads, TheSmallerOneIsTakenWithoutASign) {
  EXPECT_EQ(min(2, 3), 2U);
  EXPECT_EQ(min(3, 2), 2U);
  EXPECT_EQ(min(4, 4), 4U);
  EXPECT_EQ(min(5, 0xFFFFFFFF), 5U) << "a count of -1 bounds nothing";
}

TEST_F(WorkloadThreads, BeyondTheLastProcessorAreNamedOnePastIt) {
  EXPECT_EQ(thread_to_core(0), 0U);
  EXPECT_EQ(thread_to_core(1), 1U);
  EXPECT_EQ(thread_to_core(2), 2U);
  EXPECT_EQ(thread_to_core(7), 2U);
}

TEST_F(WorkloadThreads, KeepTheirNumberIfTheProcessorCountIsNotKnown) {
  fake_host::state().processors = -1;
  EXPECT_EQ(thread_to_core(7), 7U);
}

TEST_F(WorkloadThreads, ABindingNamesOneProcessorForAll) {
  binding = 3;
  EXPECT_EQ(thread_to_core(0), 3U);
  EXPECT_EQ(thread_to_core(9), 3U);
}

TEST_F(WorkloadThreads, TheLastWorkloadServesAllFurtherThreads) {
  workloads = {"bspin", "spin"};
  EXPECT_EQ(thread_to_workload(0), 0U);
  EXPECT_EQ(thread_to_workload(1), 1U);
  EXPECT_EQ(thread_to_workload(3), 1U);
}

TEST_F(WorkloadThreads, ARecordHoldsProcessorAndWorkload) {
  workloads = {"bspin", "spin"};
  struct workload_thread record {};
  init_workload_thread(&record, 1);
  EXPECT_EQ(record.core, 1U);
  EXPECT_EQ(record.workload, 1U);
}

TEST_F(WorkloadThreads, ASingleWorkloadRunsInTheCallingThread) {
  cores = 1;
  EXPECT_EQ(spawn_workloads(), 0);
  EXPECT_EQ(noting_.last_thread.load(), std::this_thread::get_id());
  EXPECT_EQ(fake_host::state().last_priority, 63);
  EXPECT_EQ(fake_host::state().role_calls, 1);
}

TEST_F(WorkloadThreads, OnASingleProcessorTheWorkloadRunsInTheCallingThread) {
  fake_host::state().processors = 1;
  EXPECT_EQ(spawn_workloads(), 0);
  EXPECT_EQ(noting_.last_thread.load(), std::this_thread::get_id());
}

TEST_F(WorkloadThreads, SpawnReturnsWhenAllHaveEnded) {
  cores = 8;
  EXPECT_EQ(spawn_workloads(), 0);
  EXPECT_EQ(noting_.made, 8);
  EXPECT_NE(noting_.last_thread.load(), std::this_thread::get_id());
  EXPECT_EQ(fake_host::state().role_calls, 1);
}

// Those who wait for the waveform sleep until it is on; 50 us later would be late.
TEST_F(WorkloadThreads, AreWokenFromTimedWaitsWithoutDelay) {
  for (const unsigned threads : {1U, 2U}) {
    cores = threads;
    prctl(PR_SET_TIMERSLACK, 50000UL);
    NotingFactory::slack_ns = 0;
    EXPECT_EQ(spawn_workloads(), 0);
    EXPECT_EQ(NotingFactory::slack_ns, 1) << threads;
  }
}

#if !defined(__SANITIZE_ADDRESS__)  // the record of a thread that never ran is not freed
TEST_F(WorkloadThreads, SpawnFailsIfAThreadCannotBeCreated) {
  cores = 2;
  const NoRoomForThreads no_room;
  EXPECT_EQ(spawn_workloads(), -1);
  EXPECT_EQ(noting_.made, 0);
}
#endif

TEST_F(WorkloadThreads, ARefusedRoleLeavesSpawnAsAnException) {
  fake_host::state().role_result = 1;
  EXPECT_THROW(spawn_workloads(), WorkloadPolicyException);
}

TEST_F(WorkloadThreads, ARefusedPriorityLeavesASingleWorkloadAsAnException) {
  cores = 1;
  fake_host::state().priority_result = EPERM;
  EXPECT_THROW(spawn_workloads(), WorkloadThreadException);
}

using WorkloadThreadsDeathTest = WorkloadThreads;

TEST_F(WorkloadThreadsDeathTest, NeedAProcessor) {
  fake_host::state().processors = -1;
  EXPECT_DEATH(num_workload_threads(),
               "Assertion failed: \\(threads > 0\\), function num_workload_threads, "
               "file src/vorn, line 502\\.");
}

TEST_F(WorkloadThreadsDeathTest, ACountThatIsNegativeAsASignedNumberIsNone) {
  cores = 0x80000000U;
  EXPECT_DEATH(num_workload_threads(), "\\(threads > 0\\).*line 502\\.");
  cores = 0;
  EXPECT_DEATH(num_workload_threads(), "\\(threads > 0\\).*line 502\\.");
}

TEST_F(WorkloadThreadsDeathTest, NeedAWorkload) {
  workloads.clear();
  EXPECT_DEATH(thread_to_workload(0),
               "\\(!workloads.empty\\(\\)\\), function thread_to_workload.*line 529\\.");
  struct workload_thread record {};
  EXPECT_DEATH(workload_thread(&record),
               "\\(!workloads.empty\\(\\)\\), function workload_thread.*line 1135\\.");
}

TEST_F(WorkloadThreadsDeathTest, NeedARecord) {
  EXPECT_DEATH(workload_thread(nullptr),
               "\\(workload_thread\\), function workload_thread.*line 1134\\.");
  EXPECT_DEATH(init_workload_thread(nullptr, 0),
               "\\(wt\\), function init_workload_thread.*line 1259\\.");
}

TEST_F(WorkloadThreadsDeathTest, NeedARegisteredWorkload) {
  workloads = {"nosuch"};
  struct workload_thread record {};
  EXPECT_DEATH(workload_thread(&record),
               "\\(wf != factories.end\\(\\)\\), function workload_thread.*line 1142\\.");
}

/// Gives thread `t` processor 7 - t, and notes which threads began where.
class NotingPlacement : public WorkloadPlacement {
 public:
  using Begun = std::set<std::pair<unsigned, std::uint32_t>>;

  unsigned core(unsigned t) const override { return 7 - t; }
  void begin(unsigned t, std::uint32_t core) override {
    const std::lock_guard lock(mutex_);
    begun_.insert({t, core});
    on_.insert(std::this_thread::get_id());
  }
  void made() override {
    const std::lock_guard lock(mutex_);
    made_.insert(std::this_thread::get_id());
  }
  void ended() override {
    const std::lock_guard lock(mutex_);
    ended_.insert(std::this_thread::get_id());
  }

  const Begun& begun() const { return begun_; }
  std::size_t threads() const { return on_.size(); }
  bool all_made_and_ended() const { return made_ == on_ && ended_ == on_; }

 private:
  std::mutex mutex_;
  Begun begun_;
  std::set<std::thread::id> on_;
  std::set<std::thread::id> made_;
  std::set<std::thread::id> ended_;
};

class PlacedWorkloadThreads : public WorkloadThreads {
 protected:
  PlacedWorkloadThreads() { workload_placement = &placement_; }
  ~PlacedWorkloadThreads() override { workload_placement = former_; }

  WorkloadPlacement* former_ = workload_placement;
  NotingPlacement placement_;
};

TEST_F(PlacedWorkloadThreads, BeginOneByOneOnTheProcessorThatTheyAreGiven) {
  cores = 3;
  ASSERT_EQ(spawn_workloads(), 0);
  EXPECT_EQ(placement_.begun(), (NotingPlacement::Begun{{0, 7}, {1, 6}, {2, 5}}));
  EXPECT_EQ(placement_.threads(), 3U);
  EXPECT_TRUE(placement_.all_made_and_ended());
}

TEST_F(PlacedWorkloadThreads, ASingleOneBeginsOnTheCallingThread) {
  cores = 1;
  ASSERT_EQ(spawn_workloads(), 0);
  EXPECT_EQ(placement_.begun(), (NotingPlacement::Begun{{0, 7}}));
  EXPECT_EQ(noting_.last_core, 7U);
}

}  // namespace
