#pragma once

#include <string>
#include <vector>

namespace lab {

/// Clean text in lines of at most `columns` characters, broken at spaces. A longer word has a line
/// of its own. The first line begins with `first`, the others with as many spaces.
std::string wrapped(const std::string& text, std::size_t columns, const std::string& first = "");

/// A cell of a text table: the parts of an estimate are aligned among themselves.
struct TextCell {
  std::vector<std::string> parts;
  bool number = false;
};

/// Rows of cells under a head, each column as wide as it must be. Numbers end below each other.
std::string text_table(const std::vector<std::string>& head,
                       const std::vector<std::vector<TextCell>>& rows);

}  // namespace lab
