#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace linux_machine {

/// Text of less than `Size` bytes built in place, without allocating, cut off at its end. Always
/// ends in a zero byte.
template <std::size_t Size>
class BasicLineText {
 public:
  BasicLineText& add(std::string_view text) {
    const std::size_t fits = std::min(text.size(), buffer_.size() - 1 - length_);
    text.copy(buffer_.data() + length_, fits);
    length_ += fits;
    buffer_[length_] = '\0';
    return *this;
  }

  BasicLineText& clear() {
    length_ = 0;
    buffer_[0] = '\0';
    return *this;
  }

  const char* c_str() const { return buffer_.data(); }
  std::string_view view() const { return {buffer_.data(), length_}; }

 private:
  std::array<char, Size> buffer_{};
  std::size_t length_ = 0;
};

/// As long as what a user is told.
using LineText = BasicLineText<1024>;

}  // namespace linux_machine
