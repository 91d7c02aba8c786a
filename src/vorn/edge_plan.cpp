#include "vorn/edge_plan.h"

// Each interval is counted from where the one before should have ended, so a late wake-up shortens
// the next sleep and the waveform keeps its frequency and its phase to the nanosecond.
//
// That must end somewhere. A process that was stopped for a minute has missed a thousand edges of a
// waveform of 10 Hz, and the wave that its user sees should begin again where it was interrupted.
// So a lateness that cannot be a wake-up's is a stop, and the plan goes on from now.
//
// A host that has better things to do makes the wake-ups of a virtual processor up to some
// milliseconds late, which is no stop: at 500 Hz the plan would be moved many times a minute. So
// the plan stays, and may hold edges that are overdue. But the 50 ms of a second are a stop, which
// the kernel takes from fixed priorities that leave nothing to others.

namespace {

constexpr std::int64_t kStop = 20'000'000;  // ns: no wake-up takes this long

}  // namespace

std::int64_t EdgePlan::next(std::int64_t interval_ns, std::int64_t now_ns) {
  if (now_ns - planned_ns_ > kStop) {
    planned_ns_ = now_ns;
  }
  planned_ns_ += interval_ns;
  return planned_ns_;
}
