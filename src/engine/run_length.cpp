#include "engine/run_length.h"

#include <algorithm>

#include "vorn/settings.h"

namespace engine {

void set_run_length(std::optional<std::int64_t> length_ns, std::int64_t wait_ns) {
  constexpr std::int64_t kNsPerUs = 1000;
  if (!length_ns && trial_time == 0) {
    return;
  }
  const std::int64_t added_ns = length_ns.value_or(0) + std::max<std::int64_t>(wait_ns, 0);
  if (length_ns) {
    trial_time = 0;
  }
  additional_time_us = added_ns / kNsPerUs;
}

}  // namespace engine
