#include "lab/live/look.h"

#include <cctype>
#include <cstdlib>

namespace lab {

namespace {

const char* sequence(Paint paint) {
  switch (paint) {
    case Paint::bold:
      return "\x1b[1m";
    case Paint::faint:
      return "\x1b[2m";
    case Paint::accent:
      return "\x1b[36m";
    case Paint::warning:
      return "\x1b[33m";
  }
  return "";
}

std::string_view set_variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view() : std::string_view(value);
}

/// "en_US.UTF-8" and "C.utf8" do.
bool names_utf8(std::string_view locale) {
  std::string name;
  for (const char letter : locale) {
    if (letter != '-') {
      name += static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    }
  }
  return name.find("utf8") != std::string::npos;
}

}  // namespace

Look look_of_environment() {
  Look look{.utf8 = false, .colour = set_variable("NO_COLOR").empty()};
  for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    if (const std::string_view locale = set_variable(name); !locale.empty()) {
      look.utf8 = names_utf8(locale);
      break;
    }
  }
  return look;
}

std::string painted(std::string_view text, Paint paint, Look look) {
  if (!look.colour || text.empty()) {
    return std::string(text);
  }
  return std::string(sequence(paint)).append(text).append("\x1b[0m");
}

}  // namespace lab
