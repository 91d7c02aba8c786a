#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

/// What sched_setattr() takes; the C library has no declaration of it.
struct SchedulingAttributes {
  std::uint32_t size;
  std::uint32_t policy;
  std::uint64_t flags;
  std::int32_t nice;
  std::uint32_t priority;
  std::uint64_t runtime;  // nanoseconds, like the two below
  std::uint64_t deadline;
  std::uint64_t period;
};

/// The deadline policy stands above every fixed priority, and is not withheld with them.
bool take_deadline_policy() {
  constexpr std::uint32_t kDeadlinePolicy = 6;
  constexpr std::uint64_t kChildrenAreOrdinary = 1;
  constexpr std::uint64_t kMillisecond = 1000000;
  const SchedulingAttributes attr = {
      .size = sizeof attr,
      .policy = kDeadlinePolicy,
      .flags = kChildrenAreOrdinary,
      .nice = 0,
      .priority = 0,
      .runtime = 6 * kMillisecond,
      .deadline = 10 * kMillisecond,
      .period = 10 * kMillisecond,
  };
  return syscall(SYS_sched_setattr, 0, &attr, 0) == 0;
}

/// Waits for the tests of other checkouts on this machine that load every processor, and keeps
/// them waiting until this program ends; or, if it loads one, only those that load all.
void take_processors() {
  const char* const loads = std::getenv("VORN_TEST_LOADS");
  const bool one = loads != nullptr && std::string_view(loads) == "one";
  const int folder = open("/sys/devices/system/cpu", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder >= 0) {
    flock(folder, one ? LOCK_SH : LOCK_EX);
  }
}

}  // namespace

/// main() of the tests that load every processor: it stands above the load, if it may, so that it
/// can measure and end it on time. The programs that it starts do not inherit that.
int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (GTEST_FLAG_GET(list_tests)) {
    return RUN_ALL_TESTS();
  }
  take_processors();
  if (!take_deadline_policy()) {
    sched_param param{};
    param.sched_priority = 80;
    sched_setscheduler(0, SCHED_FIFO | SCHED_RESET_ON_FORK, &param);
  }
  return RUN_ALL_TESTS();
}
