#pragma once

#include <optional>
#include <string_view>
#include <vector>

/// What attributes say, as values. None of these reads anything.
namespace sysfs {

/// Without the newline, blanks and zero bytes at its end.
std::string_view trimmed(std::string_view text);

/// A whole decimal number, with nothing but a newline or blanks behind it.
std::optional<long long> parse_integer(std::string_view text);

/// The words between blanks.
std::vector<std::string_view> parse_words(std::string_view text);

/// The number between `prefix` and `suffix` in an attribute's name ("fan", "_input": 2 of
/// "fan2_input"); none for a name that is not of this form. 0 and more.
std::optional<int> channel_of(std::string_view name, std::string_view prefix,
                              std::string_view suffix);

}  // namespace sysfs
