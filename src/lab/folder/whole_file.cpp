#include "lab/folder/whole_file.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <optional>

#include "lab/data/file_text.h"
#include "lab/folder/folder_error.h"

namespace lab {

namespace {

[[noreturn]] void refuse(const std::filesystem::path& path) {
  const int error = errno;
  throw FolderError(path.string() + ": " + std::strerror(error) +
                    (error == ENOSPC ? ": make room on that disk" : ""));
}

}  // namespace

std::string read_whole(const std::filesystem::path& path) {
  std::optional<std::string> text = text_of_file(path);
  if (!text) {
    refuse(path);
  }
  return *std::move(text);
}

void write_whole(const std::filesystem::path& path, const std::string& text) {
  std::filesystem::path beside = path;
  beside += ".new";
  errno = 0;
  std::ofstream file(beside, std::ios::binary | std::ios::trunc);
  file << text;
  file.close();
  if (!file || std::rename(beside.c_str(), path.c_str()) != 0) {
    const int error = errno;
    std::remove(beside.c_str());
    errno = error;
    refuse(path);
  }
}

}  // namespace lab
