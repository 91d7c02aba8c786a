#include "engine/run_length.h"

#include <sys/time.h>

#include <algorithm>

#include "vorn/settings.h"

namespace engine {

namespace {

constexpr std::int64_t kNsPerUs = 1000;
constexpr std::int64_t kUsPerSecond = 1000000;
constexpr std::int64_t kNever = 100LL * 365 * 86400 * kUsPerSecond;  // a hundred years

}  // namespace

std::optional<std::int64_t> run_length(std::optional<std::int64_t> length_ns) {
  if (length_ns) {
    return length_ns;
  }
  if (trial_time == 0) {
    return std::nullopt;
  }
  return trial_time * kUsPerSecond * kNsPerUs;
}

void set_run_length(std::optional<std::int64_t> length_ns) {
  if (!run_length(length_ns)) {
    return;
  }
  trial_time = 0;
  additional_time_us = kNever;
}

void start_run_time(std::int64_t length_ns) {
  const std::int64_t us = std::max<std::int64_t>(length_ns / kNsPerUs, 1);  // 0 would be never
  itimerval once{};
  once.it_value.tv_sec = us / kUsPerSecond;
  once.it_value.tv_usec = us % kUsPerSecond;
  setitimer(ITIMER_REAL, &once, nullptr);
}

}  // namespace engine
