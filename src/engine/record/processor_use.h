#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

/// What a thread has used of the processors since it began, as the kernel counts it.
struct ProcessorUse {
  std::int64_t time_ns = 0;       ///< on a processor
  std::int64_t waited_ns = 0;     ///< willing to run, and kept from it
  std::uint64_t voluntary = 0;    ///< switches
  std::uint64_t involuntary = 0;  ///< switches
};

/// The use by thread `id` of this process; nothing if the kernel does not show it, or the thread is
/// gone. `proc` is where the kernel's processes are: "/proc". Thread: any.
std::optional<ProcessorUse> processor_use_of(const std::string& proc, pid_t id);

/// The use by the calling thread. What the kernel does not show is 0.
ProcessorUse own_processor_use() noexcept;
