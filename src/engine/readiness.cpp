#include "engine/readiness.h"

#include <algorithm>

namespace engine {

// The slowest load takes a second of a processor on machines of some years; those of threads that
// share a processor are made one after the other.
std::int64_t longest_making_ns(std::size_t threads, std::size_t processors) {
  constexpr std::int64_t kOfOne = 10'000'000'000;
  const std::size_t shared = processors == 0 ? threads : (threads + processors - 1) / processors;
  return kOfOne * static_cast<std::int64_t>(std::max<std::size_t>(shared, 1));
}

std::int64_t StartWhenReady::instant_ns() {
  // The timing thread sleeps until 20 ms before an instant, and asks again: here each 5 ms.
  constexpr std::int64_t kNotYet = 25'000'000;
  constexpr std::int64_t kToTheWait = 5'000'000;
  if (begin_ns_ != 0) {
    return begin_ns_;
  }
  const std::int64_t now_ns = clock_();
  if (looked_ns_ == 0) {
    looked_ns_ = now_ns;
  }
  if (readiness_.missing() > 0 || given_up_) {
    if (!given_up_ && now_ns - looked_ns_ > longest_ns_) {
      given_up_ = true;
      too_long_();
    }
    return now_ns + kNotYet;
  }
  begin_ns_ = now_ns + kToTheWait;
  return begin_ns_;
}

}  // namespace engine
