#pragma once

#include <string_view>

namespace linux_machine {

/// Writes "vorn: ", the text (see sysfs::add_printable) and a newline to standard error in one
/// write, so that lines of several threads and processes stay whole. Gives a reader that has
/// stopped reading a tenth of a second, then goes on without having said it: the caller may hold a
/// machine. Allocates nothing. Thread: any.
void say_on_standard_error(std::string_view text);

/// Makes sure that descriptors 0 to 2 are open, so that no attribute gets the number of standard
/// error and with it every message.
void keep_standard_descriptors();

}  // namespace linux_machine
