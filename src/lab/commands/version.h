#pragma once

namespace lab {

/// The version of this program, which is that of the project.
inline constexpr const char* kVersion = VORN_LAB_VERSION;

}  // namespace lab
