#pragma once

#include <string>

namespace lab {

/// The shortest decimal, without an exponent, that reads as the same number: as the engine takes
/// it.
std::string decimal(double value);

}  // namespace lab
