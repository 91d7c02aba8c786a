#include "engine/record/line.h"

#include <array>
#include <charconv>

Line& Line::add(double number) {
  std::array<char, 32> digits{};  // the shortest text that is this number has 24 characters at most
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  return add_plain({digits.data(), static_cast<std::size_t>(end - digits.data())});
}

Line& Line::add(std::string_view text) {
  text_.push_back('\t');
  for (const char c : text) {
    switch (c) {
      case '\t':
        text_.append("\\t");
        break;
      case '\n':
        text_.append("\\n");
        break;
      case '\r':
        text_.append("\\r");
        break;
      case '\\':
        text_.append("\\\\");
        break;
      default:
        text_.push_back(c);
    }
  }
  return *this;
}
