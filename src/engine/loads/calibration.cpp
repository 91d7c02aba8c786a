#include "engine/loads/calibration.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "engine/loads/kernel.h"

namespace loads {
namespace {

using Clock = std::chrono::steady_clock;

/// The median burst: a thread that is held up now and then does not move it.
std::chrono::nanoseconds measured(Kernel& kernel) {
  std::array<std::chrono::nanoseconds, 31> took{};
  for (auto& one : took) {
    const Clock::time_point begin = Clock::now();
    kernel.burst();
    one = Clock::now() - begin;
  }
  std::nth_element(took.begin(), took.begin() + took.size() / 2, took.end());
  return took[took.size() / 2];
}

}  // namespace

void calibrate(Kernel& kernel) {
  // The first bursts meet cold caches and a clock that has yet to rise. Longer and longer ones end
  // when they are long against the clock's reading; the last, of the right length, is measured
  // under the conditions of the run.
  unsigned rounds = 1;
  kernel.set_rounds(rounds);
  measured(kernel);
  for (std::chrono::nanoseconds took = measured(kernel); took < kBurst / 4;
       took = measured(kernel)) {
    kernel.set_rounds(rounds * 2);
    if (kernel.rounds() == rounds) {
      return;
    }
    rounds = kernel.rounds();
  }
  for (int refinement = 0; refinement < 2; ++refinement) {
    const double took = static_cast<double>(std::max<Clock::rep>(1, measured(kernel).count()));
    const double wanted =
        static_cast<double>(kernel.rounds()) * static_cast<double>(kBurst.count()) / took;
    kernel.set_rounds(static_cast<unsigned>(std::clamp(wanted, 1.0, 1e6)));
  }
}

}  // namespace loads
