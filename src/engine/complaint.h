#pragma once

#include <string_view>

namespace engine {

/// Prints a line on standard error, with the program's name in front and in one write, so that it
/// stays whole among what other threads print. Thread: any.
void complain(std::string_view text);

/// How the program was called.
const char* program_path();

}  // namespace engine
