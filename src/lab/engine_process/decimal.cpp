#include "lab/engine_process/decimal.h"

#include <array>
#include <charconv>

namespace lab {

std::string decimal(double value) {
  std::array<char, 400> text{};  // the smallest double has more than three hundred zeros
  const auto result =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
  return {text.data(), result.ptr};
}

}  // namespace lab
