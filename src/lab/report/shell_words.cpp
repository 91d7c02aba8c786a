#include "lab/report/shell_words.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace lab {

namespace {

bool is_plain(const std::string& word) {
  constexpr std::string_view kPlain = "-_./=:,@%+";
  return !word.empty() && std::all_of(word.begin(), word.end(), [&](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
           kPlain.find(c) != std::string_view::npos;
  });
}

std::string shell_quoted(const std::string& word) {
  std::string text = "'";
  for (const char c : word) {
    text += c == '\'' ? "'\\''" : std::string(1, c);
  }
  return text + "'";
}

}  // namespace

std::string shell_words(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& word : words) {
    line += (line.empty() ? "" : " ") + (is_plain(word) ? word : shell_quoted(word));
  }
  return line;
}

}  // namespace lab
