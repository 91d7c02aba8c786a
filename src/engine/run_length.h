#pragma once

#include <cstdint>
#include <optional>

namespace engine {

/// Sets the core's timer for a run of `length_ns`, or of vorn's whole seconds if that is not given,
/// that begins `wait_ns` from now. A run without a length stays without one.
/// Thread: the main one, before the timer is armed.
void set_run_length(std::optional<std::int64_t> length_ns, std::int64_t wait_ns);

}  // namespace engine
