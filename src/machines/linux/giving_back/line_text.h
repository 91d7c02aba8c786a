#pragma once

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstring>
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

  /// What an errno value means. Drivers answer with the kernel's own as well, such as 524, which
  /// the C library has no text for: those stand as their numbers.
  BasicLineText& add_error(int error) {
    if (const char* const meaning = strerrordesc_np(error)) {
      return add(meaning);
    }
    std::array<char, 16> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), error).ptr;
    return add("Unknown error ").add({digits.data(), end});
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
