#pragma once

#include <string_view>

namespace linux_machine {

/// Whether `a` comes before `b`, folder by folder, when the numbers in them count as numbers:
/// coretemp.2 before coretemp.10, package-1-die-0 before package-10. The kernel writes numbers
/// behind a colon in hexadecimal: 0000:00:19.3 before 0000:00:1a.3, intel-rapl:9 before
/// intel-rapl:a.
bool natural_less(std::string_view a, std::string_view b);

}  // namespace linux_machine
