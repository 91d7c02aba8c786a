#pragma once

namespace lab {

/// The version of this program, which is that of the project.
extern const char* const kProgramVersion;

}  // namespace lab
