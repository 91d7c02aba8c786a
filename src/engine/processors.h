#pragma once

#include <cstddef>
#include <optional>
#include <vector>

namespace engine {

/// The processors that the calling thread may run on, ascending; empty if the kernel does not tell.
/// Thread: any.
std::vector<unsigned> allowed_processors();

/// Binds the calling thread to one processor. Returns 0, or an errno value. Thread: any.
int bind_to_processor(unsigned processor);

/// The processor of workload thread `t`: `binding` if it is given; else threads take the allowed
/// processors in turn, and again from the first when there are more threads than processors.
/// Pure. Requires: `allowed` is not empty. Thread: any.
unsigned processor_of(unsigned t, const std::vector<unsigned>& allowed,
                      std::optional<unsigned> binding);

}  // namespace engine
