#pragma once

#include <array>
#include <string_view>

#include "machines/linux/sysfs/tree.h"

namespace linux_machine {

/// What a plain access came to: the text read, or a positive errno value.
struct DirectAnswer {
  int error = 0;
  std::string_view text;  ///< trimmed; in the buffer given
};

using DirectBuffer = std::array<char, 256>;

/// Whether an error says that there is no such attribute (any more).
bool is_gone(int error);

/// One access to an attribute without allocating, for what runs between fork and exit; tried three
/// times where the kernel asks for it, and where the attribute seems to have gone: what has really
/// gone stays so. A path that leads out of the tree is EINVAL.
DirectAnswer read_directly(sysfs::Tree& tree, const char* path, DirectBuffer& buffer);

/// Returns 0 or a positive errno value.
int write_directly(sysfs::Tree& tree, const char* path, std::string_view value);

}  // namespace linux_machine
