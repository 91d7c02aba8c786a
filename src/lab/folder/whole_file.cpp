#include "lab/folder/whole_file.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

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
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    refuse(path);
  }
  std::string text(std::istreambuf_iterator<char>(file), {});
  if (file.bad()) {
    refuse(path);
  }
  return text;
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
