#pragma once

#include <chrono>

namespace loads {

class Kernel;

/// How long a burst is to last: a load looks at the waveform after each. A fifth of what an off
/// edge may take to be followed, since the clock may fall and memory may have to be shared after
/// the burst was measured.
inline constexpr std::chrono::nanoseconds kBurst{4000};

/// Gives `kernel` the rounds whose burst comes nearest to kBurst here and now, 1 at least. Takes
/// some 20 ms of work of the calling thread, which must be the one that will run the kernel.
void calibrate(Kernel& kernel);

}  // namespace loads
