#pragma once

#include <filesystem>
#include <optional>

namespace process {

/// Bytes of memory that this process may still expect to get: what the machine has available, or
/// what one of the process's control groups (version 2) is limited to, if that is less. None if the
/// kernel tells neither. `root` is where /proc and /sys stand. Thread: any.
std::optional<double> free_memory(const std::filesystem::path& root = "/");

}  // namespace process
