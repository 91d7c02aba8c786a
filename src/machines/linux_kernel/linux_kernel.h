#pragma once

#include <optional>

/// What every machine on Linux asks its kernel for. Nothing here throws or keeps state.
/// Thread: any.
namespace linux_kernel {

/// Number of processors that this process may run on, as nproc counts; -1 if the kernel does not
/// tell.
int processor_count();

/// Whether the calling thread may take `priority` (1 to 99): tried, and taken back at once.
/// Requires: it has an ordinary priority.
bool may_have_fixed_priority(int priority);

/// Microseconds of each period that fixed priorities may use, of all processors; -1: without
/// limit. None if the kernel does not tell.
std::optional<long> fixed_priority_runtime_us();

}  // namespace linux_kernel
