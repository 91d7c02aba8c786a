#include "engine/readiness.h"

namespace engine {

std::int64_t StartWhenReady::instant_ns() {
  // The timing thread sleeps until 20 ms before an instant, and asks again: here each 5 ms.
  constexpr std::int64_t kNotYet = 25'000'000;
  constexpr std::int64_t kToTheWait = 5'000'000;
  if (begin_ns_ != 0) {
    return begin_ns_;
  }
  const std::int64_t now_ns = clock_();
  if (readiness_.missing() > 0) {
    return now_ns + kNotYet;
  }
  begin_ns_ = now_ns + kToTheWait;
  return begin_ns_;
}

}  // namespace engine
