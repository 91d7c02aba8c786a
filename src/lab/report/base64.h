#pragma once

#include <string>
#include <vector>

namespace lab {

/// The numbers as little-endian IEEE 754 of 32 or 64 bits, in base64 (RFC 4648).
std::string base64_floats(const std::vector<double>& values);
std::string base64_doubles(const std::vector<double>& values);

}  // namespace lab
