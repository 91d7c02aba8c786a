#pragma once

#include <array>
#include <cstddef>
#include <string_view>

/// The beginning of a file of the kernel's, read at once and without allocating. Empty if it cannot
/// be read.
class SmallFile {
 public:
  explicit SmallFile(const char* path) noexcept;

  std::string_view text() const noexcept { return {buffer_.data(), length_}; }

 private:
  std::array<char, 4096> buffer_;  // what the kernel shows of a thread's status is half of it
  std::size_t length_ = 0;
};
