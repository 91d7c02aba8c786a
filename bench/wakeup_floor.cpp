#include <sched.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

// How late a fixed-priority thread wakes that does nothing but sleep: what no waveform on this
// machine can undercut. `wakeup_floor PERIOD_US COUNT` prints the median, the 99th percentile and
// the worst in microseconds.

namespace {

constexpr int kPriority = 63;  // the timing thread's
constexpr std::int64_t kSecond = 1000000000;

std::int64_t monotonic_ns() {
  timespec t{};
  clock_gettime(CLOCK_MONOTONIC, &t);
  return std::int64_t{t.tv_sec} * kSecond + t.tv_nsec;
}

std::vector<std::int64_t> latencies(std::int64_t period_ns, std::size_t count) {
  std::vector<std::int64_t> found;
  found.reserve(count);
  std::int64_t deadline = monotonic_ns();
  while (found.size() < count) {
    deadline += period_ns;
    const timespec until{.tv_sec = deadline / kSecond, .tv_nsec = deadline % kSecond};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
    found.push_back(monotonic_ns() - deadline);
  }
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: wakeup_floor PERIOD_US COUNT\n");
    return 2;
  }
  const std::int64_t period_ns = std::atoll(argv[1]) * 1000;
  const auto count = static_cast<std::size_t>(std::atoll(argv[2]));
  sched_param param{};
  param.sched_priority = kPriority;
  if (period_ns <= 0 || count == 0 || sched_setscheduler(0, SCHED_FIFO, &param) != 0) {
    std::perror("wakeup_floor");
    return 1;
  }
  mlockall(MCL_CURRENT | MCL_FUTURE);
  const std::vector<std::int64_t> found = latencies(period_ns, count);
  std::printf("%.1f %.1f %.1f\n", 1e-3 * static_cast<double>(found[count / 2]),
              1e-3 * static_cast<double>(found[count * 99 / 100]),
              1e-3 * static_cast<double>(found.back()));
  return 0;
}
