#pragma once

#include <string_view>

namespace lab {

/// page.css, and the scripts chart_rows.js and page.js, put into the program when it is built.
extern const std::string_view kPageStyle;
extern const std::string_view kPageScript;

}  // namespace lab
