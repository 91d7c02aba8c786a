#pragma once

#include <optional>
#include <string>

namespace lab {

/// All that is in a file. Nothing if it cannot be read, as a folder cannot; errno says why.
std::optional<std::string> text_of_file(const std::string& path);

}  // namespace lab
