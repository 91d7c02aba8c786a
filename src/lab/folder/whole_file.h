#pragma once

#include <filesystem>
#include <string>

namespace lab {

/// The content of a file. Throws FolderError.
std::string read_whole(const std::filesystem::path& path);

/// Makes `text` the content of a file, at once: whoever reads it, at any moment, finds the old
/// content or the new one. Throws FolderError; the old content is then still there.
void write_whole(const std::filesystem::path& path, const std::string& text);

}  // namespace lab
