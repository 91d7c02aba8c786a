#include "engine/loads/calibration.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "engine/loads/kernel.h"

namespace loads {
namespace {

using Clock = std::chrono::steady_clock;

/// The median burst among those of `length`, one at least: a thread that is held up now and then
/// does not move it.
std::chrono::nanoseconds measured(Kernel& kernel, std::chrono::nanoseconds length) {
  std::array<std::chrono::nanoseconds, 1001> took{};
  std::size_t bursts = 0;
  const Clock::time_point first = Clock::now();
  for (Clock::time_point begin = first;
       bursts < took.size() && (begin - first < length || bursts == 0);) {
    kernel.burst();
    const Clock::time_point end = Clock::now();
    took[bursts++] = end - begin;
    begin = end;
  }
  const auto middle = took.begin() + static_cast<std::ptrdiff_t>(bursts / 2);
  std::nth_element(took.begin(), middle, took.begin() + static_cast<std::ptrdiff_t>(bursts));
  return *middle;
}

/// Bursts for `length`.
void warm_up(Kernel& kernel, std::chrono::nanoseconds length) {
  for (const Clock::time_point begin = Clock::now(); Clock::now() - begin < length;) {
    kernel.burst();
  }
}

}  // namespace

// A processor that was idle, or had no use for its widest vectors, takes a while to bring its clock
// and its units up: for hundreds of microseconds a burst can take some five times as long as it
// will. So the bursts are made roughly long enough first, run until that is over, and measured
// then.
void calibrate(Kernel& kernel) {
  using std::chrono::microseconds;
  unsigned rounds = 1;
  kernel.set_rounds(rounds);
  while (measured(kernel, microseconds(50)) < kBurst / 4) {
    kernel.set_rounds(rounds * 2);
    if (kernel.rounds() == rounds) {
      return;  // as long as this kernel's bursts become
    }
    rounds = kernel.rounds();
  }
  for (int refinement = 0; refinement < 3; ++refinement) {
    warm_up(kernel, microseconds(3000));
    const auto took = std::max<Clock::rep>(1, measured(kernel, microseconds(2000)).count());
    const double wanted = static_cast<double>(kernel.rounds()) *
                          static_cast<double>(kBurst.count()) / static_cast<double>(took);
    kernel.set_rounds(static_cast<unsigned>(std::clamp(wanted, 1.0, 1e6)));
  }
}

}  // namespace loads
