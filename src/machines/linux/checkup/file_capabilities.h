#pragma once

#include <string>
#include <vector>

namespace linux_machine {

/// The capabilities among those that a run can use ("cap_sys_nice", "cap_dac_read_search") that a
/// program's file grants to whoever runs it; none for a file without, or that is not there.
std::vector<std::string> file_capabilities(const std::string& program);

}  // namespace linux_machine
