#include "engine/record/small_file.h"

#include <fcntl.h>
#include <unistd.h>

SmallFile::SmallFile(const char* path) noexcept {
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  if (file < 0) {
    return;
  }
  const ssize_t got = read(file, buffer_.data(), buffer_.size());
  length_ = got > 0 ? static_cast<std::size_t>(got) : 0;
  close(file);
}
