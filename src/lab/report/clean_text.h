#pragma once

#include <string>
#include <string_view>

namespace lab {

/// The text without what could act on who shows it: control characters, apart from line feed and
/// tab, and bytes that are not UTF-8 each become U+FFFD. Labels of sensors come from hardware, and
/// names from files.
std::string clean_text(std::string_view text);

/// Clean text as the content of an HTML element or of a quoted attribute.
std::string html_text(std::string_view text);

/// The columns of a terminal that UTF-8 text takes.
std::size_t width(std::string_view text);

}  // namespace lab
