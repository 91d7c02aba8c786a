#include "machines/linux/hwmon/natural_order.h"

#include <algorithm>
#include <compare>
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

/// The order of two names without a slash.
std::strong_ordering decimal_order(std::string_view a, std::string_view b) {
  const std::string_view whole_a = a;
  const std::string_view whole_b = b;
  while (!a.empty() && !b.empty()) {
    if (is_digit(a.front()) && is_digit(b.front())) {
      const std::string_view number_a = take_number(a);
      const std::string_view number_b = take_number(b);
      if (number_a != number_b) {
        return number_a.size() != number_b.size() ? number_a.size() <=> number_b.size()
                                                  : number_a <=> number_b;
      }
    } else if (a.front() != b.front()) {
      return a.front() <=> b.front();
    } else {
      a.remove_prefix(1);
      b.remove_prefix(1);
    }
  }
  // The same but for leading zeros, or one is longer.
  return a.empty() && b.empty() ? whole_a <=> whole_b : a.size() <=> b.size();
}

bool is_address(std::string_view name) {
  return name.find(':') != std::string_view::npos;
}

/// The order of two addresses, whose numbers are hexadecimal and of one width: PCI devices and
/// buses, ACPI devices, zones of power capping.
std::strong_ordering address_order(std::string_view a, std::string_view b) {
  return a.size() != b.size() ? a.size() <=> b.size() : a <=> b;
}

std::strong_ordering name_order(std::string_view a, std::string_view b) {
  if (is_address(a) != is_address(b)) {
    return is_address(b) <=> is_address(a);  // addresses first
  }
  return is_address(a) ? address_order(a, b) : decimal_order(a, b);
}

/// Takes what stands before the first slash.
std::string_view take_folder(std::string_view& path) {
  const std::size_t end = std::min(path.find('/'), path.size());
  const std::string_view folder = path.substr(0, end);
  path.remove_prefix(std::min(end + 1, path.size()));
  return folder;
}

}  // namespace

bool natural_less(std::string_view a, std::string_view b) {
  while (!a.empty() && !b.empty()) {
    if (const auto order = name_order(take_folder(a), take_folder(b)); std::is_neq(order)) {
      return std::is_lt(order);
    }
  }
  return a.size() < b.size();
}

}  // namespace linux_machine
