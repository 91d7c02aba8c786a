#pragma once

#include <string>
#include <string_view>

namespace lab {

/// What a terminal can show.
struct Look {
  bool utf8 = true;    ///< characters beyond ASCII
  bool colour = true;  ///< colours, bold and faint text
};

/// What the environment asks for: UTF-8 if the first of LC_ALL, LC_CTYPE and LANG that is set names
/// it, colours unless NO_COLOR is set. The names decide, so the locale need not be installed here.
Look look_of_environment();

enum class Paint { bold, faint, accent, warning };

/// The text as it is, or between the sequences that paint it.
std::string painted(std::string_view text, Paint paint, Look look);

}  // namespace lab
