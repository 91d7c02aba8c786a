#include "vorn/edge_plan.h"

#include <algorithm>

// Each interval is counted from where the one before should have ended, so a late wake-up shortens
// the next sleep and the waveform keeps its frequency to the nanosecond.
//
// That must end somewhere. A process that was stopped for a second has missed a thousand edges of
// a waveform of 500 Hz, and would play them one after the other without pause: a load that nobody
// asked for. So a lateness that cannot be a wake-up's is a stop, and the plan goes on from now.
//
// What a wake-up may cost is bounded three ways:
// - by the next interval, which is all that can be taken from it: more would make the edge after it
//   late as well. At 500 Hz a hole of 50 ms is a stop, not 25 periods to be raced through.
// - but not below kWakeup. A pulse of some microseconds, as at the bottom of a sinusoid, is shorter
//   than an ordinary wake-up, and would move the plan each time.
// - and not above kStop. The kernel takes 50 ms of a second from fixed priorities that leave
//   nothing to others. At 1 Hz that could be taken from the next half second, but it is a hole.

namespace {

constexpr std::int64_t kWakeup = 500'000;   // ns: the slowest wake-ups of idle virtual processors
constexpr std::int64_t kStop = 20'000'000;  // ns: no wake-up takes this long

}  // namespace

std::int64_t EdgePlan::next(std::int64_t interval_ns, std::int64_t now_ns) {
  if (now_ns - planned_ns_ > std::clamp(interval_ns, kWakeup, kStop)) {
    planned_ns_ = now_ns;
  }
  planned_ns_ += interval_ns;
  return planned_ns_;
}
