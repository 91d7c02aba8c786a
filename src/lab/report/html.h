#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lab::html {

/// An element around `inner`, which is HTML. `tag` may have attributes: "p class=\"note\"".
std::string element(std::string_view tag, std::string_view inner);

/// An element around plain text, which it escapes.
std::string text(std::string_view tag, std::string_view plain);

/// A table with a head; cells are HTML. Columns named in `numbers` are set as numbers. A line that
/// is too long for the page scrolls by itself.
struct Column {
  std::string head;  ///< plain text
  bool number = false;
};
std::string table(std::string_view caption, const std::vector<Column>& columns,
                  const std::vector<std::vector<std::string>>& rows);

}  // namespace lab::html
