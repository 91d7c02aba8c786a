#include "machines/linux/sysfs/parse.h"

#include <algorithm>
#include <charconv>
#include <cstddef>

namespace sysfs {
namespace {

constexpr std::string_view kBlanks{" \t\n\0", 4};

}  // namespace

std::string_view trimmed(std::string_view text) {
  const std::size_t last = text.find_last_not_of(kBlanks);
  return last == std::string_view::npos ? std::string_view() : text.substr(0, last + 1);
}

std::optional<long long> parse_integer(std::string_view text) {
  const std::string_view digits = trimmed(text);
  long long value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (error != std::errc() || end != digits.data() + digits.size()) {
    return std::nullopt;
  }
  return value;
}

std::vector<std::string_view> parse_words(std::string_view text) {
  std::vector<std::string_view> words;
  for (std::size_t at = text.find_first_not_of(kBlanks); at != std::string_view::npos;) {
    const std::size_t end = std::min(text.find_first_of(kBlanks, at), text.size());
    words.push_back(text.substr(at, end - at));
    at = text.find_first_not_of(kBlanks, end);
  }
  return words;
}

std::optional<int> channel_of(std::string_view name, std::string_view prefix,
                              std::string_view suffix) {
  if (name.size() <= prefix.size() + suffix.size() || !name.starts_with(prefix) ||
      !name.ends_with(suffix)) {
    return std::nullopt;
  }
  const std::string_view digits =
      name.substr(prefix.size(), name.size() - prefix.size() - suffix.size());
  int channel = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), channel);
  if (error != std::errc() || end != digits.data() + digits.size() || channel < 0) {
    return std::nullopt;
  }
  return channel;
}

}  // namespace sysfs
