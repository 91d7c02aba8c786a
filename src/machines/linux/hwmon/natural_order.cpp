#include "machines/linux/hwmon/natural_order.h"

#include <algorithm>
#include <cstddef>

namespace linux_machine {
namespace {

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

/// Takes the number in front of `text`, without its leading zeros.
std::string_view take_number(std::string_view& text) {
  const auto* const end = std::find_if_not(text.begin(), text.end(), is_digit);
  std::string_view number = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  text.remove_prefix(number.size());
  number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
  return number;
}

}  // namespace

bool natural_less(std::string_view a, std::string_view b) {
  const std::string_view whole_a = a;
  const std::string_view whole_b = b;
  while (!a.empty() && !b.empty()) {
    if (is_digit(a.front()) && is_digit(b.front())) {
      const std::string_view number_a = take_number(a);
      const std::string_view number_b = take_number(b);
      if (number_a != number_b) {
        return number_a.size() != number_b.size() ? number_a.size() < number_b.size()
                                                  : number_a < number_b;
      }
    } else if (a.front() != b.front()) {
      return a.front() < b.front();
    } else {
      a.remove_prefix(1);
      b.remove_prefix(1);
    }
  }
  if (a.empty() && b.empty()) {
    return whole_a < whole_b;  // the same but for leading zeros
  }
  return a.empty();
}

}  // namespace linux_machine
