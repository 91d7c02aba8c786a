#pragma once

#include <chrono>
#include <string_view>

namespace process {

/// Writes to a descriptor, and waits for whoever reads it until `deadline` at most: what is not
/// taken by then is dropped. Returns whether all was taken. Thread: any; allocates nothing.
bool write_until(int descriptor, std::string_view text,
                 std::chrono::steady_clock::time_point deadline);

}  // namespace process
