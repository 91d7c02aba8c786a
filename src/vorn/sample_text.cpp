#include "vorn/sample_text.h"

#include <array>
#include <cstddef>
#include <cstdio>

namespace {

void append_number(std::string& line, double value) {
  constexpr std::size_t kLongest = 32;
  std::array<char, kLongest> digits{};
  const int length = std::snprintf(digits.data(), digits.size(), "%g", value);
  line.append(digits.data(), static_cast<std::size_t>(length));
}

}  // namespace

void format_sample(std::string& line, double elapsed, const std::list<float>& values) {
  line.clear();
  append_number(line, elapsed);
  for (const float value : values) {
    line += '\t';
    append_number(line, static_cast<double>(value));
  }
  line += '\n';
}
