#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace linux_machine {

/// Text built in place, without allocating, cut off at its end. Always ends in a zero byte.
class LineText {
 public:
  LineText& add(std::string_view text) {
    const std::size_t fits = std::min(text.size(), buffer_.size() - 1 - length_);
    std::memcpy(buffer_.data() + length_, text.data(), fits);
    length_ += fits;
    buffer_[length_] = '\0';
    return *this;
  }

  const char* c_str() const { return buffer_.data(); }
  std::string_view view() const { return {buffer_.data(), length_}; }

 private:
  static constexpr std::size_t kLongest = 1024;
  std::array<char, kLongest> buffer_{};
  std::size_t length_ = 0;
};

}  // namespace linux_machine
