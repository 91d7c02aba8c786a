#include "lab/kernel_trace/scheduler_tracer.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

namespace lab {
namespace {

namespace fs = std::filesystem;

constexpr const char* kTracefs = "/sys/kernel/tracing";

std::string own_instance() {
  return std::string(kTracefs) + "/instances/vorn-lab-" + std::to_string(getpid());
}

class KernelTrace : public testing::Test {
 protected:
  void SetUp() override {
    if (access((std::string(kTracefs) + "/instances").c_str(), W_OK) != 0) {
      GTEST_SKIP() << "no right to the kernel's trace";
    }
  }
};

TEST_F(KernelTrace, HoldsWhenATaskGotAProcessorAndLostIt) {
  pid_t task = 0;
  const auto now_ns = [] {
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
  };
  const auto tracer = SchedulerTracer::begin("traced-one*");
  ASSERT_NE(tracer, nullptr);
  EXPECT_TRUE(fs::exists(own_instance()));
  const auto from_ns = now_ns();
  std::thread([&] {
    prctl(PR_SET_NAME, "traced-one");
    task = gettid();
    for (int nap = 0; nap < 20; ++nap) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }).join();
  const auto to_ns = now_ns();
  const SchedulerTrace trace = tracer->end();
  EXPECT_TRUE(trace.taken);
  EXPECT_EQ(trace.lost, 0);
  const auto count = [&](bool on) {
    return std::count_if(trace.switches.begin(), trace.switches.end(), [&](const auto& one) {
      return one.task == task && one.on == on && one.instant_ns >= from_ns - 1000 &&
             one.instant_ns <= to_ns + 1000;
    });
  };
  EXPECT_GE(count(false), 15) << "it went to sleep twenty times";
}

TEST_F(KernelTrace, IsGoneBehindTheTracer) {
  {
    const auto tracer = SchedulerTracer::begin("nobody*");
    ASSERT_NE(tracer, nullptr);
    EXPECT_EQ(SchedulerTracer::begin("nobody*"), nullptr) << "one for each program";
    EXPECT_TRUE(fs::exists(own_instance()));
  }
  EXPECT_FALSE(fs::exists(own_instance()));
}

TEST_F(KernelTrace, OfAProgramThatIsNoMoreIsRemoved) {
  // Beyond what the kernel gives to processes.
  const fs::path left = std::string(kTracefs) + "/instances/vorn-lab-2000000000";
  ASSERT_TRUE(fs::create_directory(left));
  EXPECT_NE(SchedulerTracer::begin("nobody*"), nullptr);
  EXPECT_FALSE(fs::exists(left));
}

TEST(SchedulerTracer, WithoutATraceThereIsNone) {
  const fs::path place =
      fs::temp_directory_path() / ("scheduler_tracer_test." + std::to_string(getpid()));
  EXPECT_EQ(SchedulerTracer::begin("nobody*", place), nullptr) << "no such place";
  fs::create_directories(place / "instances");
  EXPECT_EQ(SchedulerTracer::begin("nobody*", place), nullptr) << "no files of a trace in it";
  EXPECT_TRUE(fs::is_empty(place / "instances"));
  fs::remove_all(place);
}

}  // namespace
}  // namespace lab
