#pragma once

#include <string_view>

namespace linux_machine {

/// Whether `a` comes before `b` when the numbers in them count as numbers: coretemp.2 before
/// coretemp.10, package-1-die-0 before package-10.
bool natural_less(std::string_view a, std::string_view b);

}  // namespace linux_machine
