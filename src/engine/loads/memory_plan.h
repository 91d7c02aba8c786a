#pragma once

#include <cstddef>
#include <string>

namespace loads {

/// The memory that this machine has, in bytes.
struct MachineMemory {
  std::size_t second_cache;  ///< of one processor: its share of the second level
  std::size_t last_cache;    ///< all caches of the last level together
  std::size_t available;     ///< memory that can be used without swapping
};

/// Reads it from the kernel's folders `processors` ("/sys/devices/system/cpu") and `memory`
/// ("/proc/meminfo"). Where the kernel says nothing, as in many virtual machines, it assumes 256
/// KiB, 32 MiB, and 1 GiB.
MachineMemory read_machine_memory(const std::string& processors, const std::string& memory);

/// The bytes that each of the loads works on in each of its threads.
struct MemoryPlan {
  std::size_t mem;       ///< `threads` of them are twice the last caches
  std::size_t cache;     ///< half of the second cache
  std::size_t mix_last;  ///< `threads` of them are half of the last caches
};

/// For a load that `threads` of a run's `all_threads` threads run. All threads together take no
/// more than half of the available memory, but for 64 KiB of everything, which each thread has in
/// any case. Requires: 1 <= threads <= all_threads.
MemoryPlan plan_memory(const MachineMemory& machine, std::size_t threads, std::size_t all_threads);

/// Whether `mem` in `threads` of them then stays within the last caches, and does not reach memory.
/// Requires: as plan_memory().
bool stays_in_caches(const MachineMemory& machine, std::size_t threads, std::size_t all_threads);

}  // namespace loads
