#pragma once

#include <concepts>
#include <string>
#include <string_view>

/// Appends one line of a record to a text: a keyword, then fields, with a tab in front of each. The
/// line ends with the object.
class Line {
 public:
  Line(std::string& text, std::string_view keyword) : text_(text) { text_.append(keyword); }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;
  ~Line() { text_.push_back('\n'); }

  Line& add(std::integral auto number) { return add_plain(std::to_string(number)); }
  Line& add(double number);

  /// A text. Tabs, ends of lines, carriage returns and backslashes in it become "\t", "\n", "\r"
  /// and "\\".
  Line& add(std::string_view text);

 private:
  Line& add_plain(std::string_view field) {
    text_.append("\t").append(field);
    return *this;
  }

  std::string& text_;
};
