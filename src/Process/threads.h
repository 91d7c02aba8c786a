#pragma once

#include <sys/types.h>

#include <vector>

namespace process {

/// The threads of this process in the order of their ids, which is mostly that of their start.
/// Threads that start or end meanwhile may be missing or in it, and without memory for more some
/// are missing. Does not throw. Thread: any.
std::vector<pid_t> threads() noexcept;

}  // namespace process
