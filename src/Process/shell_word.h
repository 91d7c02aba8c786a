#pragma once

#include <string>
#include <string_view>

namespace process {

/// `text` as one word of a shell's command line: as it is where nothing in it means anything to a
/// shell, else in single quotes.
std::string shell_word(std::string_view text);

}  // namespace process
