#include "machines/linux/sysfs/parse.h"

#include <algorithm>
#include <charconv>
#include <cstddef>

namespace sysfs {
namespace {

constexpr std::string_view kBlanks{" \t\n\0", 4};

constexpr bool is_blank(char character) {
  return character == '\n' || character == ' ' || character == '\t' || character == '\0';
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && is_blank(text.back())) {
    text.remove_suffix(1);
  }
  return text;
}

std::optional<long long> parse_integer(std::string_view text) {
  const char* const last = text.data() + text.size();
  long long value = 0;
  auto [at, error] = std::from_chars(text.data(), last, value);
  if (error != std::errc()) {
    return std::nullopt;
  }
  while (at != last && is_blank(*at)) {
    ++at;
  }
  return at == last ? std::optional<long long>(value) : std::nullopt;
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
